#include "sample_table.h"

#include <gtest/gtest.h>

namespace velmar::cli {
namespace {

using Row = std::pair<KivTime, std::vector<std::optional<double>>>;

std::vector<Row> Rows(const std::vector<TimedValues>& columns) {
  std::vector<Row> rows;
  ForEachRow(columns, [&](KivTime time, const std::vector<std::optional<double>>& cells) {
    rows.emplace_back(time, cells);
  });
  return rows;
}

ChannelSamples TwoBlocks() {
  ChannelSamples samples;
  samples.blocks.push_back(SampleBlock{true, false, 10, {0, 10, 20}, {1, 2, 3}});
  samples.blocks.push_back(SampleBlock{false, true, 0, {25, 40}, {4, 5}});
  return samples;
}

TEST(SampleTable, TheWindowKeepsSamplesAcrossBlocksBothEndsIncluded) {
  const TimedValues in = SamplesInWindow(TwoBlocks(), TimeWindow{10, 25});
  EXPECT_EQ(in.times, (std::vector<KivTime>{10, 20, 25}));
  EXPECT_EQ(in.values, (std::vector<double>{2, 3, 4}));
  EXPECT_TRUE(SamplesInWindow(TwoBlocks(), TimeWindow{41, 50}).times.empty());
}

TEST(SampleTable, RowsAreTheUnionOfTimesWithEmptyCellsWhereAChannelHasNoSample) {
  const TimedValues fast{{0, 5, 10, 15}, {1, 2, 3, 4}};
  const TimedValues slow{{0, 10, 12}, {7, 8, 9}};
  EXPECT_EQ(Rows({fast, slow}), (std::vector<Row>{{0, {1.0, 7.0}}, {5, {2.0, std::nullopt}}, {10, {3.0, 8.0}},
                                                   {12, {std::nullopt, 9.0}}, {15, {4.0, std::nullopt}}}));
}

TEST(SampleTable, ARepeatedTimeInOneChannelMakesOneRowWithTheLaterValue) {
  EXPECT_EQ(Rows({TimedValues{{0, 10, 10, 20}, {1, 2, 3, 4}}}), (std::vector<Row>{{0, {1.0}}, {10, {3.0}}, {20, {4.0}}}));
}

TEST(SampleTable, NoColumnsOrNoSamplesMakeNoRows) {
  EXPECT_TRUE(Rows({}).empty());
  EXPECT_TRUE(Rows({TimedValues{}, TimedValues{}}).empty());
}

}  // namespace
}  // namespace velmar::cli
