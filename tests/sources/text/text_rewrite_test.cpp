#include "sources/text/text_rewrite.h"

#include <gtest/gtest.h>

#include "text_test_util.h"

namespace velmar {
namespace {

using testing::Lines;
using testing::MustRead;

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

}  // namespace
}  // namespace velmar
