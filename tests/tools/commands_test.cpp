// The `velmar` binary end to end on a generated sample: what each command
// prints, that JSON parses, and that bad input ends with a non-zero exit and
// one line naming the file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "cli_run.h"
#include "sources/tarn/tarn_convert.h"
#include "velmar/text.h"
#include "velmar/version.h"

namespace velmar::testing {
namespace {

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using Json = nlohmann::json;

constexpr int kLaps = 2;
constexpr double kRate = 20.0;

class CommandsTest : public ::testing::Test {
 protected:
  // One sample for the whole suite: making and loading it is the slow part.
  static void SetUpTestSuite() { runner_ = new CliRunner(); }
  static void TearDownTestSuite() {
    delete runner_;
    runner_ = nullptr;
  }

  static CliResult Run(const std::vector<std::string>& args) { return runner_->Run(args); }
  static const std::string& Sample() { return runner_->Sample(); }
  static std::string Path(const std::string& name) { return runner_->Path(name); }

  // `channels` as name -> row.
  static std::map<std::string, std::vector<std::string>> Channels(const std::string& file) {
    const CliResult listed = Run({"channels", file});
    EXPECT_EQ(listed.exitCode, 0) << listed.err;
    std::map<std::string, std::vector<std::string>> byName;
    const auto rows = listed.Rows();
    EXPECT_FALSE(rows.empty());
    for (size_t i = 1; i < rows.size(); ++i) byName[rows[i][0]] = rows[i];
    return byName;
  }

