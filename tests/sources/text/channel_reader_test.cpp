#include "sources/text/channel_reader.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "text_test_util.h"

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

TEST(ChannelReader, ColumnsWithNamesUnitsAndSamples) {
  auto cols = ReadBlocks(Lines({"{ChannelBlock}", "Time\tSpeed[km/h]\tGear", "0.0\t100.5\t3", "0.01\t101\t4"}));
  ASSERT_EQ(cols.size(), 2u);
  EXPECT_EQ(cols[0].header, u"Speed[km/h]");
  EXPECT_EQ(cols[0].name, u"Speed");
  EXPECT_EQ(cols[0].unit, u"km/h");
  EXPECT_EQ(Times(cols[0]), (V{0.0, 0.01}));
  EXPECT_EQ(Values(cols[0]), (V{100.5, 101}));
  EXPECT_EQ(cols[1].name, u"Gear");
  EXPECT_EQ(cols[1].unit, u"");
  EXPECT_EQ(Values(cols[1]), (V{3, 4}));
}

TEST(ChannelReader, EveryBlockCountsInFileOrder) {
  auto cols = ReadBlocks(Lines({"{ChannelBlock}", "Time\tA", "0\t1", "", "{EventBlock}", "h", "", "{ChannelBlock}",
                                "Time\tB\tA", "5\t2\t3"}));
  ASSERT_EQ(cols.size(), 3u);
  EXPECT_EQ(cols[0].name, u"A");
  EXPECT_EQ(cols[0].block, 0u);
  EXPECT_EQ(cols[1].name, u"B");
  EXPECT_EQ(cols[2].name, u"A");  // the same name again: the load decides, the reader keeps both
  EXPECT_EQ(cols[2].block, 1u);
  EXPECT_EQ(Times(cols[2]), (V{5}));
}

TEST(ChannelReader, AnEmptyCellCostsOnlyItsColumn) {
  Problems problems;
  auto cols = ReadBlocks(Lines({"{ChannelBlock}", "Time\tA\tB\tC", "1\t10\t20\t30", "2\t11\t\t31", "3\t12\t22\t"}),
                         &problems);
  ASSERT_EQ(cols.size(), 3u);
  EXPECT_EQ(Times(cols[0]), (V{1, 2, 3}));
  EXPECT_EQ(Times(cols[1]), (V{1, 3}));
  EXPECT_EQ(Values(cols[1]), (V{20, 22}));
  EXPECT_EQ(Times(cols[2]), (V{1, 2}));
  EXPECT_EQ(Values(cols[2]), (V{30, 31}));
  EXPECT_TRUE(problems.items.empty());  // empty cells are allowed
}

TEST(ChannelReader, RowsWhoseTimeDoesNotRiseAreLost) {
  Problems problems;
  auto cols = ReadBlocks(Lines({"{ChannelBlock}", "Time\tA", "1\t1", "2\t2", "2\t3", "3\t4"}), &problems);
  EXPECT_EQ(Times(cols[0]), (V{1, 2, 3}));
  EXPECT_EQ(Values(cols[0]), (V{1, 2, 4}));
  EXPECT_TRUE(problems.Has(TextCode::kTimeNotRising, 6));

  cols = ReadBlocks(Lines({"{ChannelBlock}", "Time\tA", "1\t1", "3\t2", "2\t3", "4\t4"}));
  EXPECT_EQ(Times(cols[0]), (V{1, 3, 4}));
  EXPECT_EQ(Values(cols[0]), (V{1, 2, 4}));
}

