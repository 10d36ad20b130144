#include "sources/text/text_writer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "faulty_text_file_ops.h"
#include "sources/text/sample_car.h"
#include "sources/text/sample_generator.h"
#include "sources/text/text_format.h"
#include "sources/text/text_rewrite.h"
#include "support/fixtures.h"
#include "support/temp_dir.h"
#include "text_test_util.h"
#include "velmar/sample.h"
#include "velmar/text.h"

namespace velmar {
namespace {

using testing::MustRead;
using testing::Times;
using testing::Values;
using V = std::vector<double>;

TextColumn Column(std::u16string name, std::u16string unit, V times, V values, uint64_t block) {
  TextColumn c;
  c.name = std::move(name);
  c.unit = std::move(unit);
  c.block = block;
  c.count = static_cast<uint32_t>(times.size());
  c.data = AllocateSamples(2 * times.size());
  std::copy(times.begin(), times.end(), c.data.get());
  std::copy(values.begin(), values.end(), c.data.get() + times.size());
  return c;
}

TEST(TextWriter, NewFileIsExactlyTheEmptyForm) {
  EXPECT_EQ(NewFileBytes(), "KivaraASCIIDataSet\r\n\r\n{OutingInformation}\r\n");
  std::string head;
  AppendHead(head);
  EXPECT_EQ(head, "KivaraVersionedASCIIDataSet\r\nVersion\t2\r\n\r\n{OutingInformation}\r\n");
}

using nlohmann::json;

constexpr auto W = testing::FixtureWide;
TextEvent EventOf(const json& e) { return {e[0], W(e[1]), e[2], W(e[3]), W(e[4])}; }
std::vector<TextEvent> EventsOf(const json& list) {
  std::vector<TextEvent> events;
  for (const json& e : list) events.push_back(EventOf(e));
  return events;
}

// One edit of a case to `file`: block appends ("append_*") and rewrites of
// the information, the event block or one constant.
TextStatus Edit(std::string& file, const json& edit) {
  const std::string kind = edit.begin().key();
  const json& arg = edit.front();
  const json none = json::array();
  if (kind == "append_information") {
    for (const json& l : arg) AppendInformationLine(file, W(l[0]), W(l[1]));
  } else if (kind == "append_events") {
    AppendEventBlockHead(file);  // rows: [time, name, category, source, message, base]
    for (const json& e : arg) AppendEventRow(file, EventOf(e), e[5]);
  } else if (kind == "append_constants") {
    std::vector<TextConstant> constants;
    for (const json& c : arg) constants.push_back({W(c[0]), c[1], W(c[2])});
    AppendConstantBlock(file, constants);
  } else if (kind == "append_channel") {
    const std::vector<KivTime> times = arg["times"];
    const V values = arg["values"];
    return AppendChannelBlock(file, {W(arg["name"]), W(arg["unit"]), times, values, arg.value("factor", 1.0),
                                     arg.value("offset", 0.0)}, arg["base"]);
  } else if (kind == "append_group") {  // channels: [name, unit, start, end, period, times, values]
    std::vector<std::pair<std::vector<KivTime>, V>> data;
    for (const json& c : arg["channels"]) data.emplace_back(c[5], c[6]);
    std::vector<ArraySampler> samplers;
    std::vector<TextGroupChannel> group;
    samplers.reserve(data.size());
    for (const json& c : arg["channels"]) {
      samplers.emplace_back(data[group.size()].first, data[group.size()].second);
      group.push_back({W(c[0]), W(c[1]), c[2], c[3], c[4], 1, 0, &samplers.back()});
    }
    return AppendChannelGroupBlock(file, group, arg["base"]);
  } else {
    TextIndex index;
    std::string out;
    TextStatus st = OpenIndex(file, {}, &index);
    if (st.ok() && kind == "information") {  // [property, text, number or boolean]
      std::vector<InformationProperty> props;
      for (const json& p : arg) props.push_back({W(p[0]), testing::FixtureVariant(p[1])});
      st = RewriteInformation(file, index, props, &out);
    } else if (st.ok() && kind == "events") {
      st = RewriteEvents(file, index, EventsOf(arg.value("added", none)), arg.value("base", KivTime{0}),
                         EventsOf(arg.value("removed", none)), &out);
    } else if (st.ok()) {  // "constant": [add 0, modify 1 or remove 2, name, value, comment]
      st = RewriteConstant(file, index, ConstantEdit(arg[0].get<int>()), {W(arg[1]), arg[2], W(arg[3])}, &out);
    }
    if (st.ok()) file = std::move(out);
    return st;
  }
  return {};
}

// Each case: a file's lines (none: empty), the edits made to it in turn, and
// the file after them line by line, or the code of the last edit's refusal.
class TextWriteCase : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(TextWriteCase, WritesTheBytesTheCaseExpects) {
  const json c = testing::ReadFixture(GetParam());
  std::string file = testing::FixtureLines(c.value("file", json::array()));
  TextStatus st;
  for (const json& edit : c["edits"]) {
    ASSERT_TRUE(st.ok()) << st.ToString();
    st = Edit(file, edit);
  }
  EXPECT_EQ(TextCodeName(st.code()), c.value("code", std::string("ok")));
  if (!c.contains("expected")) return;
  EXPECT_EQ(file, testing::FixtureLines(c["expected"]));
  if (file.starts_with("Kivara")) MustRead(file);  // and a whole file reads back
}

INSTANTIATE_TEST_SUITE_P(Cases, TextWriteCase, testing::FixtureCases("sources/text/writes"), testing::FixtureName);

TEST(TextWriter, EveryBlockKindRoundTrips) {
  TextDataSet data;
  data.versioned = true;
  data.information = {{u"DriverName", u"Jo"}, {u"LongComment", u"one\r\ntwo $% three"}, {u"Custom", u"x"}};
  data.events = {{10'000'000, u"End of lap", kEventFromCar, u"Beacon", u"Lap 1"},
                 {15'000'000, u"Note", kEventFromAnalysis, u"", u"text"}};
  data.constants = {{u"Wing", 12.5, u"deg"}, {u"Fuel", 60, u""}};
  data.columns.push_back(Column(u"A", u"m", {0, 0.5, 1}, {1, 2, 3}, 0));
  data.columns.push_back(Column(u"B", u"", {0, 0.5, 1}, {-1, 1e12, 0.25}, 0));
  data.columns.push_back(Column(u"C", u"s", {0.25}, {7}, 0));  // another time base: a block of its own
  data.columns.push_back(Column(u"D", u"", {2}, {8}, 1));

  std::string bytes = WriteTextDataSet(data);
  TextDataSet back = MustRead(bytes);
  EXPECT_TRUE(back.versioned);
  EXPECT_EQ(back.information, data.information);
  EXPECT_EQ(back.events, data.events);
  EXPECT_EQ(back.constants, data.constants);
  const auto columns = [](const TextDataSet& set) {
    std::vector<std::tuple<std::string, std::string, V, V>> out;
    for (const TextColumn& c : set.columns) out.emplace_back(WideToUtf8(c.name), WideToUtf8(c.unit), Times(c), Values(c));
    return out;
  };
  EXPECT_EQ(columns(back), columns(data));
  EXPECT_EQ(back.columns[0].block, back.columns[1].block);
  EXPECT_NE(back.columns[1].block, back.columns[2].block);
  EXPECT_EQ(WriteTextDataSet(back), bytes);  // and again, byte for byte
  // An event is found by its time, name and source, whatever its message.
  EXPECT_TRUE(HasEvent(back.events, {10'000'000, u"End of lap", 0, u"Beacon", u"ignored"}));
  EXPECT_FALSE(HasEvent(back.events, {10'000'000, u"End of lap", 0, u"other source", u"Lap 1"}));
}

using testing::Problems;

TEST(SampleGenerator, OutingParsesBackWithItsChannelsLapsAndInformation) {
  SampleOptions options;
  options.laps = 3;
  options.rate = 50;
  options.seed = 7;
  std::string bytes = GenerateSampleOuting(options);
  Problems problems;
  TextDataSet data = MustRead(bytes, &problems);
  EXPECT_TRUE(problems.items.empty());

  std::vector<std::u16string> headers;
  for (const auto& c : data.columns) headers.push_back(c.header);
  std::vector<std::u16string> expected = SampleFastColumns();
  expected.insert(expected.end(), SampleSlowColumns().begin(), SampleSlowColumns().end());
  EXPECT_EQ(headers, expected);

  const TextColumn& speed = data.columns[1];
  EXPECT_EQ(speed.name, u"Speed");
  EXPECT_EQ(speed.unit, u"km/h");
  SampleCar car(7, 3);
  double duration = car.Duration();
  // The data runs to the first slow sample (every 0.2 s) at or after the last crossing.
  EXPECT_GE(speed.times().back(), duration);
  EXPECT_NEAR(speed.count, duration * 50, 11.0);
  EXPECT_DOUBLE_EQ(speed.times()[1] - speed.times()[0], 0.02);
  const auto [low, top] = std::minmax_element(speed.values().begin(), speed.values().end());
  EXPECT_GT(*top, 200);
  EXPECT_LT(*low, 120);
  EXPECT_NEAR(data.columns.back().times()[1], 0.2, 1e-12);  // the slow block runs at a tenth

  auto laps = GroupEvents(data.events).at(u"End of lap");
  ASSERT_EQ(laps.size(), 3u);
  double previous = 0;
  for (const auto& [time, e] : laps) {
    double lapTime = static_cast<double>(time) / 1e7 - previous;
    EXPECT_GT(lapTime, 80);
    EXPECT_LT(lapTime, 100);
    EXPECT_EQ(e.category, kEventFromCar);
    previous = static_cast<double>(time) / 1e7;
  }
  const TextColumn& distance = data.columns[0];
  EXPECT_NEAR(distance.values()[distance.count - 1], 3 * SampleCar::CircuitLength(), 5.0);

  auto props = InformationToProperties(data.information);
  EXPECT_EQ(props.size(), 10u);  // every key of the format
  EXPECT_EQ(data.information.back().key, u"SampleSeed");
  EXPECT_NE(data.information[7].value.find(u"\r\n"), std::u16string::npos);
  EXPECT_EQ(data.constants.size(), 8u);
}

TEST(SampleGenerator, CircuitIsAClosedLoopOfAFewKilometres) {
  EXPECT_GT(SampleCar::CircuitLength(), 3000);
  EXPECT_LT(SampleCar::CircuitLength(), 6000);
  EXPECT_GT(SampleCar::ReferenceLapTime(), 80);
  EXPECT_LT(SampleCar::ReferenceLapTime(), 100);
  // Where the car starts and where it ends a lap are one place.
  SampleCar car(1, 2);
  KivTime start = 0;
  auto end = static_cast<KivTime>(std::llround(car.LapEnd(0) * 1e7));
  double dLat = car.Value(SampleChannel::kLatitude, start) - car.Value(SampleChannel::kLatitude, end);
  double dLon = car.Value(SampleChannel::kLongitude, start) - car.Value(SampleChannel::kLongitude, end);
  EXPECT_LT(std::hypot(dLat * 111320, dLon * 68000), 5.0);  // metres, GPS noise included
}

TEST(SampleGenerator, SameOptionsSameBytes) {
  SampleOptions options;
  options.laps = 1;
  EXPECT_EQ(GenerateSampleOuting(options), GenerateSampleOuting(options));
  SampleOptions other = options;
  other.seed = 2;
  EXPECT_NE(GenerateSampleOuting(options), GenerateSampleOuting(other));
}

TEST(SampleGenerator, WideTableHasTwentyColumnsAndTheSizeAskedFor) {
  std::string bytes = GenerateWideTable(3u << 20);
  EXPECT_NEAR(static_cast<double>(bytes.size()), 3.0 * (1 << 20), 0.05 * (1 << 20));
  TextDataSet data = MustRead(bytes);
  ASSERT_EQ(data.columns.size(), 20u);
  std::vector<std::u16string> headers;
  for (const auto& c : data.columns) {
    headers.push_back(c.header);
    EXPECT_EQ(c.count, data.columns[0].count);
    EXPECT_EQ(c.block, 0u);
  }
  EXPECT_EQ(headers, SampleWideColumns());
}

TEST(SampleGenerator, WritesAFileAndSaysWhyNot) {
  testing::TempDir dir;
  const std::string bytes = GenerateSampleOuting({1, 10, 3});
  size_t written = 0;
  ASSERT_EQ(KivWriteSampleOuting(Utf8ToWide((dir / "sample.txt").string()), {1, 10, 3}, &written), S_OK);
  EXPECT_EQ(written, bytes.size());
  EXPECT_EQ(testing::ReadWhole(dir / "sample.txt"), bytes);
  EXPECT_EQ(MustRead(bytes).events.size(), 1u);
  EXPECT_EQ(KivWriteSampleOuting(Utf8ToWide((dir / "x.txt").string()), {0, 10, 3}), E_INVALIDARG);
  EXPECT_EQ(KivWriteSampleOuting(Utf8ToWide((dir / "x.txt").string()), {1, 0, 3}), E_INVALIDARG);
  EXPECT_TRUE(Failed(KivWriteSampleOuting(Utf8ToWide((dir / "no" / "x.txt").string()), {1, 10, 3})));
}

}  // namespace
}  // namespace velmar
