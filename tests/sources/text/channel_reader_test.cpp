#include "sources/text/channel_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>
#include <string>

#include "support/fixtures.h"
#include "text_test_util.h"
#include "velmar/text.h"

namespace velmar {
namespace {

using testing::Lines;
using testing::Problems;
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

bool HasNamed(const Problems& problems, const std::string& name, uint64_t line) {
  for (const auto& p : problems.items) {
    if (TextCodeName(p.code) == name && p.line == line) return true;
  }
  return false;
}

// Each case: the block's lines, the columns read and the problems reported.
class ChannelBlockCase : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(ChannelBlockCase, ReadsItsColumnsAndReportsItsProblems) {
  const auto c = testing::ReadFixture(GetParam());
  std::string body;
  for (const auto& line : c["lines"]) body += line.get<std::string>() + "\r\n";
  Problems problems;
  auto cols = ReadBlocks(body, &problems);
  ASSERT_EQ(cols.size(), c["columns"].size());
  for (size_t i = 0; i < cols.size(); ++i) {
    const auto& want = c["columns"][i];
    EXPECT_EQ(WideToUtf8(cols[i].name), want["name"].get<std::string>()) << i;
    // Header, unit and block are checked where the case gives them.
    EXPECT_EQ(WideToUtf8(cols[i].header), want.value("header", WideToUtf8(cols[i].header))) << i;
    EXPECT_EQ(WideToUtf8(cols[i].unit), want.value("unit", WideToUtf8(cols[i].unit))) << i;
    EXPECT_EQ(cols[i].block, want.value("block", cols[i].block)) << i;
    EXPECT_EQ(Times(cols[i]), want["times"].get<V>()) << i;
    EXPECT_EQ(Values(cols[i]), want["values"].get<V>()) << i;
  }
  for (const auto& p : c.value("problems", nlohmann::json::array())) {
    EXPECT_TRUE(HasNamed(problems, p[0], p[1])) << p;
  }
  for (const auto& p : c.value("absent", nlohmann::json::array())) {
    EXPECT_FALSE(HasNamed(problems, p[0], p[1])) << p;
  }
  EXPECT_TRUE(!c.value("no_problems", false) || problems.items.empty());
}

INSTANTIATE_TEST_SUITE_P(Cases, ChannelBlockCase, testing::FixtureCases("sources/channel_blocks"),
                         testing::FixtureName);

TEST(ChannelReader, BareLfAndCrLfReadAlike) {
  auto crlf = ReadBlocks(Lines({"{ChannelBlock}", "Time\tA\tB", "1\t2\t3", "2\t\t4"}));
  auto lf = ReadBlocks(Lines({"{ChannelBlock}", "Time\tA\tB", "1\t2\t3", "2\t\t4"}, "\n"));
  ASSERT_EQ(crlf.size(), lf.size());
  for (size_t c = 0; c < crlf.size(); ++c) {
    EXPECT_EQ(crlf[c].header, lf[c].header);
    EXPECT_EQ(Times(crlf[c]), Times(lf[c]));
    EXPECT_EQ(Values(crlf[c]), Values(lf[c]));
  }
}

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
