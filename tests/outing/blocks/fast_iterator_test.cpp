#include "outing/blocks/fast_iterator.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "outing/blocks/sample_cursor.h"
#include "outing/data_block_test_util.h"
#include "support/fixtures.h"

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

TEST(FastIterator, EachFixtureWalk) {
  const std::map<std::string, CFastIterator::Result> results{{"before first", CFastIterator::kBeforeFirst},
                                                             {"value", CFastIterator::kValue},
                                                             {"no more data", CFastIterator::kNoMoreData}};
  for (const auto table = testing::Fixture("outing/fast_walks.json"); const auto& w : table["walks"]) {
    CFastIterator walk = Walk(w["continuous"].get<bool>());
    for (const auto& step : w["steps"]) {
      double v = -1;
      EXPECT_EQ(walk.GetValue(testing::FixtureTime(step[0]), &v), results.at(step[1].get<std::string>())) << w << step;
      if (step.size() > 2) {
        EXPECT_DOUBLE_EQ(v, step[2].get<double>()) << w << step;
      }
    }
  }
}

TEST(FastIterator, NothingAttachedGivesNoDataAndReattachStartsAFreshWalk) {
  CFastIterator walk;
  double v = 0;
  EXPECT_EQ(walk.GetValue(0, &v), CFastIterator::kNoMoreData);
  walk.Attach(Iterator({}).Get());
  EXPECT_EQ(walk.GetValue(0, &v), CFastIterator::kNoMoreData);
  walk.Attach(nullptr);
  EXPECT_EQ(walk.GetValue(0, &v), CFastIterator::kNoMoreData);
  walk = Walk(true);
  EXPECT_EQ(walk.GetValue(55, &v), CFastIterator::kValue);
  auto again = Iterator({PeriodicBlock(0, 1, {7, 8})});
  walk.Attach(again.Get());
  EXPECT_EQ(walk.GetValue(0, &v), CFastIterator::kValue);
  EXPECT_EQ(v, 7.0);
}

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

ComPtr<CChannelIterator> Channel() {
  return Iterator({PeriodicBlock(0, 10, {0, 1, 2}), AperiodicBlock({45, 47}, {4, 5}, true), PeriodicBlock(90, 5, {9})});
}

TEST(SampleCursor, WalksForwardAndBackwardAcrossBlocks) {
  SampleCursor cursor(Channel());
  ASSERT_TRUE(cursor.SeekFirst());
  std::vector<KivTime> times{cursor.time()};
  std::vector<double> values{cursor.value()};
  while (cursor.Next()) {
    times.push_back(cursor.time());
    values.push_back(cursor.value());
  }
  EXPECT_EQ(times, (std::vector<KivTime>{0, 10, 20, 45, 47, 90}));
  EXPECT_EQ(values, (std::vector<double>{0, 1, 2, 4, 5, 9}));
  EXPECT_TRUE(cursor.valid()) << "stays on the last sample";
  EXPECT_EQ(cursor.time(), 90);
  EXPECT_EQ(cursor.blockNumber(), 3u);
  ASSERT_TRUE(cursor.SeekLast());
  times = {cursor.time()};
  while (cursor.Previous()) times.push_back(cursor.time());
  EXPECT_EQ(times, (std::vector<KivTime>{90, 47, 45, 20, 10, 0}));
  EXPECT_EQ(cursor.time(), 0) << "stays on the first sample";
}

TEST(SampleCursor, SeekUsesTheIteratorsModes) {
  SampleCursor cursor(Channel());
  ASSERT_TRUE(cursor.Seek(20, kFindNextAfter));
  EXPECT_EQ(cursor.time(), 45);
  EXPECT_TRUE(cursor.continuous());
  ASSERT_TRUE(cursor.Previous());
  EXPECT_EQ(cursor.time(), 20);
  EXPECT_FALSE(cursor.continuous());
  ASSERT_TRUE(cursor.Seek(46, kFindLastBefore));
  EXPECT_EQ(cursor.time(), 45);
  ASSERT_TRUE(cursor.Seek(70, kFindNearest));
  EXPECT_EQ(cursor.time(), 90) << "nearer to the later block";
  EXPECT_FALSE(cursor.Seek(90, kFindNextAfter));
  EXPECT_FALSE(cursor.valid());
  EXPECT_FALSE(cursor.Next());
}

TEST(SampleCursor, NoBlocksNoSamples) {
  SampleCursor empty(Iterator({}));
  EXPECT_FALSE(empty.SeekFirst());
  EXPECT_FALSE(empty.SeekLast());
  EXPECT_FALSE(empty.Seek(0, kFindNearest));
  SampleCursor none(nullptr);
  EXPECT_FALSE(none.SeekFirst());
  EXPECT_FALSE(none.Previous());
}

TEST(ForEachSample, VisitsTheSpanInTimeOrder) {
  auto it = testing::Iterator({testing::PeriodicBlock(0, 10, {0, 1, 2}), testing::AperiodicBlock({45, 47}, {4, 5}),
                               testing::PeriodicBlock(90, 5, {9, 10})});
  std::vector<KivTime> times;
  std::vector<double> values;
  auto collect = [&](KivTime t, double v) {
    times.push_back(t);
    values.push_back(v);
  };
  ASSERT_EQ(ForEachSample(*it->blockList(), 5, 90, collect), S_OK);
  EXPECT_EQ(times, (std::vector<KivTime>{10, 20, 45, 47, 90}));
  EXPECT_EQ(values, (std::vector<double>{1, 2, 4, 5, 9}));
  times.clear();
  ASSERT_EQ(ForEachSample(*it->blockList(), kTimeMin, kTimeMax, collect), S_OK);
  EXPECT_EQ(times.size(), 7u);
  times.clear();
  ASSERT_EQ(ForEachSample(*it->blockList(), 21, 44, collect), S_OK);
  EXPECT_TRUE(times.empty()) << "a span in a gap holds no sample";
  ASSERT_EQ(ForEachSample(*it->blockList(), 50, 40, collect), S_OK);
  EXPECT_TRUE(times.empty()) << "an empty span";
}

}  // namespace
}  // namespace velmar