TEST(ChannelReader, HeaderWithoutTabOrColumnsLeavesTheBlockUnused) {
  Problems problems;
  auto cols = ReadBlocks(Lines({"{ChannelBlock}", "Time A", "1\t2", "", "{ChannelBlock}", "Time\t", "1\t2", "",
                                "{ChannelBlock}", "", "{ChannelBlock}", "Time\tOK", "1\t2"}),
                         &problems);
  ASSERT_EQ(cols.size(), 1u);
  EXPECT_EQ(cols[0].name, u"OK");
  EXPECT_TRUE(problems.Has(TextCode::kHeaderWithoutTab, 3));
  EXPECT_TRUE(problems.Has(TextCode::kNoColumns, 7));
  EXPECT_TRUE(problems.Has(TextCode::kNoColumns, 10));
}

TEST(ChannelReader, ABraceInAColumnNameEndsTheColumnList) {
  Problems problems;
  auto cols = ReadBlocks(Lines({"{ChannelBlock}", "Time\tA\tB{x\tC", "1\t2\t3\t4", "", "{ChannelBlock}",
                                "Time\t{B}", "1\t2"}),
                         &problems);
  ASSERT_EQ(cols.size(), 1u) << "the columns before the brace stand; none before it: the block is unused";
  EXPECT_EQ(cols[0].name, u"A");
  EXPECT_EQ(Values(cols[0]), (V{2}));
  EXPECT_TRUE(problems.Has(TextCode::kBraceInToken, 3));
  EXPECT_TRUE(problems.Has(TextCode::kNoColumns, 7));
}

TEST(ChannelReader, ShortAndLongRowsAreReportedWithTheirLine) {
  Problems problems;
  auto cols = ReadBlocks(Lines({"{ChannelBlock}", "Time\tA\tB", "1\t10", "2\t11\t21\t99", "3\t12\t22\t"}), &problems);
  EXPECT_EQ(Times(cols[0]), (V{1, 2, 3}));
  EXPECT_EQ(Times(cols[1]), (V{2, 3}));
  EXPECT_TRUE(problems.Has(TextCode::kShortRow, 4));
  EXPECT_TRUE(problems.Has(TextCode::kLongRow, 5));
  EXPECT_FALSE(problems.Has(TextCode::kLongRow, 6));  // a trailing TAB holds nothing
}

TEST(ChannelReader, CellsReadAsAtofDoesAndNonNumericOnesAsZero) {
  Problems problems;
  auto cols = ReadBlocks(Lines({"{ChannelBlock}", "Time\tA", "1\tabc", "2\t12abc", "3\t 7", "4\t0x10", "5\t ",
                                "6\t{1}"}),
                         &problems);
  EXPECT_EQ(Times(cols[0]), (V{1, 2, 3, 4}));
  EXPECT_EQ(Values(cols[0]), (V{0, 12, 7, 16}));
  EXPECT_TRUE(problems.Has(TextCode::kNonNumeric, 4));
  EXPECT_TRUE(problems.Has(TextCode::kTrailingCharacters, 5));
  EXPECT_FALSE(problems.Has(TextCode::kTrailingCharacters, 6));
  EXPECT_FALSE(problems.Has(TextCode::kNonNumeric, 8));  // a blank cell is an empty one
  EXPECT_TRUE(problems.Has(TextCode::kBraceInToken, 9));
}

TEST(ChannelReader, ATimeWithNoNumberIsZeroAndOnlyAnUnreadableOneDropsItsBlock) {
  Problems problems;
  auto cols = ReadBlocks(Lines({"{ChannelBlock}", "Time\tA", "1\t1", "x\t2", "3\t3", "", "{ChannelBlock}", "Time\tB",
                                "1\t5", "2{x}\t6", "", "{ChannelBlock}", "Time\tC", "1\t7"}),
                         &problems);
  ASSERT_EQ(cols.size(), 2u);
  EXPECT_EQ(cols[0].name, u"A");
  EXPECT_EQ(Times(cols[0]), (V{1, 3})) << "\"x\" is time 0, not above 1: that row alone goes";
  EXPECT_TRUE(problems.Has(TextCode::kNonNumeric, 5));
  EXPECT_TRUE(problems.Has(TextCode::kBadTime, 11));
  EXPECT_EQ(cols[1].name, u"C");
}

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
