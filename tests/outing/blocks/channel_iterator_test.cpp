#include "outing/blocks/channel_iterator.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <string>

#include "outing/blocks/channel_iterator_search.h"
#include "outing/data_block_test_util.h"
#include "support/got.h"
#include "support/fixtures.h"

namespace velmar {
namespace {

using testing::AsAperiodic;
using testing::Iterator;
using testing::PeriodicBlock;
using testing::Selection;

// Samples 0..40 by 10 (values 0..4), a gap, then 100..120 (values 10..12).
ComPtr<CChannelIterator> TwoBlocks(bool secondContinuous = true, ComPtr<IKivSelectionRange> selection = nullptr) {
  return Iterator({PeriodicBlock(0, 10, {0, 1, 2, 3, 4}), PeriodicBlock(100, 10, {10, 11, 12}, secondContinuous)},
                  std::move(selection));
}

struct Found {
  KivResult result;
  KivTime time;
  double value;
};

Found SampleAt(IKivChannelIterator* it, KivTime t, int32_t mode, uint32_t range = kRangeWholeChannel) {
  Found f{E_UNEXPECTED, -999, -999};
  f.result = it->GetSampleAtTime(t, mode, range, &f.time, &f.value);
  return f;
}

// On TwoBlocks every value is its time / 10.
TEST(ChannelIterator, SampleSearchAtTheEndsInGapsAndBetweenSamples) {
  auto it = TwoBlocks();
  const std::map<std::string, int32_t> modes{
      {"next after", kFindNextAfter}, {"last before", kFindLastBefore}, {"nearest", kFindNearest}};
  for (const auto table = testing::Fixture("outing/sample_search.json"); const auto& row : table["cases"]) {
    Found f = SampleAt(it.Get(), row[0].get<KivTime>(), modes.at(row[1].get<std::string>()));
    EXPECT_EQ(f.result, row[2] == "S_OK" ? S_OK : S_FALSE) << row;
    if (!row[3].is_null()) {
      EXPECT_EQ(f.time, row[3].get<KivTime>()) << row;
    }
    if (f.result == S_OK || !row[3].is_null()) {
      EXPECT_EQ(f.value, f.result == S_OK ? static_cast<double>(f.time) / 10 : 0.0) << row;
    }
  }
  uint32_t block = 0;
  uint32_t index = 9;
  ASSERT_EQ(it->FindBlock(-50, kFindNearest, 0, &block, &index), S_OK);
  EXPECT_EQ(block, 1u);
  EXPECT_EQ(index, 0u);
  KivTime moved = -50;
  size_t b = 9;
  ASSERT_EQ(it->Locate(&moved, kFindNearest, 0, &b, &index), S_OK);
  EXPECT_EQ(moved, -1) << "the time moves to start - 1";
  ASSERT_EQ(it->FindBlock(90, kFindNextAfter, 0, &block, &index), S_OK);
  EXPECT_EQ(block, 2u);
  EXPECT_EQ(index, 0u);
  EXPECT_EQ(it->FindBlock(500, kFindNextAfter, 0, &block, &index), S_FALSE);
  EXPECT_EQ(block, 1u) << "anything but S_OK gives block 1";
  KivTime t = 0;
  ASSERT_EQ(it->GetSampleTime(100, kFindNextAfter, 0, &t), S_OK);
  EXPECT_EQ(t, 110);
}

TEST(ChannelIterator, SelectionRangeLimitsTheSearch) {
  auto it = TwoBlocks(true, Selection(5, 50));
  EXPECT_EQ(SampleAt(it.Get(), 40, kFindNextAfter, kRangeSelection).result, S_FALSE)
      << "the next block starts past the selection";
  EXPECT_EQ(SampleAt(it.Get(), 40, kFindNextAfter, kRangeWholeChannel).time, 100);
  Found f = SampleAt(it.Get(), -100, kFindNearest, kRangeSelection);
  EXPECT_EQ(f.result, S_OK);
  EXPECT_EQ(f.time, 10) << "first sample inside the selection";

  auto late = TwoBlocks(true, Selection(60, 500));
  EXPECT_EQ(SampleAt(late.Get(), 100, kFindLastBefore, kRangeSelection).result, S_FALSE)
      << "the block before ends before the selection";

  auto narrow = Iterator({PeriodicBlock(0, 10, {0, 1, 2})}, Selection(12, 18));
  f = SampleAt(narrow.Get(), 5, kFindNearest, kRangeSelection);
  EXPECT_EQ(f.result, S_FALSE) << "no sample inside the selection";
  EXPECT_EQ(f.time, 11) << "the time the search ended on";

  auto empty = TwoBlocks(true, Selection(300, 200));
  EXPECT_EQ(SampleAt(empty.Get(), 20, kFindNearest, kRangeSelection).result, S_FALSE);
  EXPECT_EQ(SampleAt(TwoBlocks().Get(), 20, kFindNearest, kRangeSelection).result, E_FAIL)
      << "no selection to limit to";
}

TEST(ChannelIterator, BadArgumentsAndNoBlocks) {
  auto it = TwoBlocks();
  uint32_t block = 7;
  uint32_t index = 7;
  EXPECT_EQ(it->FindBlock(10, 3, 0, &block, &index), E_INVALIDARG);
  EXPECT_EQ(block, 1u);
  EXPECT_EQ(it->FindBlock(10, -1, 0, &block, &index), E_INVALIDARG);
  EXPECT_EQ(it->FindBlock(10, 0, 2, &block, &index), E_INVALIDARG);
  EXPECT_EQ(it->FindBlock(10, 0, 0, nullptr, &index), E_POINTER);
  double v = 0;
  EXPECT_EQ(it->GetValueAtTime(10, 3, 0, &v), E_INVALIDARG);
  EXPECT_EQ(it->GetValueAtTime(10, 0, 2, &v), E_INVALIDARG);
  KivTime t = 0;
  EXPECT_EQ(it->FindTimeOfValue(1.0, 3, 0, &t), E_INVALIDARG);
  EXPECT_EQ(it->FindTimeOfValue(1.0, 7, 0, &t), E_INVALIDARG);
  EXPECT_EQ(it->GetSampleAtTime(10, 0, 0, nullptr, &v), E_POINTER);

  auto none = Iterator({});
  EXPECT_EQ(none->FindBlock(10, 0, 0, &block, &index), S_FALSE);
  EXPECT_EQ(none->GetValueAtTime(10, 2, 0, &v), E_FAIL);
  EXPECT_EQ(none->GetLastSample(&t, &v), E_FAIL);
  EXPECT_EQ(none->GetEndTime(&t), E_FAIL);
  EXPECT_EQ(none->GetLastValue(&v), E_FAIL);
  EXPECT_EQ(none->FindTimeOfValue(1.0, 2, 0, &t), E_FAIL);

  auto noData = MakeKiv<CChannelIterator>(nullptr, nullptr, nullptr);
  ComPtr<IKivDataBlocks> blocks;
  EXPECT_EQ(noData->GetDataBlocks(blocks.Put()), E_FAIL);
  EXPECT_FALSE(blocks);
}

TEST(ChannelIterator, ValuesAndTimesOfEachFixtureCase) {
  for (const auto table = testing::Fixture("outing/iterator_values.json"); const auto& c : table["cases"]) {
    ComPtr<IKivSelectionRange> selection;
    if (!c[1].is_null()) selection = Selection(c[1][0].get<KivTime>(), c[1][1].get<KivTime>());
    auto it = TwoBlocks(c[0].get<bool>(), selection);
    double value = -1;
    KivTime time = -1;
    const auto mode = c[4].get<uint32_t>(), range = c[5].get<uint32_t>();
    const KivResult r = c[2] == "value_at" ? it->GetValueAtTime(c[3].get<KivTime>(), mode, range, &value)
                                           : it->FindTimeOfValue(c[3].get<double>(), mode, range, &time);
    EXPECT_EQ(ResultName(r), c[6].get<std::string>()) << c;
    const double got = c[2] == "value_at" ? value : static_cast<double>(time);
    if (!c[7].is_null()) {
      EXPECT_DOUBLE_EQ(got, c[7].get<double>()) << c;
    }
  }
}

TEST(ChannelIterator, LastSampleEndTimeAndLastValue) {
  auto it = TwoBlocks();
  KivTime t = 0;
  double v = 0;
  ASSERT_EQ(it->GetLastSample(&t, &v), S_OK);
  EXPECT_EQ(t, 120);
  EXPECT_EQ(v, 12.0);
  EXPECT_EQ(testing::Got(it, &CChannelIterator::GetEndTime), 120);
  EXPECT_EQ(testing::Got(it, &CChannelIterator::GetLastValue), 12.0);
  EXPECT_EQ(it->GetLastSample(nullptr, &v), E_POINTER);
}

TEST(ChannelIterator, PeriodicAndAperiodicBlocksAnswerAlike) {
  const std::vector<double> a{3, 1, 4, 1, 5, 9, 2};
  const std::vector<double> b{6, 5, 3};
  auto periodic = Iterator({PeriodicBlock(0, 10, a), PeriodicBlock(95, 5, b, true)});
  auto aperiodic = Iterator({AsAperiodic(0, 10, a), AsAperiodic(95, 5, b, true)});
  for (KivTime t = -20; t <= 130; ++t) {
    for (int32_t mode = 0; mode <= 2; ++mode) {
      // Half way between two samples the two spacings break the tie differently.
      if (mode == kFindNearest && t > 0 && t < 60 && t % 10 == 5) continue;
      Found p = SampleAt(periodic.Get(), t, mode);
      Found q = SampleAt(aperiodic.Get(), t, mode);
      EXPECT_EQ(p.result, q.result) << "t=" << t << " mode=" << mode;
      EXPECT_EQ(p.time, q.time) << "t=" << t << " mode=" << mode;
      EXPECT_EQ(p.value, q.value) << "t=" << t << " mode=" << mode;
    }
    for (uint32_t mode = kValueHold; mode <= kValueInterpolate; ++mode) {
      double pv = -1;
      double qv = -2;
      EXPECT_EQ(periodic->GetValueAtTime(t, mode, 0, &pv), aperiodic->GetValueAtTime(t, mode, 0, &qv)) << t;
      EXPECT_DOUBLE_EQ(pv, qv) << "t=" << t;
    }
  }
}

// Brute force over every sample, for comparison with the search.
struct Sample {
  KivTime time;
  double value;
};

TEST(ChannelIterator, SearchMatchesBruteForceOverManyUnevenBlocks) {
  std::mt19937 rng(1234);
  std::vector<ComPtr<IKivDataBlockImplBase>> blocks;
  std::vector<Sample> all;
  KivTime t = 1000;
  for (int k = 0; k < 300; ++k) {
    t += std::uniform_int_distribution<KivTime>(1, k % 7 == 0 ? 5000 : 30)(rng);  // uneven gaps
    const auto count = std::uniform_int_distribution<int>(1, k % 11 == 0 ? 400 : 12)(rng);
    std::vector<double> values;
    std::vector<KivTime> times;
    const KivTime interval = std::uniform_int_distribution<KivTime>(1, 9)(rng);
    for (int i = 0; i < count; ++i) {
      values.push_back(static_cast<double>(all.size()));
      times.push_back(k % 2 ? t + i * interval : t);
      if (k % 2 == 0) t += std::uniform_int_distribution<KivTime>(1, 9)(rng);
      all.push_back({times.back(), values.back()});
    }
    t = times.back();
    blocks.push_back(k % 2 ? PeriodicBlock(times.front(), interval, values, k % 3 == 0)
                           : testing::AperiodicBlock(times, values, k % 3 == 0));
  }
  auto it = Iterator(blocks);
  std::uniform_int_distribution<KivTime> when(0, t + 1000);
  for (int probe = 0; probe < 20000; ++probe) {
    const KivTime q = when(rng);
    auto after = std::upper_bound(all.begin(), all.end(), q, [](KivTime x, const Sample& s) { return x < s.time; });
    auto atOrAfter = std::lower_bound(all.begin(), all.end(), q, [](const Sample& s, KivTime x) { return s.time < x; });
    Found next = SampleAt(it.Get(), q, kFindNextAfter);
    if (after == all.end()) {
      EXPECT_EQ(next.result, S_FALSE) << q;
    } else {
      EXPECT_EQ(next.time, after->time) << q;
    }
    Found before = SampleAt(it.Get(), q, kFindLastBefore);
    if (atOrAfter == all.begin()) {
      EXPECT_EQ(before.result, S_FALSE) << q;
    } else {
      EXPECT_EQ(before.time, std::prev(atOrAfter)->time) << q;
    }
    Found nearest = SampleAt(it.Get(), q, kFindNearest);
    ASSERT_EQ(nearest.result, S_OK);
    KivTime best = kTimeMax;
    for (auto c : {atOrAfter, atOrAfter == all.begin() ? atOrAfter : std::prev(atOrAfter)}) {
      if (c != all.end()) best = std::min(best, c->time > q ? c->time - q : q - c->time);
    }
    EXPECT_EQ(nearest.time > q ? nearest.time - q : q - nearest.time, best) << q;
  }
}

DataBlockList Blocks() {
  DataBlockList list;
  for (KivTime start : {0, 100, 200, 1000}) list.push_back(PeriodicBlock(start, 10, {1, 2, 3}));  // each 20 long
  return list;
}

TEST(SearchBlocks, EachFixtureCase) {
  const DataBlockList list = Blocks();
  for (const auto table = testing::Fixture("outing/block_search.json"); const auto& c : table["cases"]) {
    BlockPosition at;
    const KivResult r = SearchBlocks(list, testing::FixtureTime(c[0]), &at);
    EXPECT_EQ(r, c[1].is_null() ? E_FAIL : S_OK) << c;
    if (c[1].is_null()) continue;
    EXPECT_EQ(at.kind, c[1] == "inside" ? BlockPosition::Kind::kInside : BlockPosition::Kind::kGapAfter) << c;
    EXPECT_EQ(at.block, c[2].get<size_t>()) << c;
  }
  BlockPosition at;
  EXPECT_EQ(SearchBlocks({}, 5, &at), E_FAIL);
  EXPECT_EQ(SearchBlocks(list, 5, nullptr), E_POINTER);
}

TEST(SearchBlocks, BlocksOutOfOrderEndTheSearch) {
  DataBlockList list = Blocks();
  std::swap(list[0], list[3]);
  BlockPosition at;
  for (KivTime t = -10; t < 1100; t += 7) {
    KivResult r = SearchBlocks(list, t, &at);  // any answer, but it ends
    EXPECT_TRUE(r == S_OK || r == E_FAIL);
  }
}

}  // namespace
}  // namespace velmar
