// The `velmar` binary end to end on a generated sample: what each command
// prints and that its JSON agrees (refusals are tabled in tests/data/tools/cli).
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>

#include "cli_run.h"
#include "sources/tarn/tarn_convert.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using Json = nlohmann::json;

constexpr int kLaps = 2;
constexpr double kRate = 20.0;

CliResult RunCli(const std::vector<std::string>& args) { return SharedCli().Run(args); }
CliResult RunOk(const std::vector<std::string>& args) { return SharedCli().RunOk(args); }
const std::string& Sample() { return SharedCli().Sample(); }
std::string Path(const std::string& name) { return SharedCli().Path(name); }

// `channels` as name -> row.
std::map<std::string, std::vector<std::string>> Channels(const std::string& file) {
  std::map<std::string, std::vector<std::string>> byName;
  const auto rows = RunOk({"channels", file}).Rows();
  EXPECT_FALSE(rows.empty());
  for (size_t i = 1; i < rows.size(); ++i) byName[rows[i][0]] = rows[i];
  return byName;
}

TEST(Commands, ChannelsListTheSampleWithCountsRatesAndRangesInTableAndJson) {
  const auto channels = Channels(Sample());
  for (const char* name : {"Distance", "Speed", "Engine Speed", "Throttle", "Gear", "Water Temperature",
                           "Fuel Level"}) {
    EXPECT_TRUE(channels.contains(name)) << name;
  }
  ASSERT_TRUE(channels.contains("Speed") && channels.contains("Fuel Level"));
  const auto& speed = channels.at("Speed");
  ASSERT_EQ(speed.size(), 6u);
  EXPECT_EQ(speed[3], "20") << "the fast channels run at the sample's rate";
  const long speedSamples = std::stol(speed[2]);
  EXPECT_GT(speedSamples, static_cast<long>(kLaps * 60 * kRate)) << "two laps of about 90 s";
  EXPECT_LT(std::stod(speed[4]), std::stod(speed[5])) << "min below max";
  const auto& fuel = channels.at("Fuel Level");
  EXPECT_EQ(fuel[3], "2") << "the slow channels run at a tenth";
  EXPECT_NEAR(std::stol(fuel[2]), speedSamples / 10.0, 2.0);
  EXPECT_GT(std::stod(fuel[4]), 0.0);

  const Json document = Json::parse(RunOk({"channels", Sample(), "--json"}).out);
  ASSERT_TRUE(document["channels"].is_array());
  EXPECT_EQ(document["channels"].size(), channels.size()) << "the JSON agrees with the table";
  for (const Json& channel : document["channels"]) {
    const std::string name = channel["name"];
    ASSERT_TRUE(channels.contains(name)) << name;
    EXPECT_EQ(channel["samples"].get<long>(), std::stol(channels.at(name)[2])) << name;
    EXPECT_FALSE(channel["aperiodic"].get<bool>()) << name;
  }
}

TEST(Commands, DumpWritesATimeColumnThenOneColumnPerChannelOrEachChannelsTimesAndValues) {
  const auto rows = RunOk({"dump", Sample(), "Speed", "Fuel Level", "--from", "10", "--to", "20"}).Rows();
  ASSERT_FALSE(rows.empty());
  EXPECT_EQ(rows[0], (std::vector<std::string>{"time", "Speed", "Fuel Level"}));
  // 10 s at 20 Hz, both ends included.
  EXPECT_EQ(rows.size() - 1, 201u);
  double previous = -1;
  size_t fuelCells = 0;
  for (size_t i = 1; i < rows.size(); ++i) {
    ASSERT_EQ(rows[i].size(), 3u);
    const double time = std::stod(rows[i][0]);
    EXPECT_TRUE(time >= 10.0 && time <= 20.0) << time;
    EXPECT_GT(time, previous) << "rows rise in time";
    previous = time;
    EXPECT_FALSE(rows[i][1].empty()) << "every row is a Speed sample";
    if (!rows[i][2].empty()) ++fuelCells;
  }
  EXPECT_EQ(fuelCells, 21u) << "the slow channel fills every tenth row";

  const Json document = Json::parse(RunOk({"dump", Sample(), "Engine Speed", "--to", "1", "--json"}).out);
  ASSERT_EQ(document["channels"].size(), 1u);
  const Json& channel = document["channels"][0];
  EXPECT_EQ(channel["name"], "Engine Speed");
  ASSERT_EQ(channel["times"].size(), channel["values"].size());
  EXPECT_EQ(channel["times"].size(), 21u) << "0 to 1 s at 20 Hz";
  EXPECT_DOUBLE_EQ(channel["times"][1].get<double>() - channel["times"][0].get<double>(), 1.0 / kRate);
}