  static CliRunner* runner_;
};

CliRunner* CommandsTest::runner_ = nullptr;

TEST_F(CommandsTest, VersionNamesTheLibraryVersion) {
  const CliResult result = Run({"--version"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_THAT(result.out, StartsWith(std::string("velmar ") + kVersion));
}

TEST_F(CommandsTest, ChannelsListsTheSampleWithCountsRatesAndRanges) {
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
}

TEST_F(CommandsTest, ChannelsJsonAgreesWithTheTable) {
  const auto table = Channels(Sample());
  const CliResult result = Run({"channels", Sample(), "--json"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const Json document = Json::parse(result.out);
  ASSERT_TRUE(document["channels"].is_array());
  EXPECT_EQ(document["channels"].size(), table.size());
  for (const Json& channel : document["channels"]) {
    const std::string name = channel["name"];
    ASSERT_TRUE(table.contains(name)) << name;
    EXPECT_EQ(channel["samples"].get<long>(), std::stol(table.at(name)[2])) << name;
    EXPECT_FALSE(channel["aperiodic"].get<bool>()) << name;
  }
}

TEST_F(CommandsTest, DumpWritesATimeColumnThenOneColumnPerChannel) {
  const CliResult result = Run({"dump", Sample(), "Speed", "Fuel Level", "--from", "10", "--to", "20"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto rows = result.Rows();
  ASSERT_FALSE(rows.empty());
  EXPECT_EQ(rows[0], (std::vector<std::string>{"time", "Speed", "Fuel Level"}));
  // 10 s at 20 Hz, both ends included.
  EXPECT_EQ(rows.size() - 1, 201u);
  double previous = -1;
  size_t fuelCells = 0;
  for (size_t i = 1; i < rows.size(); ++i) {
    ASSERT_EQ(rows[i].size(), 3u);
    const double time = std::stod(rows[i][0]);
    EXPECT_GE(time, 10.0);
    EXPECT_LE(time, 20.0);
    EXPECT_GT(time, previous) << "rows rise in time";
    previous = time;
    EXPECT_FALSE(rows[i][1].empty()) << "every row is a Speed sample";
    if (!rows[i][2].empty()) ++fuelCells;
  }
  EXPECT_EQ(fuelCells, 21u) << "the slow channel fills every tenth row";
}

TEST_F(CommandsTest, DumpJsonGivesEachChannelsTimesAndValues) {
  const CliResult result = Run({"dump", Sample(), "Engine Speed", "--to", "1", "--json"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const Json document = Json::parse(result.out);
  ASSERT_EQ(document["channels"].size(), 1u);
  const Json& channel = document["channels"][0];
  EXPECT_EQ(channel["name"], "Engine Speed");
  ASSERT_EQ(channel["times"].size(), channel["values"].size());
  EXPECT_EQ(channel["times"].size(), 21u) << "0 to 1 s at 20 Hz";
  EXPECT_DOUBLE_EQ(channel["times"][1].get<double>() - channel["times"][0].get<double>(), 1.0 / kRate);
}

TEST_F(CommandsTest, EventsHoldAnEndOfLapPerCrossing) {
  const CliResult result = Run({"events", Sample()});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto rows = result.Rows();
  ASSERT_FALSE(rows.empty());
  EXPECT_EQ(rows[0], (std::vector<std::string>{"time", "name", "category", "source", "message"}));
  const long laps = std::count_if(rows.begin() + 1, rows.end(), [](const auto& row) { return row[1] == "End of lap"; });
  EXPECT_GE(laps, kLaps);

  const CliResult json = Run({"events", Sample(), "--json"});
  ASSERT_EQ(json.exitCode, 0) << json.err;
  const Json document = Json::parse(json.out);
  EXPECT_EQ(document["events"].size(), rows.size() - 1);
  double previous = -1e300;
  for (const Json& event : document["events"]) {
    EXPECT_GE(event["time"].get<double>(), previous) << "events in time order";
    previous = event["time"];
  }
}

TEST_F(CommandsTest, ConstantsListNamesValuesAndUnits) {
  const CliResult result = Run({"constants", Sample()});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto rows = result.Rows();
  ASSERT_GE(rows.size(), 2u) << "the sample has constants";
  EXPECT_EQ(rows[0], (std::vector<std::string>{"name", "value", "unit"}));
  for (size_t i = 1; i < rows.size(); ++i) EXPECT_FALSE(rows[i][1].empty()) << rows[i][0];

  const CliResult json = Run({"constants", Sample(), "--json"});
  ASSERT_EQ(json.exitCode, 0) << json.err;
  EXPECT_EQ(Json::parse(json.out)["constants"].size(), rows.size() - 1);
}

TEST_F(CommandsTest, BlobsListNamesTypesAndSizes) {
  const std::string trn = Path("blobs.trn");
  TarnDataSet data;
  data.blobs.push_back({Guid::Literal("{6B1A3C55-30D6-4B8E-9E43-5E2D7D0C2B11}"), u"Map", {4, 5, 6, 7}});
  ASSERT_EQ(WriteTarnDataSet(Utf8ToWide(trn), data), S_OK);
  const CliResult result = Run({"blobs", trn});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  EXPECT_EQ(result.Rows(), (std::vector<std::vector<std::string>>{
                               {"name", "type", "bytes"}, {"Map", "{6B1A3C55-30D6-4B8E-9E43-5E2D7D0C2B11}", "4"}}));
  EXPECT_EQ(Json::parse(Run({"blobs", trn, "--json"}).out)["blobs"][0]["bytes"], 4);
  EXPECT_EQ(Run({"blobs", Sample()}).Rows().size(), 1u) << "a text data set has no blobs";
}

TEST_F(CommandsTest, LapsFollowTheEndOfLapEventsAndSurviveConversion) {
  const CliResult result = Run({"laps", Sample()});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto rows = result.Rows();
  ASSERT_GE(rows.size(), size_t{kLaps} + 1);
  EXPECT_EQ(rows[0], (std::vector<std::string>{"lap", "start", "end", "time", "flags"}));
  EXPECT_EQ(rows[1][0], "Lap 1");
  EXPECT_NE(rows[1][4].find("out"), std::string::npos) << "the first lap leaves the pits";
  const Json laps = Json::parse(Run({"laps", Sample(), "--json"}).out)["laps"];
  ASSERT_EQ(laps.size(), rows.size() - 1);
  for (size_t i = 1; i < laps.size(); ++i) {
    EXPECT_GT(laps[i]["start"].get<double>(), laps[i - 1]["end"].get<double>() - 1e-6) << "laps follow each other";
  }
  const std::string trn = Path("laps.trn");
  ASSERT_EQ(Run({"convert", Sample(), trn}).exitCode, 0);
  const CliResult stored = Run({"laps", trn});
  ASSERT_EQ(stored.exitCode, 0) << stored.err;
  EXPECT_EQ(stored.out, result.out);
}

TEST_F(CommandsTest, InfoTellsTypeRangeCountsAndInformation) {
  const CliResult result = Run({"info", Sample(), "--json"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const Json info = Json::parse(result.out);
  EXPECT_EQ(info["type"], 3);
  EXPECT_EQ(info["type_name"], "text");
  EXPECT_EQ(info["channels"].get<size_t>(), Channels(Sample()).size());
  if (!info["events"].is_null()) {
    EXPECT_GE(info["events"].get<long>(), kLaps);
  }
  EXPECT_EQ(info["event_sets"], 1) << "the \"End of lap\" set";
  EXPECT_GT(info["duration"].get<double>(), kLaps * 60.0);
  EXPECT_EQ(info["information"]["Track name"], "Halvane Park");

  const CliResult table = Run({"info", Sample()});
  ASSERT_EQ(table.exitCode, 0) << table.err;
  EXPECT_THAT(table.Rows(), Contains(std::vector<std::string>{"type", "3 (text)"}));
}

TEST_F(CommandsTest, ConvertWritesANativeStoreFileWithTheSameChannels) {
  const std::string trn = Path("converted.trn");
  const CliResult converted = Run({"convert", Sample(), trn});
  ASSERT_EQ(converted.exitCode, 0) << converted.err;
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
  const CliResult dumped = Run({"dump", trn, first});
  ASSERT_EQ(dumped.exitCode, 0) << dumped.err;
  EXPECT_EQ(dumped.Rows()[0], (std::vector<std::string>{"time", first}));
  for (const char* command : {"events", "constants"}) {
    const CliResult fromText = Run({command, Sample()});
    const CliResult fromStore = Run({command, trn});
    ASSERT_EQ(fromStore.exitCode, 0) << fromStore.err;
    EXPECT_EQ(fromStore.out, fromText.out) << command << " survive the conversion";
  }
}

TEST_F(CommandsTest, MarkersEditAStoreAndTheLapTableFollows) {
  const std::string trn = Path("markers.trn");
  ASSERT_EQ(Run({"convert", Sample(), trn}).exitCode, 0);
  const auto before = Run({"laps", trn}).Rows();
  const double firstEnd = std::stod(before[1][2]);

  const CliResult added = Run({"markers", trn, "add", "--time", std::to_string(firstEnd / 2)});
  ASSERT_EQ(added.exitCode, 0) << added.err;
  auto rows = Run({"laps", trn}).Rows();
  ASSERT_EQ(rows.size(), before.size() + 1) << "one more lap";
  EXPECT_NEAR(std::stod(rows[1][2]), firstEnd / 2, 1e-3);

  ASSERT_EQ(Run({"markers", trn, "remove", "1"}).exitCode, 0);
  ASSERT_EQ(Run({"markers", trn, "add", "--distance", "100"}).exitCode, 0) << "the sample has a Distance channel";
  ASSERT_EQ(Run({"markers", trn, "shift", "--", "-10"}).exitCode, 0);
  const CliResult reset = Run({"markers", trn, "reset"});
  ASSERT_EQ(reset.exitCode, 0) << reset.err;
  EXPECT_EQ(Run({"laps", trn}).Rows(), before) << "reset restores the recorded markers";

  const CliResult refused = Run({"markers", trn, "remove", "999"});
  EXPECT_NE(refused.exitCode, 0);
  EXPECT_THAT(refused.err, HasSubstr(trn + ": "));
  EXPECT_THAT(refused.err, HasSubstr("refused"));
}

TEST_F(CommandsTest, BadArgumentsExitNonZero) {
  EXPECT_NE(Run({}).exitCode, 0) << "a command is required";
  EXPECT_NE(Run({"frobnicate"}).exitCode, 0);
  EXPECT_NE(Run({"dump", Sample()}).exitCode, 0) << "dump needs a channel";
  EXPECT_NE(Run({"sample", Path("s.txt"), "--laps", "0"}).exitCode, 0);
  EXPECT_NE(Run({"sample", Path("bad.txt"), "--clock", "25:00:00"}).exitCode, 0);
}

}  // namespace
}  // namespace velmar::testing

namespace velmar::testing {
namespace {

// Two outings logged at once, their clocks 13 s apart, line up on one clock;
// a value offset reads through the selection's offset filter.
TEST_F(CommandsTest, AlignShiftsTheLaterClockAndDumpOffsetsThroughTheSelection) {
  const std::string early = Path("early.txt"), late = Path("late.txt");
  ASSERT_EQ(Run({"sample", early, "--laps", "1", "--rate", "20", "--clock", "09:00:00"}).exitCode, 0);
  ASSERT_EQ(Run({"sample", late, "--laps", "1", "--rate", "20", "--clock", "09:00:13", "--seed", "2"}).exitCode, 0);
  const CliResult aligned = Run({"align", late, early, "--json"});
  ASSERT_EQ(aligned.exitCode, 0) << aligned.err;
  const auto json = nlohmann::json::parse(aligned.out);
  EXPECT_EQ(json["outings"][0]["shift_ticks"].get<int64_t>(), -130000000);
  EXPECT_EQ(json["outings"][1]["shift_ticks"].get<int64_t>(), 0);

  const CliResult plain = Run({"dump", early, "Throttle", "--to", "0", "--json"});
  const CliResult shifted = Run({"dump", early, "Throttle", "--to", "0", "--offset", "2", "--json"});
  ASSERT_EQ(shifted.exitCode, 0) << shifted.err;
  const double before = nlohmann::json::parse(plain.out)["channels"][0]["values"][0].get<double>();
  const double after = nlohmann::json::parse(shifted.out)["channels"][0]["values"][0].get<double>();
  EXPECT_DOUBLE_EQ(after, before + 2);
}

}  // namespace
}  // namespace velmar::testing
