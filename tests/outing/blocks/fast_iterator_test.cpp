#include "outing/blocks/fast_iterator.h"

#include <gtest/gtest.h>

#include "outing/data_block_test_util.h"

namespace velmar {
namespace {

using testing::AperiodicBlock;
using testing::Iterator;
using testing::PeriodicBlock;

// 10..30 by 10 (values 1..3), then 50, 55 aperiodic (values 5, 6), continuous or not.
CFastIterator Walk(bool continuous) {
  auto it = Iterator({PeriodicBlock(10, 10, {1, 2, 3}), AperiodicBlock({50, 55}, {5, 6}, continuous)});
  CFastIterator walk;
  walk.Attach(it.Get());
  return walk;
}

TEST(FastIterator, BeforeTheFirstSampleThenValuesThenNoMoreData) {
  CFastIterator walk = Walk(true);
  double v = -1;
  EXPECT_EQ(walk.GetValue(5, &v), CFastIterator::kBeforeFirst);
  EXPECT_EQ(walk.GetValue(10, &v), CFastIterator::kValue);
  EXPECT_EQ(v, 1.0);
  EXPECT_EQ(walk.GetValue(15, &v), CFastIterator::kValue);
  EXPECT_DOUBLE_EQ(v, 1.5);
  EXPECT_EQ(walk.GetValue(30, &v), CFastIterator::kValue);
  EXPECT_EQ(v, 3.0);
  EXPECT_EQ(walk.GetValue(55, &v), CFastIterator::kValue);
  EXPECT_EQ(v, 6.0);
  EXPECT_EQ(walk.GetValue(56, &v), CFastIterator::kNoMoreData);
  EXPECT_EQ(walk.GetValue(57, &v), CFastIterator::kNoMoreData) << "the walk stays at its end";
}

TEST(FastIterator, InterpolatesAcrossAContinuousBoundaryOnly) {
  CFastIterator joined = Walk(true);
  double v = -1;
  EXPECT_EQ(joined.GetValue(40, &v), CFastIterator::kValue);
  EXPECT_DOUBLE_EQ(v, 4.0) << "between (30, 3) and (50, 5)";

  CFastIterator broken = Walk(false);
  EXPECT_EQ(broken.GetValue(30, &v), CFastIterator::kValue);
  EXPECT_EQ(broken.GetValue(40, &v), CFastIterator::kBeforeFirst) << "no line across a break";
  EXPECT_EQ(broken.GetValue(52, &v), CFastIterator::kValue);
  EXPECT_DOUBLE_EQ(v, 5.4);
}

TEST(FastIterator, FirstCallMayStartInsideTheData) {
  CFastIterator walk = Walk(true);
  double v = -1;
  EXPECT_EQ(walk.GetValue(52, &v), CFastIterator::kValue);
  EXPECT_DOUBLE_EQ(v, 5.4);
  CFastIterator onSample = Walk(true);
  EXPECT_EQ(onSample.GetValue(20, &v), CFastIterator::kValue);
  EXPECT_EQ(v, 2.0);
  CFastIterator late = Walk(true);
  EXPECT_EQ(late.GetValue(kTimeMax, &v), CFastIterator::kNoMoreData);
}

TEST(FastIterator, NothingAttachedGivesNoData) {
  CFastIterator walk;
  double v = 0;
  EXPECT_EQ(walk.GetValue(0, &v), CFastIterator::kNoMoreData);
  walk.Attach(Iterator({}).Get());
  EXPECT_EQ(walk.GetValue(0, &v), CFastIterator::kNoMoreData);
  walk.Attach(nullptr);
  EXPECT_EQ(walk.GetValue(0, &v), CFastIterator::kNoMoreData);
}

TEST(FastIterator, ReattachStartsAFreshWalk) {
  CFastIterator walk = Walk(true);
  double v = 0;
  EXPECT_EQ(walk.GetValue(55, &v), CFastIterator::kValue);
  auto again = Iterator({PeriodicBlock(0, 1, {7, 8})});
  walk.Attach(again.Get());
  EXPECT_EQ(walk.GetValue(0, &v), CFastIterator::kValue);
  EXPECT_EQ(v, 7.0);
}

}  // namespace
}  // namespace velmar

namespace velmar {
namespace {

TEST(FastIterator, BatchGivesWhatSingleCallsGive) {
  const std::vector<KivTime> times{5, 10, 15, 30, 40, 52, 55, 56};
  CFastIterator single = Walk(true);
  std::vector<double> expected(times.size(), -1);
  std::vector<CFastIterator::Result> expectedResults;
  for (size_t k = 0; k < times.size(); ++k) expectedResults.push_back(single.GetValue(times[k], &expected[k]));

  CFastIterator batch = Walk(true);
  std::vector<double> values(times.size(), -1);
  std::vector<CFastIterator::Result> results(times.size());
  EXPECT_EQ(batch.GetValues(times, values, results), 6u);
  EXPECT_EQ(results, expectedResults);
  for (size_t k = 0; k < times.size(); ++k) EXPECT_DOUBLE_EQ(values[k], expected[k]) << times[k];
  EXPECT_EQ(results.front(), CFastIterator::kBeforeFirst);
  EXPECT_EQ(results.back(), CFastIterator::kNoMoreData);
}

}  // namespace
}  // namespace velmar
