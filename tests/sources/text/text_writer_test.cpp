#include "sources/text/text_writer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "faulty_text_file_ops.h"
#include "sources/text/sample_car.h"
#include "sources/text/sample_generator.h"
#include "sources/text/text_format.h"
#include "sources/text/text_rewrite.h"
#include "support/temp_dir.h"
#include "text_test_util.h"
#include "velmar/sample.h"
#include "velmar/text.h"

namespace velmar {
namespace {

using testing::Lines;
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

TEST(TextWriter, InformationLinesAreEscapedAndSafe) {
  std::string out;
  AppendInformationLine(out, u"LongComment", u"a\r\nb $% c\td {e}");
  AppendInformationLine(out, u"Empty", u"");
  AppendInformationLine(out, u"Two words", u"x");
  EXPECT_EQ(out, "LongComment\ta$%$^b $$% c d (e)\r\nTwo_words\tx\r\n");
}

TEST(TextWriter, OneChannelBlockByteForByte) {
  std::vector<KivTime> times = {10'000'000, 10'100'000, 12'345'678};
  V values = {0.5, 12345.678, 1e12};
  std::string out;
  ASSERT_TRUE(AppendChannelBlock(out, {u"Speed", u"km/h", times, values}, 10'000'000).ok());
  EXPECT_EQ(out, Lines({"", "{ChannelBlock}", "Time\tSpeed[km/h]", "0.0000000\t0.500000", "0.0100000\t12345.67800",
                        "0.2345678\t1.0000e+12"}));

  out.clear();
  V scaled = {1, 2, 3};
  ASSERT_TRUE(AppendChannelBlock(out, {u"P\u2082[x]", u"b[a]r", times, scaled, 2.0, 1.0}, 0).ok());
  // The name keeps its brackets, the unit loses them; each value is 2 x v + 1.
  EXPECT_EQ(out.rfind("\r\n{ChannelBlock}\r\nTime\tP_[x][b_a_r]\r\n1.0000000\t3.000000\r\n", 0), 0u);

  std::vector<KivTime> one = {0};
  EXPECT_EQ(AppendChannelBlock(out, {u"X", u"", one, scaled}, 0).code(), TextCode::kInvalidArgument);
}

TEST(TextWriter, ChannelGroupLeavesCellsEmptyOutsideEachChannel) {
  std::vector<KivTime> ta = {0, 1'000'000, 2'000'000};
  V va = {1, 2, 3};
  std::vector<KivTime> tb = {1'000'000, 2'000'000, 3'000'000};
  V vb = {10, 20, 30};
  ArraySampler a(ta, va), b(tb, vb);
  std::vector<TextGroupChannel> group = {{u"A", u"", 0, 2'000'000, 1'000'000, 1, 0, &a},
                                         {u"B", u"V", 1'000'000, 3'000'000, 1'000'000, 1, 0, &b}};
  std::string out;
  ASSERT_TRUE(AppendChannelGroupBlock(out, group, 0).ok());
  EXPECT_EQ(out, Lines({"", "{ChannelBlock}", "Time\tA\tB[V]", "0.0000000\t1.000000\t", "0.1000000\t2.000000\t10.000000",
                        "0.2000000\t3.000000\t20.000000", "0.3000000\t\t30.000000"}));
  auto cols = MustRead("KivaraASCIIDataSet" + out).columns;
  EXPECT_EQ(Times(cols[0]), (V{0, 0.1, 0.2}));
  EXPECT_EQ(Times(cols[1]), (V{0.1, 0.2, 0.3}));
}

TEST(TextWriter, ChannelGroupStopsWhenEveryChannelIsDone) {
  std::vector<KivTime> t = {0, 1'000'000};
  V v = {1, 2};
  ArraySampler a(t, v);
  // The grid says four rows, the data ends after two.
  std::vector<TextGroupChannel> group = {{u"A", u"", 0, 3'000'000, 1'000'000, 1, 0, &a}};
  std::string out;
  ASSERT_TRUE(AppendChannelGroupBlock(out, group, 0).ok());
  EXPECT_EQ(out, Lines({"", "{ChannelBlock}", "Time\tA", "0.0000000\t1.000000", "0.1000000\t2.000000"}));
  std::vector<TextGroupChannel> bad = {{u"A", u"", 0, 1, 0, 1, 0, &a}};
  EXPECT_EQ(AppendChannelGroupBlock(out, bad, 0).code(), TextCode::kInvalidArgument);
}

TEST(TextWriter, EventAndConstantRows) {
  std::string out;
  AppendEventBlockHead(out);
  AppendEventRow(out, {25'000'000, u"End of lap", kEventFromCar, u"Beacon", u"Lap 1"}, 5'000'000);
  AppendEventRow(out, {0, u"Note", 2, u"", u"two\r\nlines"}, 0);
  AppendEventRow(out, {0, u"Odd", 9, u"s", u"m"}, 0);
  EXPECT_EQ(out, Lines({"", "{EventBlock}", "Time\tName\tCategory\tSource\tMessage",
                        "2.0000000\tEnd of lap\tBox Created\tBeacon\tLap 1", "0.0000000\tNote\tKivara Added\t\ttwo  lines",
                        "0.0000000\tOdd\t\ts\tm"}));
  out.clear();
  std::vector<TextConstant> constants = {{u"Wing", 12.5, u"deg"}, {u"  Lead", 1, u""}, {u" ", 2, u"dropped"}};
  AppendConstantBlock(out, constants);
  EXPECT_EQ(out, Lines({"", "{ConstantBlock}", "Name\tValue\tComment", "Wing\t12.500000\tdeg", "Lead\t1.000000\t"}));
}

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
  ASSERT_EQ(back.columns.size(), 4u);
  for (size_t c = 0; c < 4; ++c) {
    EXPECT_EQ(back.columns[c].name, data.columns[c].name);
    EXPECT_EQ(back.columns[c].unit, data.columns[c].unit);
    EXPECT_EQ(Times(back.columns[c]), Times(data.columns[c]));
    EXPECT_EQ(Values(back.columns[c]), Values(data.columns[c]));
  }
  EXPECT_EQ(back.columns[0].block, back.columns[1].block);
  EXPECT_NE(back.columns[1].block, back.columns[2].block);
  EXPECT_EQ(WriteTextDataSet(back), bytes);  // and again, byte for byte
}

std::string Rewritten(const std::string& bytes, auto&& rewrite) {
  TextIndex index;
  EXPECT_TRUE(OpenIndex(bytes, {}, &index).ok());
  std::string out;
  TextStatus st = rewrite(bytes, index, &out);
  EXPECT_TRUE(st.ok()) << st.ToString();
  return out;
}

const std::string kFile = Lines({"KivaraASCIIDataSet", "", "{OutingInformation}", "DriverName\tJo", "Custom\tkept",
                                 "TrackName\tOld Track", "Another\tone", "", "{ChannelBlock}", "Time\tA", "0\t1",
                                 "1\t2", "", "{EventBlock}", "Time\tName\tCategory\tSource\tMessage",
                                 "1\tEnd of lap\tBox Created\tBeacon\tLap 1", "3\tNote\tKivara Added\tme\tmine", "",
                                 "{ChannelBlock}", "Time\tB", "5\t6"});
const std::string kChannels1 = Lines({"{ChannelBlock}", "Time\tA", "0\t1", "1\t2", ""});
const std::string kChannels2 = Lines({"{ChannelBlock}", "Time\tB", "5\t6"});

TEST(TextRewriteInformation, UnknownKeysStayInPlaceAndNewLinesFollow) {
  std::vector<InformationProperty> props = {{u"Track name", Variant::Text(u"Halvane Park")},
                                            {u"Session number", Variant::I32(4)},
                                            {u"Fast lap number", Variant::I32(9)},      // not written
                                            {u"Driver name", Variant::I32(5)}};         // wrong kind: not written
  std::string out = Rewritten(kFile, [&](auto& b, auto& i, auto* o) { return RewriteInformation(b, i, props, o); });
  std::string expected = Lines({"KivaraVersionedASCIIDataSet", "Version\t2", "", "{OutingInformation}",
                                "DriverName\tJo", "Custom\tkept", "Another\tone", "TrackName\tHalvane Park",
                                "SessionNumber\t4", ""}) +
                         kFile.substr(kFile.find("{ChannelBlock}"));
  EXPECT_EQ(out, expected);
}

TEST(TextRewriteInformation, ALineBreakAndDollarMarksSurvive) {
  std::vector<InformationProperty> props = {{u"Long comment", Variant::Text(u"wet\r\nthen dry, $% and $^")}};
  std::string once = Rewritten(kFile, [&](auto& b, auto& i, auto* o) { return RewriteInformation(b, i, props, o); });
  std::vector<InformationProperty> other = {{u"Engine test", Variant::Bool(true)}};
  std::string twice = Rewritten(once, [&](auto& b, auto& i, auto* o) { return RewriteInformation(b, i, other, o); });
  auto data = MustRead(twice);
  ASSERT_EQ(data.information.size(), 6u);
  EXPECT_EQ(data.information[4], (TextInfoEntry{u"LongComment", u"wet\r\nthen dry, $% and $^"}));
  EXPECT_EQ(data.information[5], (TextInfoEntry{u"EngineTest", u"True"}));
  EXPECT_EQ(data.columns.size(), 2u);
}

TEST(TextRewriteEvents, NewEventsMergeInFrontAtEqualTimes) {
  std::vector<TextEvent> added = {{30'000'000, u"Flag", kEventFromAnalysis, u"me", u"yellow"},
                                  {20'000'000, u"Flag", 1, u"me", u"green"}};
  // base 1 s: the new events stand at 2 s and 1 s in the file.
  std::string out =
      Rewritten(kFile, [&](auto& b, auto& i, auto* o) { return RewriteEvents(b, i, added, 10'000'000, {}, o); });
  std::string expected =
      Lines({"KivaraVersionedASCIIDataSet", "Version\t2", "", "{OutingInformation}", "DriverName\tJo", "Custom\tkept",
             "TrackName\tOld Track", "Another\tone", "", "{EventBlock}", "Time\tName\tCategory\tSource\tMessage",
             "1.0000000\tFlag\tKivara Added\tme\tgreen", "1.0000000\tEnd of lap\tBox Created\tBeacon\tLap 1",
             "2.0000000\tFlag\tKivara Added\tme\tyellow", "3.0000000\tNote\tKivara Added\tme\tmine", ""}) +
      kChannels1 + kChannels2;
  EXPECT_EQ(out, expected);  // the channel blocks are intact behind the event block
}

TEST(TextRewriteEvents, OnlyAnalysisEventsCanBeRemoved) {
  std::vector<TextEvent> removed = {{10'000'000, u"End of lap", 1, u"", u""}, {30'000'000, u"Note", 1, u"", u""}};
  std::string out = Rewritten(kFile, [&](auto& b, auto& i, auto* o) { return RewriteEvents(b, i, {}, 0, removed, o); });
  auto data = MustRead(out);
  ASSERT_EQ(data.events.size(), 1u);
  EXPECT_EQ(data.events[0].name, u"End of lap");
  EXPECT_EQ(data.columns.size(), 2u);
}

TEST(TextRewriteEvents, EveryOldEventBlockMakesWayForTheNewOne) {
  std::string two = kFile + Lines({"", "", "{EventBlock}", "Time\tName\tCategory\tSource\tMessage", "9\tLast\tX"});
  std::vector<TextEvent> added = {{0, u"New", 1, u"", u""}};
  std::string out = Rewritten(two, [&](auto& b, auto& i, auto* o) { return RewriteEvents(b, i, added, 0, {}, o); });
  auto data = MustRead(out);
  ASSERT_EQ(data.events.size(), 2u);  // the last block's event and the new one
  EXPECT_EQ(data.events[0].name, u"New");
  EXPECT_EQ(data.events[1].name, u"Last");
  EXPECT_TRUE(HasEvent(data.events, {90'000'000, u"Last", 0, u"", u"ignored"}));
  EXPECT_FALSE(HasEvent(data.events, {90'000'000, u"Last", 0, u"other source", u""}));
}

TEST(TextRewriteConstants, AddModifyRemove) {
  std::string file = kFile;
  auto edit = [&](ConstantEdit kind, TextConstant c) {
    file = Rewritten(file, [&](auto& b, auto& i, auto* o) { return RewriteConstant(b, i, kind, c, o); });
  };
  edit(ConstantEdit::kAdd, {u"Wing", 12.5, u"deg"});
  edit(ConstantEdit::kAdd, {u"Fuel", 60, u""});
  edit(ConstantEdit::kModify, {u"Wing", 13, u"changed"});
  auto data = MustRead(file);
  ASSERT_EQ(data.constants.size(), 2u);
  EXPECT_EQ(data.constants[0], (TextConstant{u"Fuel", 60, u""}));
  EXPECT_EQ(data.constants[1], (TextConstant{u"Wing", 13, u"changed"}));
  edit(ConstantEdit::kRemove, {u"Fuel", 0, u""});
  data = MustRead(file);
  ASSERT_EQ(data.constants.size(), 1u);
  EXPECT_EQ(data.constants[0].name, u"Wing");
  EXPECT_EQ(data.events.size(), 2u);
  EXPECT_EQ(data.columns.size(), 2u);
  EXPECT_EQ(data.information.size(), 4u);
  EXPECT_NE(file.find("\r\n\r\n{ConstantBlock}\r\nName\tValue\tComment\r\nWing\t13.000000\tchanged\r\n\r\n{ChannelBlock}"),
            std::string::npos);
}

TEST(TextRewrite, AFileWithoutDataKeepsItsShape) {
  std::string empty = "KivaraASCIIDataSet\r\n\r\n{OutingInformation}\r\n";
  std::vector<InformationProperty> props = {{u"Driver name", Variant::Text(u"Jo")}};
  std::string out = Rewritten(empty, [&](auto& b, auto& i, auto* o) { return RewriteInformation(b, i, props, o); });
  EXPECT_EQ(out, "KivaraVersionedASCIIDataSet\r\nVersion\t2\r\n\r\n{OutingInformation}\r\nDriverName\tJo\r\n\r\n");
  EXPECT_EQ(MustRead(out).information.size(), 1u);
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
  double top = 0, low = 1e9;
  for (double v : speed.values()) {
    top = std::max(top, v);
    low = std::min(low, v);
  }
  EXPECT_GT(top, 200);
  EXPECT_LT(low, 120);
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