TEST(Commands, EventsJsonListsTheTablesRowsInTimeOrder) {
  const auto rows = RunOk({"events", Sample()}).Rows();
  const Json document = Json::parse(RunOk({"events", Sample(), "--json"}).out);
  EXPECT_EQ(document["events"].size(), rows.size() - 1);
  double previous = -1e300;
  for (const Json& event : document["events"]) {
    EXPECT_GE(event["time"].get<double>(), previous) << "events in time order";
    previous = event["time"];
  }
}

TEST(Commands, ConstantsListAValueForEachNameInTableAndJson) {
  const auto rows = RunOk({"constants", Sample()}).Rows();
  for (size_t i = 1; i < rows.size(); ++i) EXPECT_FALSE(rows[i][1].empty()) << rows[i][0];
  EXPECT_EQ(Json::parse(RunOk({"constants", Sample(), "--json"}).out)["constants"].size(), rows.size() - 1);
}

TEST(Commands, BlobsListNamesTypesAndSizes) {
  const std::string trn = Path("blobs.trn");
  TarnDataSet data;
  data.blobs.push_back({Guid::Literal("{6B1A3C55-30D6-4B8E-9E43-5E2D7D0C2B11}"), u"Map", {4, 5, 6, 7}});
  ASSERT_EQ(WriteTarnDataSet(Utf8ToWide(trn), data), S_OK);
  EXPECT_EQ(RunOk({"blobs", trn}).out, "name\ttype\tbytes\nMap\t{6B1A3C55-30D6-4B8E-9E43-5E2D7D0C2B11}\t4\n");
  EXPECT_EQ(Json::parse(RunCli({"blobs", trn, "--json"}).out)["blobs"][0]["bytes"], 4);
}

TEST(Commands, LapsFollowTheEndOfLapEvents) {
  const auto rows = RunOk({"laps", Sample()}).Rows();
  ASSERT_GE(rows.size(), size_t{kLaps} + 1);
  EXPECT_EQ(rows[0], (std::vector<std::string>{"lap", "start", "end", "time", "flags"}));
  EXPECT_EQ(rows[1][0], "Lap 1");
  EXPECT_NE(rows[1][4].find("out"), std::string::npos) << "the first lap leaves the pits";
  const Json laps = Json::parse(RunCli({"laps", Sample(), "--json"}).out)["laps"];
  ASSERT_EQ(laps.size(), rows.size() - 1);
  for (size_t i = 1; i < laps.size(); ++i) {
    EXPECT_GT(laps[i]["start"].get<double>(), laps[i - 1]["end"].get<double>() - 1e-6) << "laps follow each other";
  }
}

TEST(Commands, InfoTellsTypeRangeCountsAndInformation) {
  const Json info = Json::parse(RunOk({"info", Sample(), "--json"}).out);
  EXPECT_EQ(info["type_name"], "text");
  EXPECT_EQ(info["channels"].get<size_t>(), Channels(Sample()).size());
  EXPECT_GE(info["events"].get<long>(), kLaps);
  EXPECT_GT(info["duration"].get<double>(), kLaps * 60.0);
  EXPECT_EQ(info["information"]["Track name"], "Halvane Park");
}

