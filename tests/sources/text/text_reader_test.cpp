#include "sources/text/text_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/fixtures.h"
#include "text_test_util.h"
#include "velmar/text.h"

namespace velmar {
namespace {

using testing::Lines;
using testing::MustRead;
using testing::Problems;

// Each case: a file's lines (or bytes), what is read of its information,
// events and constants and the problems reported, or the code of a file
// that cannot be read.
class TextReadCase : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(TextReadCase, ReadsWhatTheFileHolds) {
  const auto c = testing::ReadFixture(GetParam());
  std::string bytes = c.value("bytes", "");
  for (const auto& line : c.value("lines", nlohmann::json::array())) bytes += line.get<std::string>() + "\r\n";
  if (c.contains("code")) {
    TextDataSet data;
    const TextStatus st = ReadTextDataSet(bytes, {}, &data);
    EXPECT_EQ(TextCodeName(st.code()), c["code"].get<std::string>());
    if (c.contains("line")) {
      EXPECT_EQ(st.line(), c["line"].get<uint64_t>());
    }
    return;
  }
  Problems problems;
  const auto data = MustRead(bytes, &problems);
  if (c.contains("information")) {
    ASSERT_EQ(data.information.size(), c["information"].size());
    for (size_t i = 0; i < data.information.size(); ++i) {
      EXPECT_EQ(WideToUtf8(data.information[i].key), c["information"][i][0].get<std::string>()) << i;
      EXPECT_EQ(WideToUtf8(data.information[i].value), c["information"][i][1].get<std::string>()) << i;
    }
  }
  if (c.contains("events")) {
    ASSERT_EQ(data.events.size(), c["events"].size());
    for (size_t i = 0; i < data.events.size(); ++i) {
      const TextEvent& e = data.events[i];
      const auto& want = c["events"][i];
      EXPECT_EQ(e.time, want.value("time", e.time)) << i;
      EXPECT_EQ(WideToUtf8(e.name), want.value("name", WideToUtf8(e.name))) << i;
      EXPECT_EQ(e.category, want.value("category", e.category)) << i;
      EXPECT_EQ(WideToUtf8(e.source), want.value("source", WideToUtf8(e.source))) << i;
      EXPECT_EQ(WideToUtf8(e.message), want.value("message", WideToUtf8(e.message))) << i;
    }
  }
  if (c.contains("constants")) {
    ASSERT_EQ(data.constants.size(), c["constants"].size());
    for (size_t i = 0; i < data.constants.size(); ++i) {
      const auto& want = c["constants"][i];
      EXPECT_EQ(data.constants[i], (TextConstant{Utf8ToWide(want[0].get<std::string>()), want[1].get<double>(),
                                                 Utf8ToWide(want[2].get<std::string>())}))
          << i;
    }
  }
  if (c.contains("columns")) {
    EXPECT_EQ(data.columns.size(), c["columns"].get<size_t>());
  }
  for (const auto& p : c.value("problems", nlohmann::json::array())) {
    EXPECT_TRUE(std::any_of(problems.items.begin(), problems.items.end(), [&](const TextProblem& got) {
      return TextCodeName(got.code) == p[0].get<std::string>() && got.line == p[1].get<uint64_t>();
    })) << p;
  }
  EXPECT_TRUE(!c.value("no_problems", false) || problems.items.empty());
}

INSTANTIATE_TEST_SUITE_P(Cases, TextReadCase, testing::FixtureCases("sources/text_reads"), testing::FixtureName);

TEST(TextReaderInformation, CodePageTextsBecomeWide) {
  auto data = MustRead("KivaraASCIIDataSet\r\n{OutingInformation}\r\nDriverName\tJos\xe9 \x80\r\n");
  EXPECT_EQ(data.information[0].value, u"Jos\u00e9 \u20ac");
}

const char* kEventHeader = "Time\tName\tCategory\tSource\tMessage";

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
