#include "sources/text/text_scan.h"

#include <gtest/gtest.h>

#include "support/fixtures.h"
#include "text_test_util.h"

namespace velmar {
namespace {

using testing::Lines;
using testing::Problems;

TEST(TextScanMagic, EachFixtureCase) {
  for (const auto table = testing::Fixture("sources/magics.json"); const auto& c : table["cases"]) {
    bool versioned = false;
    EXPECT_EQ(TextCodeName(CheckMagic(c[0].get<std::string>(), &versioned).code()), c[1].get<std::string>()) << c;
    if (!c[2].is_null()) {
      EXPECT_EQ(versioned, c[2].get<bool>()) << c;
    }
  }
}

TEST(TextScan, FindsBlocksRowsAndLines) {
  std::string bytes = Lines({"KivaraASCIIDataSet", "", "{OutingInformation}", "DriverName\tJo", "", "{ChannelBlock}",
                             "Time\tA", "0\t1", "1\t2", "", "{EventBlock}", "Time\tName\tCategory\tSource\tMessage",
                             "1\tEnd of lap\tBox Created\t\t", "", "{Mystery}", "x", "", "{ConstantBlock}",
                             "Name\tValue\tComment"});
  TextIndex index = Scan(bytes);
  ASSERT_TRUE(index.hasInformation);
  EXPECT_EQ(index.information.line, 3u);
  EXPECT_EQ(index.information.rowCount, 1u);
  ASSERT_EQ(index.channels.size(), 1u);
  const TextBlock& ch = index.channels[0];
  EXPECT_EQ(bytes.substr(ch.tag, 14), "{ChannelBlock}");
  EXPECT_EQ(ch.line, 6u);
  EXPECT_EQ(ch.firstRowLine, 7u);
  EXPECT_EQ(ch.rowCount, 3u);  // header and two rows; the blank line ends the block
  EXPECT_TRUE(index.hasData);
  EXPECT_EQ(index.firstDataPos, ch.tag);
  ASSERT_NE(index.events(), nullptr);
  EXPECT_EQ(index.events()->rowCount, 2u);
  EXPECT_EQ(ch.end, index.events()->tag);
  // The unknown tag is passed over, but it ends the event block.
  EXPECT_EQ(bytes.substr(index.events()->end, 9), "{Mystery}");
  ASSERT_NE(index.constants(), nullptr);
  EXPECT_EQ(index.constants()->end, bytes.size());
}

TEST(TextScan, RowsEndAtLinesThatDoNotBeginLikeOne) {
  for (std::string_view stop : {"\tx", " x", "\r", "{x}", "}"}) {
    std::string bytes = "KivaraASCIIDataSet\r\n{ChannelBlock}\r\nTime\tA\r\n1\t2\r\n" + std::string(stop) + "\r\n3\t4\r\n";
    TextIndex index = Scan(bytes);
    ASSERT_EQ(index.channels.size(), 1u) << stop;
    EXPECT_EQ(index.channels[0].rowCount, 2u) << stop;
  }
}

TEST(TextScan, ABraceOutOfPlaceEndsTheWalk) {
  Problems problems;
  std::string bytes = Lines({"KivaraASCIIDataSet", "{ChannelBlock}", "Time\tA", "", "\t}", "{ChannelBlock}", "Time\tB"});
  TextIndex index = Scan(bytes, problems.sink());
  EXPECT_EQ(index.channels.size(), 1u);
  EXPECT_TRUE(problems.Has(TextCode::kBraceInToken, 5));

  Problems nested;
  index = Scan(Lines({"KivaraASCIIDataSet", "{Chan{nelBlock}"}), nested.sink());
  EXPECT_TRUE(index.channels.empty());
  EXPECT_TRUE(nested.Has(TextCode::kBraceInToken, 2));

  Problems cut;
  index = Scan("KivaraASCIIDataSet\r\n{ChannelBlock}\r\nTime\tA\r\n\r\n{EventBl", cut.sink());
  EXPECT_EQ(index.channels.size(), 1u);
  EXPECT_TRUE(cut.Has(TextCode::kTruncated, 5));
}

TEST(TextScan, BareLineFeedsScanLikeCrLf) {
  std::string crlf = Lines({"KivaraASCIIDataSet", "", "{ChannelBlock}", "Time\tA", "1\t2", "", "{EventBlock}", "h"});
  std::string lf = Lines({"KivaraASCIIDataSet", "", "{ChannelBlock}", "Time\tA", "1\t2", "", "{EventBlock}", "h"}, "\n");
  TextIndex a = Scan(crlf), b = Scan(lf);
  ASSERT_EQ(a.channels.size(), b.channels.size());
  EXPECT_EQ(a.channels[0].rowCount, b.channels[0].rowCount);
  EXPECT_EQ(a.channels[0].firstRowLine, b.channels[0].firstRowLine);
  EXPECT_EQ(a.events()->line, b.events()->line);
}

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

}  // namespace
}  // namespace velmar
