#include "sources/text/text_reader.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>
#include <string>

#include "sources/text/channel_reader.h"
#include "sources/text/text_scan.h"
#include "support/fixtures.h"
#include "text_test_util.h"
#include "velmar/text.h"

namespace velmar {
namespace {

using testing::Lines;
using testing::MustRead;
using testing::Problems;

using nlohmann::json;

// Each case: a file's lines (or bytes), what is read of its information,
// events (and their sets by name: [time, source]), constants, columns (and
// those collected: [name, first value]) and the problems reported, or the
// code of a file that cannot be read.
class TextReadCase : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(TextReadCase, ReadsWhatTheFileHolds) {
  const auto c = testing::ReadFixture(GetParam());
  std::string bytes = c.value("bytes", "");
  for (const auto& line : c.value("lines", nlohmann::json::array())) bytes += line.get<std::string>() + "\r\n";
  Problems problems;
  TextReadOptions options;
  options.problems = problems.sink();
  TextDataSet data;
  const TextStatus st = ReadTextDataSet(bytes, options, &data);
  json got = {{"code", TextCodeName(st.code())}, {"line", st.line()}, {"columns", data.columns.size()},
              {"event_sets", json::object()}};
  EXPECT_EQ(got["code"], c.value("code", "ok"));
  for (const auto& i : data.information) got["information"].push_back({WideToUtf8(i.key), WideToUtf8(i.value)});
  for (const auto& k : data.constants) got["constants"].push_back({WideToUtf8(k.name), k.value, WideToUtf8(k.comment)});
  for (const TextEvent& e : data.events) {
    got["events"].push_back({{"time", e.time}, {"name", WideToUtf8(e.name)}, {"category", e.category},
                             {"source", WideToUtf8(e.source)}, {"message", WideToUtf8(e.message)}});
  }
  for (const auto& [name, set] : GroupEvents(data.events)) {
    for (const auto& [time, e] : set) got["event_sets"][WideToUtf8(name)].push_back({time, WideToUtf8(e.source)});
  }
  for (const TextColumn& k : CollectChannels(std::move(data.columns))) {
    got["collected"].push_back({WideToUtf8(k.name), k.count ? json(k.values()[0]) : json()});
  }
  testing::ExpectGiven(got, c);
  for (const auto& p : c.value("problems", nlohmann::json::array())) EXPECT_TRUE(problems.Has(p[0], p[1])) << p;
  EXPECT_TRUE(!c.value("no_problems", false) || problems.items.empty());
}

INSTANTIATE_TEST_SUITE_P(Cases, TextReadCase, testing::FixtureCases("sources/text_reads"), testing::FixtureName);

TEST(TextReaderInformation, CodePageTextsBecomeWide) {
  auto data = MustRead("KivaraASCIIDataSet\r\n{OutingInformation}\r\nDriverName\tJos\xe9 \x80\r\n");
  EXPECT_EQ(data.information[0].value, u"Jos\u00e9 \u20ac");
}

// A source that fails or comes up short at a given offset.
struct BrokenSource : public ByteSource {
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

TEST(TextScanMagic, EachFixtureCase) {
  for (const auto table = testing::Fixture("sources/magics.json"); const auto& c : table["cases"]) {
    bool versioned = false;
    EXPECT_EQ(TextCodeName(CheckMagic(c[0].get<std::string>(), &versioned).code()), c[1].get<std::string>()) << c;
    if (!c[2].is_null()) {
      EXPECT_EQ(versioned, c[2].get<bool>()) << c;
    }
  }
}

// Each case: a file's lines (and an unended "tail"), what its scan finds
// and the problems reported. A block is the lines of its tag and first row,
// its rows, and the texts of the lines at its tag and where it ends. Bare
// line feeds must scan alike.
class ScanCase : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(ScanCase, FindsTheBlocksTheCaseSays) {
  using nlohmann::json;
  const auto c = testing::ReadFixture(GetParam());
  for (const std::string eol : {"\r\n", "\n"}) {
    std::string bytes;
    for (const auto& line : c["lines"]) bytes += line.get<std::string>() + eol;
    bytes += c.value("tail", "");
    const auto textAt = [&](size_t at) { return bytes.substr(at, bytes.find_first_of("\r\n", at) - at); };
    const auto block = [&](const TextBlock* b) {
      return b ? json{{"line", b->line}, {"first_row_line", b->firstRowLine}, {"rows", b->rowCount},
                      {"tag", textAt(b->tag)}, {"ends_at", textAt(b->end)}}
               : json();
    };
    Problems problems;
    const TextIndex index = Scan(bytes, problems.sink());
    json got = {{"information", block(index.hasInformation ? &index.information : nullptr)},
                {"events", block(index.events())}, {"constants", block(index.constants())},
                {"first_data", index.hasData ? json(textAt(index.firstDataPos)) : json()}, {"channels", json::array()}};
    for (const TextBlock& b : index.channels) got["channels"].push_back(block(&b));
    EXPECT_EQ(got, c["scan"]) << "with " << eol.size() << "-byte line ends";
    for (const auto& p : c.value("problems", json::array())) EXPECT_TRUE(problems.Has(p[0], p[1])) << p;
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, ScanCase, testing::FixtureCases("sources/text/scans"), testing::FixtureName);

TEST(TextScan, MarksEveryRowStepInChannelBlocks) {
  std::string bytes = "KivaraASCIIDataSet\r\n{ChannelBlock}\r\nTime\tA\r\n";
  for (int i = 0; i < 10000; ++i) bytes += std::to_string(i) + "\t1\r\n";
  TextIndex index = Scan(bytes);
  ASSERT_EQ(index.channels.size(), 1u);
  const TextBlock& b = index.channels[0];
  EXPECT_EQ(b.rowCount, 10001u);
  ASSERT_EQ(b.marks.size(), 3u);  // rows 0, 4096, 8192
  EXPECT_EQ(b.marks[0], b.rows);
  EXPECT_EQ(bytes.substr(b.marks[1], 7), "4095\t1\r");
}

using testing::Times;
using testing::Values;
using V = std::vector<double>;

std::vector<TextColumn> ReadBlocks(const std::string& body, Problems* problems = nullptr, ChannelReadOptions options = {}) {
  std::string bytes = "KivaraASCIIDataSet\r\n" + body;
  TextIndex index = Scan(bytes);
  std::vector<TextColumn> columns;
  TextStatus st = ReadChannels(bytes, index, options, problems ? problems->sink() : ProblemSink{}, &columns);
  EXPECT_TRUE(st.ok()) << st.ToString();
  return columns;
}

// Each case: the block's lines, the columns read and the problems reported.
class ChannelBlockCase : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(ChannelBlockCase, ReadsItsColumnsAndReportsItsProblems) {
  const auto c = testing::ReadFixture(GetParam());
  for (const std::string eol : {"\r\n", "\n"}) {  // bare line feeds read alike
    SCOPED_TRACE(eol.size());
    std::string body;
    for (const auto& line : c["lines"]) body += line.get<std::string>() + eol;
    Problems problems;
    json got = json::array();
    for (const TextColumn& k : ReadBlocks(body, &problems)) {
      got.push_back({{"name", WideToUtf8(k.name)}, {"header", WideToUtf8(k.header)}, {"unit", WideToUtf8(k.unit)},
                     {"block", k.block}, {"times", Times(k)}, {"values", Values(k)}});
    }
    testing::ExpectWithin(got, c["columns"], "columns");  // header, unit and block where the case gives them
    for (const auto& p : c.value("problems", nlohmann::json::array())) EXPECT_TRUE(problems.Has(p[0], p[1])) << p;
    for (const auto& p : c.value("absent", nlohmann::json::array())) EXPECT_FALSE(problems.Has(p[0], p[1])) << p;
    EXPECT_TRUE(!c.value("no_problems", false) || problems.items.empty());
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, ChannelBlockCase, testing::FixtureCases("sources/channel_blocks"),
                         testing::FixtureName);

TEST(ChannelReader, ALongCellIsCutAndReported) {
  Problems problems;
  std::string cell = "1" + std::string(4093, '0') + "e-4093";  // reads as 1 whole, as inf when cut
  auto cols = ReadBlocks("{ChannelBlock}\r\nTime\tA\r\n1\t" + cell + "\r\n", &problems);
  ASSERT_EQ(cols[0].count, 1u);
  EXPECT_TRUE(std::isinf(cols[0].values()[0]));
  EXPECT_TRUE(problems.Has(TextCode::kTokenTooLong, 4));
}

TEST(ChannelReader, FloodsOfProblemsAreCapped) {
  Problems problems;
  std::string body = "{ChannelBlock}\r\nTime\tA\r\n";
  for (int i = 0; i < 500; ++i) body += std::to_string(i) + "\tbad\r\n";
  auto cols = ReadBlocks(body, &problems);
  EXPECT_EQ(cols[0].count, 500u);
  EXPECT_EQ(problems.Count(TextCode::kNonNumeric), 100u);
  EXPECT_EQ(problems.Count(TextCode::kTooManyProblems), 1u);
}

TEST(ChannelReader, ManyColumnsOverFewCellsAreReadSparsely) {
  std::string header = "Time";
  for (int c = 0; c < 3000; ++c) header += "\tC" + std::to_string(c);
  std::string body = "{ChannelBlock}\r\n" + header + "\r\n";
  for (int r = 0; r < 3000; ++r) body += std::to_string(r) + "\t" + std::to_string(r * 2) + "\r\n";
  Problems problems;
  auto cols = ReadBlocks(body, &problems);
  ASSERT_EQ(cols.size(), 3000u);
  EXPECT_EQ(cols[0].count, 3000u);
  EXPECT_EQ(cols[0].values()[2999], 5998);
  EXPECT_EQ(cols[1].count, 0u);
  EXPECT_GT(problems.Count(TextCode::kShortRow), 0u);
}

// A block big enough to be split, with every kind of damage spread over it.
std::string DamagedBigBlock(int rows) {
  std::mt19937 rng(11);
  std::string body = "{ChannelBlock}\r\nTime\tA\tB\tC\r\n";
  double t = 0;
  for (int r = 0; r < rows; ++r) {
    t += (rng() % 50 == 0) ? -0.015 : 0.01;  // now and then a time that falls back
    body += std::to_string(t);
    for (int c = 0; c < 3; ++c) {
      int kind = static_cast<int>(rng() % 100);
      body += '\t';
      if (kind == 0) continue;             // empty
      if (kind == 1) { body += "x"; continue; }
      if (kind == 2 && c == 2) break;      // short row
      body += std::to_string(r * 3 + c);
    }
    body += "\r\n";
  }
  return body;
}

TEST(ChannelReader, TwoThreadsReadExactlyAsOne) {
  std::string body = DamagedBigBlock(30000);
  Problems one, two;
  auto a = ReadBlocks(body, &one, {.maxThreads = 1, .parallelBytes = 0});
  auto b = ReadBlocks(body, &two, {.maxThreads = 2, .parallelBytes = 0});
  ASSERT_EQ(a.size(), b.size());
  for (size_t c = 0; c < a.size(); ++c) {
    EXPECT_GT(a[c].count, 20000u);
    EXPECT_EQ(Times(a[c]), Times(b[c]));
    EXPECT_EQ(Values(a[c]), Values(b[c]));
  }
  ASSERT_EQ(one.items.size(), two.items.size());
  for (size_t i = 0; i < one.items.size(); ++i) {
    EXPECT_EQ(one.items[i].line, two.items[i].line);
    EXPECT_EQ(one.items[i].code, two.items[i].code);
  }
}

TEST(ChannelReader, ABadTimeInTheSecondHalfDropsTheBlock) {
  std::string body = "{ChannelBlock}\r\nTime\tA\r\n";
  for (int r = 0; r < 20000; ++r) body += (r == 15000 ? std::string("1{?}") : std::to_string(r)) + "\t1\r\n";
  Problems problems;
  auto cols = ReadBlocks(body, &problems, {.maxThreads = 2, .parallelBytes = 0});
  EXPECT_TRUE(cols.empty());
  EXPECT_TRUE(problems.Has(TextCode::kBadTime, 3 + 1 + 15000));
}

}  // namespace
}  // namespace velmar
