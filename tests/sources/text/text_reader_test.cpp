#include "sources/text/text_reader.h"

#include <gtest/gtest.h>

#include "text_test_util.h"

namespace velmar {
namespace {

using testing::Lines;
using testing::MustRead;
using testing::Problems;

TextCode ReadCode(std::string_view bytes) {
  TextDataSet data;
  return ReadTextDataSet(bytes, {}, &data).code();
}

TEST(TextReaderInformation, PairsInFileOrderUntilTheFirstBadLine) {
  Problems problems;
  auto data = MustRead(Lines({"KivaraASCIIDataSet", "", "{OutingInformation}", "DriverName\tJo Castell",
                              "Custom\tkept", "LongComment\tline one$%$^line two, $$% off", "TrackName Halvane Park",
                              "CarName", "ShortComment\tnot read"}),
                       &problems);
  ASSERT_EQ(data.information.size(), 4u);
  EXPECT_EQ(data.information[0], (TextInfoEntry{u"DriverName", u"Jo Castell"}));
  EXPECT_EQ(data.information[1], (TextInfoEntry{u"Custom", u"kept"}));
  EXPECT_EQ(data.information[2].value, u"line one\r\nline two, $% off");
  EXPECT_EQ(data.information[3], (TextInfoEntry{u"TrackName", u"Halvane Park"}));  // a key takes no blanks
  EXPECT_TRUE(problems.Has(TextCode::kMissingValue, 8));
}

TEST(TextReaderInformation, ABlankLineOrTagEndsItQuietly) {
  Problems problems;
  auto data = MustRead(Lines({"KivaraASCIIDataSet", "{OutingInformation}", "A\t1", "{ChannelBlock}", "Time\tX"}),
                       &problems);
  EXPECT_EQ(data.information.size(), 1u);
  EXPECT_TRUE(problems.items.empty());
  data = MustRead(Lines({"KivaraASCIIDataSet", "{OutingInformation}", "A\t{x}", "B\t2"}), &problems);
  EXPECT_TRUE(data.information.empty());
  EXPECT_TRUE(problems.Has(TextCode::kBraceInToken, 3));
}

TEST(TextReaderInformation, CodePageTextsBecomeWide) {
  auto data = MustRead("KivaraASCIIDataSet\r\n{OutingInformation}\r\nDriverName\tJos\xe9 \x80\r\n");
  EXPECT_EQ(data.information[0].value, u"Jos\u00e9 \u20ac");
}

const char* kEventHeader = "Time\tName\tCategory\tSource\tMessage";

TEST(TextReaderEvents, RowsWithAndWithoutOptionalFields) {
  Problems problems;
  auto data = MustRead(Lines({"KivaraASCIIDataSet", "{EventBlock}", kEventHeader,
                              "1.5\tEnd of lap\tBox Created\tBeacon\tLap 1",
                              "2\tPit\tKivara Added", "3\tNo category", "4\t \bSpaced\t\bOther text\t\tmessage only",
                              "0.00000005\tTick\tX\tS\tM", "5\tName\tCat\t{src}\tmsg", "bad\tName\tCat"}),
                       &problems);
  ASSERT_EQ(data.events.size(), 6u);
  EXPECT_EQ(data.events[0], (TextEvent{15'000'000, u"End of lap", kEventFromCar, u"Beacon", u"Lap 1"}));
  EXPECT_EQ(data.events[1], (TextEvent{20'000'000, u"Pit", kEventFromAnalysis, u"", u""}));
  EXPECT_EQ(data.events[2], (TextEvent{40'000'000, u"Spaced", kEventFromAnalysis, u"", u"message only"}));
  EXPECT_EQ(data.events[3].time, 1);  // half a tick rounds away from zero
  EXPECT_EQ(data.events[4].source, u"");  // a failed optional field reads as empty
  EXPECT_EQ(data.events[5].time, 0) << "a time with no number in it is 0, as atof reads it";
  EXPECT_TRUE(problems.Has(TextCode::kEventDropped, 6));
  EXPECT_TRUE(problems.Has(TextCode::kBraceInToken, 9));
  EXPECT_TRUE(problems.Has(TextCode::kNonNumeric, 10));
}

TEST(TextReaderEvents, TheLastBlockCountsAndGroupsKeepTheFirst) {
  auto data = MustRead(Lines({"KivaraASCIIDataSet", "{EventBlock}", kEventHeader, "1\tOld\tX", "",
                              "{EventBlock}", kEventHeader, "2\tLap\tX\tfirst", "2\tLap\tX\tsecond", "1\tLap\tX"}));
  ASSERT_EQ(data.events.size(), 3u);  // every row of the last block
  TextEventSets sets = GroupEvents(data.events);
  ASSERT_EQ(sets.size(), 1u);
  const auto& lap = sets.at(u"Lap");
  ASSERT_EQ(lap.size(), 2u);
  EXPECT_EQ(lap.at(20'000'000).source, u"first");
  EXPECT_EQ(lap.begin()->first, 10'000'000);  // in rising time order
}

TEST(TextReaderConstants, FirstOfANameStandsAndTheLastBlockCounts) {
  Problems problems;
  auto data = MustRead(Lines({"KivaraASCIIDataSet", "{ConstantBlock}", "Name\tValue\tComment", "Old\t1", "",
                              "{ConstantBlock}", "Name\tValue\tComment", "Wing Angle\t12.5\t  deg", "Wing Angle\t13\tlater",
                              "Fuel\t60", "NoValue", "Text\tabc\tx", "Trail\t2kg", "Empty\t\tc"}),
                       &problems);
  ASSERT_EQ(data.constants.size(), 4u);
  EXPECT_EQ(data.constants[0], (TextConstant{u"Wing Angle", 12.5, u"  deg"})) << "a comment keeps its leading blanks";
  EXPECT_EQ(data.constants[1], (TextConstant{u"Fuel", 60, u""}));
  EXPECT_EQ(data.constants[2], (TextConstant{u"Text", 0, u"x"})) << "no number in the value: 0, as atof reads it";
  EXPECT_EQ(data.constants[3], (TextConstant{u"Trail", 2, u""}));
  EXPECT_TRUE(problems.Has(TextCode::kConstantDropped, 11));
  EXPECT_TRUE(problems.Has(TextCode::kNonNumeric, 12));
  EXPECT_TRUE(problems.Has(TextCode::kTrailingCharacters, 13));
  EXPECT_TRUE(problems.Has(TextCode::kConstantDropped, 14));
}

// Times and values take no blanks, so a blank ends them and the next field
// starts behind it.
TEST(TextReaderConstants, ABlankEndsEventTimesAndConstantValues) {
  auto data = MustRead(Lines({"KivaraASCIIDataSet", "{EventBlock}", kEventHeader, "1.5 Lap\tBox Created\tcar",
                              "", "{ConstantBlock}", "Name\tValue\tComment", "Wing Gain\t2.5 trimmed"}));
  ASSERT_EQ(data.events.size(), 1u);
  EXPECT_EQ(data.events[0], (TextEvent{15'000'000, u"Lap", kEventFromCar, u"car", u""}));
  ASSERT_EQ(data.constants.size(), 1u);
  EXPECT_EQ(data.constants[0], (TextConstant{u"Wing Gain", 2.5, u"trimmed"}));
}

TEST(TextReader, BadFilesGiveClearCodes) {
  EXPECT_EQ(ReadCode(""), TextCode::kTruncated);
  EXPECT_EQ(ReadCode("Kivara"), TextCode::kTruncated);
  EXPECT_EQ(ReadCode("Time\tA\r\n1\t2\r\n"), TextCode::kNoMagic);
  EXPECT_EQ(ReadCode("KivaraVersionedASCIIDataSet\r\nVersion\t1\r\n"), TextCode::kBadVersion);
  EXPECT_EQ(ReadCode("KivaraASCIIDataSet\r\n"), TextCode::kOk);
  TextStatus st = [] {
    TextDataSet d;
    return ReadTextDataSet("PK\x03\x04", {}, &d);
  }();
  EXPECT_EQ(st.result(), E_FAIL);
  EXPECT_EQ(st.line(), 1u);
}

TEST(TextReader, OnlyMagicAndInformationIsEmpty) {
  auto data = MustRead("KivaraASCIIDataSet\r\n\r\n{OutingInformation}\r\n");
  EXPECT_FALSE(data.versioned);
  EXPECT_TRUE(data.information.empty());
  EXPECT_TRUE(data.columns.empty());
  EXPECT_TRUE(data.events.empty());
}

TEST(TextReader, CollectKeepsTheFirstNamedColumnWithSamples) {
  auto data = MustRead(Lines({"KivaraASCIIDataSet", "{ChannelBlock}", "Time\tA\tEmpty\t\tB", "1\t1\t\t5\t2", "",
                              "{ChannelBlock}", "Time\tA[m]\tC", "1\t9\t3"}));
  ASSERT_EQ(data.columns.size(), 6u);
  auto kept = CollectChannels(std::move(data.columns));
  ASSERT_EQ(kept.size(), 3u);
  EXPECT_EQ(kept[0].name, u"A");
  EXPECT_EQ(kept[0].values()[0], 1);
  EXPECT_EQ(kept[1].name, u"B");
  EXPECT_EQ(kept[2].name, u"C");
}

// A source that fails or comes up short at a given offset.
class BrokenSource : public ByteSource {
 public:
  BrokenSource(std::string bytes, uint64_t failAt, bool ioError)
      : bytes_(std::move(bytes)), failAt_(failAt), ioError_(ioError) {}
  uint64_t Size() const override { return bytes_.size(); }
  TextStatus ReadAt(uint64_t offset, char* out, size_t size, size_t* got) override {
    if (offset >= failAt_) {
      *got = 0;
      if (ioError_) return {TextCode::kReadFailed, "device error"};
      return {};
    }
    *got = std::min<uint64_t>(size, failAt_ - offset);
    std::copy_n(bytes_.data() + offset, *got, out);
    return {};
  }

 private:
  std::string bytes_;
  uint64_t failAt_;
  bool ioError_;
};

TEST(TextReader, ASourceThatEndsEarlyOrFailsIsTold) {
  std::string bytes = Lines({"KivaraASCIIDataSet", "{ChannelBlock}", "Time\tA", "1\t2"});
  TextDataSet data;
  BrokenSource shrunk(bytes, 10, false);
  EXPECT_EQ(ReadTextDataSet(shrunk, {}, &data).code(), TextCode::kFileChanged);
  BrokenSource failing(bytes, 10, true);
  EXPECT_EQ(ReadTextDataSet(failing, {}, &data).code(), TextCode::kReadFailed);
  BrokenSource whole(bytes, bytes.size(), false);
  ASSERT_TRUE(ReadTextDataSet(whole, {}, &data).ok());
  EXPECT_EQ(data.columns.size(), 1u);
}

}  // namespace
}  // namespace velmar
