#include "outing/blocks/data_block.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "outing/blocks/data_block_array.h"
#include "outing/blocks/data_block_section.h"
#include "outing/blocks/data_blocks.h"
#include "outing/data_block_test_util.h"
#include "support/got.h"
#include "velmar/types.h"

namespace velmar {
namespace {

using testing::Got;
using Block = IKivDataBlock;

TEST(DataBlockMath, StrictlyBetweenCrossingTimeAndLinearValue) {
  EXPECT_TRUE(StrictlyBetween(2, 1, 3));
  EXPECT_TRUE(StrictlyBetween(2, 3, 1));
  EXPECT_FALSE(StrictlyBetween(1, 1, 3));
  EXPECT_FALSE(StrictlyBetween(std::nan(""), 1, 3));
  EXPECT_FALSE(StrictlyBetween(2, std::nan(""), 3));
  EXPECT_EQ(CrossingTime(0, 10, 0.0, 1.0, 0.25), 3) << "trunc(2.5 + 0.5)";
  EXPECT_EQ(CrossingTime(0, 10, 0.0, 1.0, 0.24), 2);
  EXPECT_EQ(CrossingTime(100, 110, 5.0, -5.0, 0.0), 105) << "falling";
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(CrossingTime(0, 10, -inf, inf, 0.0), 0) << "no number: the earlier time";
  EXPECT_EQ(CrossingTime(0, 10, 0.0, 1e-300, 1.0), 10) << "beyond the pair: its end";
  EXPECT_EQ(CrossingTime(kTimeMax - 10, kTimeMax - 1, 0.0, 1.0, 0.999999), kTimeMax - 1);
  EXPECT_DOUBLE_EQ(LinearValue(0, 10, 1.0, 3.0, 5), 2.0);
  EXPECT_DOUBLE_EQ(LinearValue(7, 7, 1.0, 3.0, 7), 1.0) << "one point: its value";
}

// Periodic and aperiodic blocks answer the value at a time and the time of a value.
TEST(DataBlockValues, EachFixtureCase) {
  const std::map<std::string, uint32_t> modes{
      {"exact", kValueExact}, {"hold", kValueHold}, {"interpolate", kValueInterpolate}};
  for (const auto table = testing::Fixture("outing/block_values.json"); const auto& b : table["blocks"]) {
    std::vector<double> values;
    for (const auto& v : b["values"]) values.push_back(testing::FixtureNumber(v));
    auto block = b.contains("periodic") ? testing::PeriodicBlock(b["periodic"][0].get<KivTime>(),
                                                                 b["periodic"][1].get<KivTime>(), values)
                                        : testing::AperiodicBlock(b["times"].get<std::vector<KivTime>>(), values);
    for (const auto& c : b.value("value_at", nlohmann::json::array())) {
      double value = -1;
      const KivResult r = block->GetValueAt(testing::FixtureTime(c[0]), modes.at(c[1].get<std::string>()), &value);
      EXPECT_EQ(ResultName(r), c[2].get<std::string>()) << b << c;
      if (!c[3].is_null()) {
        EXPECT_EQ(value, c[3].get<double>()) << b << c;
      }
    }
    for (const auto& c : b.value("time_of", nlohmann::json::array())) {
      KivTime time = -1;
      const KivResult r = block->FindTimeOfValue(testing::FixtureNumber(c[0]), c[1].get<uint32_t>(), &time);
      EXPECT_EQ(ResultName(r), c[2].get<std::string>()) << b << c;
      if (!c[3].is_null()) {
        EXPECT_EQ(time, c[3].get<KivTime>()) << b << c;
      }
    }
  }
}

TEST(DataBlockBase, OffsetMovesStartAndEndAndMustFit) {
  auto block = testing::PeriodicBlock(100, 10, {1, 2, 3});
  EXPECT_EQ(block->SetTimeOffset(50), S_OK);
  EXPECT_EQ(Got(block, &Block::GetStartTime), 150);
  EXPECT_EQ(Got(block, &Block::GetEndTime), 170);
  EXPECT_EQ(block->firstTime(), 100) << "stored times keep no offset";
  EXPECT_EQ(block->SetTimeOffset(kTimeMax - 110), E_INVALIDARG);
  EXPECT_EQ(block->timeOffset(), 50);
  EXPECT_TRUE(OffsetFits(100, 120, kTimeMax - 121));
  EXPECT_FALSE(OffsetFits(100, 120, kTimeMax - 120)) << "the end would be the unbounded extreme";
  EXPECT_FALSE(OffsetFits(-100, 120, kTimeMin + 50));
}

TEST(DataBlockBase, BooleansAreAllOnesOrZeroAndCopiesAreTheCallersOwn) {
  auto block = testing::AperiodicBlock({1, 2}, {1, 2}, true);
  EXPECT_EQ(Got(block, &Block::GetContinuous), -1);
  EXPECT_EQ(Got(block, &Block::GetPeriodic), 0);
  EXPECT_EQ(block->GetContinuous(nullptr), E_POINTER);
  block = testing::PeriodicBlock(0, 5, {4, 5});
  const std::vector<double> values = Got(block, &Block::GetValues);
  EXPECT_NE(values.data(), Got(block, &Block::GetValuesReference).data());
  EXPECT_EQ(Got(block, &Block::GetTimes), (std::vector<KivTime>{0, 5}));
  EXPECT_EQ(values, (std::vector<double>{4, 5}));
  KivTime t = 0;
  double v = 0;
  ASSERT_EQ(block->GetSample(1, &t, &v), S_OK);
  EXPECT_EQ(t, 5);
  EXPECT_EQ(v, 5.0);
  EXPECT_EQ(block->GetSample(0, nullptr, &v), E_POINTER);
}

TEST(DataBlocks, CountsFromOneAndKeepsTheIteratorAlive) {
  ComPtr<IKivDataBlocks> blocks;
  {
    auto it = testing::Iterator({testing::PeriodicBlock(0, 10, {1, 2}), testing::PeriodicBlock(100, 10, {3})});
    ASSERT_EQ(it->GetDataBlocks(blocks.Put()), S_OK);
  }
  EXPECT_EQ(Got(blocks, &IKivDataBlocks::GetCount), 2u);
  ComPtr<IKivDataBlock> block;
  EXPECT_EQ(blocks->GetBlock(0, block.Put()), DISP_E_BADINDEX);
  EXPECT_FALSE(block);
  EXPECT_EQ(blocks->GetBlock(3, block.Put()), DISP_E_BADINDEX);
  ASSERT_EQ(blocks->GetBlock(2, block.Put()), S_OK);
  EXPECT_EQ(Got(block, &IKivDataBlock::GetStartTime), 100);
  EXPECT_EQ(blocks->GetBlock(1, nullptr), E_POINTER);

  auto list = MakeKiv<CDataBlocks>(nullptr, nullptr);
  EXPECT_EQ(Got(list, &IKivDataBlocks::GetCount), 0u) << "no list counts zero";
  EXPECT_EQ(list->GetBlock(1, block.Put()), DISP_E_BADINDEX);
  EXPECT_EQ(list->GetCount(nullptr), E_POINTER);
}

TEST(LockedArray, SharesElementsWithoutCopying) {
  std::vector<double> source{1.0, 2.0, 3.0};
  const double* where = source.data();
  auto a = LockedArray<double>::FromVector(std::move(source));
  EXPECT_EQ(a.data(), where) << "the vector's own buffer";
  LockedArray<double> b = a;
  EXPECT_EQ(b.data(), where);
  EXPECT_EQ(a.use_count(), 2);
  EXPECT_TRUE(b.Writable().empty()) << "only a maker of an uninitialised array may write";

  auto owner = std::make_shared<std::vector<double>>(std::vector<double>{4.0, 5.0});
  auto borrowed = LockedArray<double>::Borrow(*owner, owner);
  EXPECT_EQ(borrowed.data(), owner->data());
  std::weak_ptr<std::vector<double>> watch = owner;
  owner.reset();
  EXPECT_FALSE(watch.expired()) << "the array keeps its owner alive";
  EXPECT_EQ(borrowed.view()[1], 5.0);

  auto fresh = LockedArray<KivTime>::Uninitialized(3);
  ASSERT_EQ(fresh.Writable().size(), 3u);
  fresh.Writable()[2] = 9;
  EXPECT_EQ(fresh.view()[2], 9);
}

LockedArray<double> Values(size_t n) { return LockedArray<double>::FromVector(std::vector<double>(n, 1.0)); }
LockedArray<KivTime> Times(std::vector<KivTime> t) { return LockedArray<KivTime>::FromVector(std::move(t)); }

TEST(DataSection, PeriodicKnowsItsLastTimeAndBuildsTimesOnce) {
  std::shared_ptr<const DataSection> s;
  ASSERT_EQ(DataSection::MakePeriodic(Values(4), 100, 25, &s), S_OK);
  EXPECT_TRUE(s->periodic());
  EXPECT_EQ(s->lastTime(), 175);
  EXPECT_EQ(s->sampleCount(), 4u);
  const LockedArray<KivTime>& times = s->Times();
  ASSERT_EQ(times.size(), 4u);
  EXPECT_EQ(times.view()[3], 175);
  EXPECT_EQ(s->Times().data(), times.data()) << "made once, then shared";
}

TEST(DataSection, PeriodicRefusesBadIntervalsAndRangesAperiodicChecksItsTimes) {
  std::shared_ptr<const DataSection> s;
  EXPECT_EQ(DataSection::MakePeriodic(Values(3), 0, 0, &s), E_INVALIDARG) << "zero interval";
  EXPECT_EQ(DataSection::MakePeriodic(Values(3), 0, -5, &s), E_INVALIDARG) << "negative interval";
  EXPECT_EQ(DataSection::MakePeriodic(Values(0), 0, 5, &s), E_INVALIDARG) << "no samples";
  EXPECT_EQ(DataSection::MakePeriodic(Values(3), kTimeMax - 10, 5, &s), E_INVALIDARG) << "runs into the extreme";
  EXPECT_EQ(DataSection::MakePeriodic(Values(3), kTimeMax - 10, kTimeMax / 2, &s), E_INVALIDARG) << "overflow";
  EXPECT_EQ(DataSection::MakePeriodic(Values(1), kTimeMin, 5, &s), E_INVALIDARG) << "unbounded start";
  EXPECT_EQ(DataSection::MakePeriodic(Values(1), 0, 5, nullptr), E_POINTER);
  EXPECT_FALSE(s);
  EXPECT_EQ(DataSection::MakeAperiodic(Values(3), Times({1, 2}), &s), E_INVALIDARG) << "length";
  EXPECT_EQ(DataSection::MakeAperiodic(Values(3), Times({1, 3, 2}), &s), E_INVALIDARG) << "decreasing";
  EXPECT_EQ(DataSection::MakeAperiodic(Values(2), Times({kTimeMin, 2}), &s), E_INVALIDARG);
  EXPECT_EQ(DataSection::MakeAperiodic(Values(2), Times({-kTimeMax + 1, kTimeMax - 1}), &s), E_INVALIDARG)
      << "span past the tick range";
  ASSERT_EQ(DataSection::MakeAperiodic(Values(3), Times({1, 1, 7}), &s), S_OK) << "equal times are allowed";
  EXPECT_FALSE(s->periodic());
  EXPECT_EQ(s->interval(), 0);
  EXPECT_EQ(s->firstTime(), 1);
  EXPECT_EQ(s->lastTime(), 7);
}

TEST(DataSection, PeriodicTimesAreMadeOnceUnderConcurrentReaders) {
  std::shared_ptr<const DataSection> s;
  ASSERT_EQ(DataSection::MakePeriodic(LockedArray<double>::FromVector(std::vector<double>(1000, 0.0)), 5, 2, &s),
            S_OK);
  std::vector<const KivTime*> seen(4, nullptr);
  std::vector<std::thread> readers;
  for (size_t i = 0; i < seen.size(); ++i) {
    readers.emplace_back([&s, &seen, i] { seen[i] = s->Times().data(); });
  }
  for (auto& r : readers) r.join();
  for (const KivTime* p : seen) EXPECT_EQ(p, seen[0]);
  EXPECT_EQ(s->Times().view()[999], 5 + 2 * 999);
}

}  // namespace
}  // namespace velmar