TEST(Commands, ConvertWritesANativeStoreFileWithTheSameChannels) {
  const std::string trn = Path("converted.trn");
  const CliResult converted = RunOk({"convert", Sample(), trn});
  const auto text = Channels(Sample());
  const auto store = Channels(trn);
  ASSERT_EQ(store.size(), text.size());
  for (const auto& [name, row] : text) {
    ASSERT_TRUE(store.contains(name)) << name;
    EXPECT_EQ(store.at(name)[2], row[2]) << name << ": same sample count";
    EXPECT_EQ(store.at(name)[3], row[3]) << name << ": same rate";
  }
  // A store lists its channels by key; the name alone finds one.
  const std::string first = text.begin()->first;
  EXPECT_EQ(RunOk({"dump", trn, first}).Rows()[0], (std::vector<std::string>{"time", first}));
  for (const char* command : {"events", "constants", "laps"}) {
    EXPECT_EQ(RunOk({command, trn}).out, RunCli({command, Sample()}).out) << command << " survive the conversion";
  }
}

TEST(Commands, MarkersEditAStoreAndTheLapTableFollows) {
  const std::string trn = Path("markers.trn");
  ASSERT_EQ(RunCli({"convert", Sample(), trn}).exitCode, 0);
  const auto before = RunCli({"laps", trn}).Rows();
  const double firstEnd = std::stod(before[1][2]);

  const CliResult added = RunOk({"markers", trn, "add", "--time", std::to_string(firstEnd / 2)});
  auto rows = RunCli({"laps", trn}).Rows();
  ASSERT_EQ(rows.size(), before.size() + 1) << "one more lap";
  EXPECT_NEAR(std::stod(rows[1][2]), firstEnd / 2, 1e-3);

  ASSERT_EQ(RunCli({"markers", trn, "remove", "1"}).exitCode, 0);
  ASSERT_EQ(RunCli({"markers", trn, "add", "--distance", "100"}).exitCode, 0) << "the sample has a Distance channel";
  ASSERT_EQ(RunCli({"markers", trn, "shift", "--", "-10"}).exitCode, 0);
  const CliResult reset = RunOk({"markers", trn, "reset"});
  EXPECT_EQ(RunCli({"laps", trn}).Rows(), before) << "reset restores the recorded markers";

  SharedCli().RunRefused({"markers", trn, "remove", "999"}, trn + ": the remove was refused");
}

// Two outings logged at once, their clocks 13 s apart, line up on one clock;
// a value offset reads through the selection's offset filter.
TEST(Commands, AlignShiftsTheLaterClockAndDumpOffsetsThroughTheSelection) {
  const std::string early = Path("early.txt"), late = Path("late.txt");
  ASSERT_EQ(RunCli({"sample", early, "--laps", "1", "--rate", "20", "--clock", "09:00:00"}).exitCode, 0);
  ASSERT_EQ(RunCli({"sample", late, "--laps", "1", "--rate", "20", "--clock", "09:00:13", "--seed", "2"}).exitCode, 0);
  const CliResult aligned = RunOk({"align", late, early, "--json"});
  const auto json = nlohmann::json::parse(aligned.out);
  EXPECT_EQ(json["outings"][0]["shift_ticks"].get<int64_t>(), -130000000);
  EXPECT_EQ(json["outings"][1]["shift_ticks"].get<int64_t>(), 0);

  const CliResult plain = RunCli({"dump", early, "Throttle", "--to", "0", "--json"});
  const CliResult shifted = RunOk({"dump", early, "Throttle", "--to", "0", "--offset", "2", "--json"});
  const double before = nlohmann::json::parse(plain.out)["channels"][0]["values"][0].get<double>();
  const double after = nlohmann::json::parse(shifted.out)["channels"][0]["values"][0].get<double>();
  EXPECT_DOUBLE_EQ(after, before + 2);
}

}  // namespace
}  // namespace velmar::testing
