#include "outing/blocks/data_block_periodic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "outing/blocks/data_block_aperiodic.h"
#include "outing/blocks/data_block_owned.h"
#include "outing/data_block_test_util.h"
#include "support/got.h"
#include "support/fixtures.h"

namespace velmar {
namespace {

using testing::FixtureTime;
using testing::PeriodicBlock;
using testing::SearchMode;
using testing::SearchResult;
using testing::PeriodicSection;
using testing::Got;
using Block = IKivDataBlock;

// The times a block's reference shows, copied out.
template <class P>
std::vector<KivTime> TimesOf(const ComPtr<P>& block) {
  const std::span<const KivTime> times = Got(block, &Block::GetTimesReference);
  return {times.begin(), times.end()};
}

// Samples at 100, 110, 120, 130, 140.
const PeriodicRun kRun{100, 10, 5};

// Walks a search table: [lo, hi, time, mode, result, index or null].
template <class Find>
void EachSearchCase(const char* fixture, Find find) {
  for (const auto table = testing::Fixture(fixture); const auto& c : table["cases"]) {
    uint32_t index = 99;
    EXPECT_EQ(find(FixtureTime(c[0]), FixtureTime(c[1]), FixtureTime(c[2]), SearchMode(c[3]), &index),
              SearchResult(c[4]))
        << c;
    if (!c[5].is_null()) {
      EXPECT_EQ(index, c[5].get<uint32_t>()) << c;
    }
  }
}

TEST(PeriodicFindSample, EachFixtureCase) {
  EachSearchCase("outing/periodic_find.json", [](KivTime lo, KivTime hi, KivTime t, int32_t mode, uint32_t* index) {
    return FindPeriodicSample(kRun, lo, hi, t, mode, index);
  });
  uint32_t index = 0;
  EXPECT_EQ(FindPeriodicSample(kRun, 100, 140, 110, 3, &index), E_INVALIDARG);
  EXPECT_EQ(FindPeriodicSample(kRun, 100, 140, 110, -1, &index), E_INVALIDARG);
  EXPECT_EQ(FindPeriodicSample(kRun, 100, 140, 110, 0, nullptr), E_POINTER);
}

TEST(PeriodicTimeOfValue, NaNAndInfiniteSamplesAreSafe) {
  const double inf = std::numeric_limits<double>::infinity();
  const std::vector<double> v{std::nan(""), -inf, inf, 3.0, 4.0};
  KivTime t = 0;
  EXPECT_EQ(PeriodicTimeOfValue(kRun, v, 1.0, kCrossingInterpolated, &t), S_FALSE);
  EXPECT_GE(t, 110);
  EXPECT_LE(t, 120) << "a crossing between infinities stays between their times";
}

TEST(CPeriodicOutingDataBlock, ReadsTheSectionWithoutCopying) {
  auto section = PeriodicSection(100, 10, {1, 2, 3});
  auto block = testing::Block(section);
  EXPECT_EQ(Got(block, &Block::GetValuesReference).data(), section->values().data());
  EXPECT_EQ(Got(block, &Block::GetInterval), 10);
  EXPECT_EQ(Got(block, &Block::GetPeriodic), KIV_TRUE);
  EXPECT_EQ(Got(block, &Block::GetValues), (std::vector<double>{1, 2, 3}));
}

TEST(CPeriodicOutingDataBlock, TimeArrayIsSharedAtOffsetZeroAndPrivateOtherwise) {
  auto section = PeriodicSection(100, 10, {1, 2, 3});
  ComPtr<CPeriodicOutingDataBlock> block;
  ASSERT_EQ(CPeriodicOutingDataBlock::Create(section, 4, 0, true, &block), S_OK);
  EXPECT_EQ(Got(block, &Block::GetTimesReference).data(), section->Times().data());
  EXPECT_TRUE(block->timesShared());

  ASSERT_EQ(block->SetTimeOffset(1000), S_OK);
  EXPECT_EQ(block->StartTime(), 1100);
  EXPECT_EQ(block->EndTime(), 1120);
  EXPECT_NE(Got(block, &Block::GetTimesReference).data(), section->Times().data());
  EXPECT_FALSE(block->timesShared());
  EXPECT_EQ(TimesOf(block), (std::vector<KivTime>{1100, 1110, 1120}));

  ASSERT_EQ(block->SetTimeOffset(0), S_OK);
  EXPECT_EQ(Got(block, &Block::GetTimesReference).data(), section->Times().data());
  EXPECT_EQ(block->blockIndex(), 4u);
  EXPECT_TRUE(block->continuous());
}

TEST(CPeriodicOutingDataBlock, RefusesBadInput) {
  ComPtr<CPeriodicOutingDataBlock> block;
  EXPECT_EQ(CPeriodicOutingDataBlock::Create(testing::AperiodicSection({1, 2}, {1, 2}), 0, 0, false, &block),
            E_INVALIDARG);
  EXPECT_EQ(CPeriodicOutingDataBlock::Create(nullptr, 0, 0, false, &block), E_INVALIDARG);
  EXPECT_EQ(CPeriodicOutingDataBlock::Create(PeriodicSection(0, 1, {1}), 0, kTimeMax, false, &block),
            E_INVALIDARG)
      << "offset onto the unbounded extreme";
  ASSERT_EQ(CPeriodicOutingDataBlock::Create(PeriodicSection(0, 1, {1}), 0, 0, false, &block), S_OK);
  EXPECT_EQ(block->SetTimeOffset(kTimeMin), E_INVALIDARG);
  EXPECT_EQ(block->timeOffset(), 0) << "a refused offset changes nothing";
  EXPECT_EQ(block->GetStartTime(nullptr), E_POINTER);
  EXPECT_EQ(block->GetTimes(nullptr), E_POINTER);
  EXPECT_EQ(block->GetValuesReference(nullptr), E_POINTER);
  KivTime t = 0;
  double v = 0;
  EXPECT_EQ(block->GetSample(1, &t, &v), E_FAIL) << "past the last sample";
  EXPECT_EQ(block->GetTimeAt(1, &t), E_FAIL);
}

TEST(OutingDataBlocks, IndexesAroundATimeInBothKinds) {
  auto block = PeriodicBlock(100, 10, {1, 2, 3, 4});
  EXPECT_EQ(block->FirstIndexAtOrAfter(100), 0);
  EXPECT_EQ(block->FirstIndexAtOrAfter(101), 1);
  EXPECT_EQ(block->FirstIndexAtOrAfter(131), 4);
  EXPECT_EQ(block->LastIndexAtOrBefore(99), -1);
  EXPECT_EQ(block->LastIndexAtOrBefore(119), 1);
  EXPECT_EQ(block->LastIndexAtOrBefore(kTimeMax), 3);
  auto aperiodic = testing::AperiodicBlock({0, 10, 10, 25}, {1, 2, 3, 4});
  EXPECT_EQ(aperiodic->FirstIndexAtOrAfter(10), 1);
  EXPECT_EQ(aperiodic->LastIndexAtOrBefore(10), 2);
  EXPECT_EQ(aperiodic->FirstIndexAtOrAfter(26), 4);
  EXPECT_EQ(aperiodic->LastIndexAtOrBefore(-1), -1);
}

using testing::AperiodicSection;

const std::vector<KivTime> kTimes{0, 10, 20, 40, 80};

TEST(AperiodicFindSample, EachFixtureCaseAndBadArguments) {
  EachSearchCase("outing/aperiodic_find.json", [](KivTime lo, KivTime hi, KivTime t, int32_t mode, uint32_t* index) {
    return FindAperiodicSample(kTimes, lo, hi, t, mode, index);
  });
  uint32_t index = 0;
  EXPECT_EQ(FindAperiodicSample(kTimes, 0, 80, 10, 3, &index), E_INVALIDARG);
  EXPECT_EQ(FindAperiodicSample(kTimes, 0, 80, 10, -2, &index), E_INVALIDARG);
  EXPECT_EQ(FindAperiodicSample(kTimes, 0, 80, 10, 0, nullptr), E_POINTER);
  EXPECT_EQ(FindAperiodicSample({}, 0, 80, 10, 0, &index), E_FAIL);
}

TEST(CAperiodicOutingDataBlock, OffsetMakesAPrivateArrayAndZeroTakesTheSharedOneBack) {
  auto section = AperiodicSection({0, 10, 25}, {1, 2, 3});
  ComPtr<CAperiodicOutingDataBlock> block;
  ASSERT_EQ(CAperiodicOutingDataBlock::Create(section, 0, 0, false, &block), S_OK);
  EXPECT_EQ(Got(block, &Block::GetTimesReference).data(), section->Times().data());

  ASSERT_EQ(block->SetTimeOffset(100), S_OK);
  EXPECT_FALSE(block->timesShared());
  EXPECT_EQ(TimesOf(block), (std::vector<KivTime>{100, 110, 125}));
  ASSERT_EQ(block->SetTimeOffset(-7), S_OK);
  EXPECT_EQ(TimesOf(block), (std::vector<KivTime>{-7, 3, 18}));
  EXPECT_EQ(block->StartTime(), -7);
  EXPECT_EQ(block->EndTime(), 18);

  ASSERT_EQ(block->SetTimeOffset(0), S_OK);
  EXPECT_TRUE(block->timesShared());
  EXPECT_EQ(Got(block, &Block::GetTimesReference).data(), section->Times().data());
  EXPECT_EQ(section->Times().view()[1], 10) << "the shared array never moved";
}

TEST(CAperiodicOutingDataBlock, IntervalIsZeroAndUnexpectedAndAPeriodicSectionIsRefused) {
  auto block = testing::AperiodicBlock({0, 10}, {1, 2});
  KivTime interval = 5;
  EXPECT_EQ(block->GetInterval(&interval), E_UNEXPECTED);
  EXPECT_EQ(interval, 0);
  EXPECT_EQ(Got(block, &Block::GetPeriodic), KIV_FALSE);
  EXPECT_EQ(&block->GetIntervalReference(), &testing::AperiodicBlock({1}, {1})->GetIntervalReference())
      << "one static zero";
  ComPtr<CAperiodicOutingDataBlock> made;
  EXPECT_EQ(CAperiodicOutingDataBlock::Create(testing::PeriodicSection(0, 1, {1, 2}), 0, 0, false, &made),
            E_INVALIDARG);
  ComPtr<IKivDataBlockImplBase> any;
  EXPECT_EQ(MakeOutingDataBlock(nullptr, 0, 0, false, &any), E_INVALIDARG);
  EXPECT_EQ(MakeOutingDataBlock(AperiodicSection({1}, {1}), 0, 0, false, nullptr), E_POINTER);
}

// Computes value = 2 x the sample's time, and records each call.
class Doubler final : public IKivDataBlockOwner {
 public:
  KivResult ComputeValues(IKivDataBlockImplBase& block, uint32_t first, uint32_t last,
                          std::span<double> values) override {
    calls.push_back({first, last});
    if (fail) return E_FAIL;
    for (uint32_t i = first; i <= last; ++i) {
      KivTime t = 0;
      if (Failed(block.GetTimeAt(i, &t))) return E_FAIL;
      values[i] = 2.0 * static_cast<double>(t);
    }
    return S_OK;
  }
  struct Call {
    uint32_t first;
    uint32_t last;
    friend bool operator==(const Call&, const Call&) = default;
  };
  std::vector<Call> calls;
  bool fail = false;
};

ComPtr<CPeriodicOwnedDataBlock> Periodic(Doubler* owner, uint32_t count = 10) {
  ComPtr<CPeriodicOwnedDataBlock> block;
  EXPECT_EQ(CPeriodicOwnedDataBlock::Create(owner, 100, 10, count, &block), S_OK);
  return block;
}

using Dirty = std::pair<uint32_t, int64_t>;
Dirty Span(const DirtyRange& d) { return {d.first(), d.last()}; }

TEST(DirtyRange, MarksMergesAndMovesWithDrops) {
  DirtyRange d;
  EXPECT_FALSE(d.IsDirty());
  d.Mark(3, 5);
  d.Mark(8, 9);
  EXPECT_EQ(Span(d), Dirty(3, 9));
  d.Mark(6, 2);  // empty: nothing
  EXPECT_EQ(d.first(), 3u);
  d.DropFirst(4);
  EXPECT_EQ(Span(d), Dirty(0, 5));
  d.DropAfter(2);
  EXPECT_EQ(d.last(), 2);
  d.DropFirst(3);
  EXPECT_FALSE(d.IsDirty()) << "everything dirty was dropped";
  d.Mark(4, 6);
  d.DropAfter(3);
  EXPECT_FALSE(d.IsDirty());
  d.MarkAll(5);
  EXPECT_EQ(d.last(), 4);
}

TEST(CPeriodicOwnedDataBlock, OwnerComputesDirtyValuesOnRead) {
  Doubler owner;
  auto block = Periodic(&owner);
  EXPECT_TRUE(block->IsDirty()) << "a new block is all dirty";
  EXPECT_EQ(Got(block, &Block::GetValuesReference)[3], 260.0);
  EXPECT_EQ(owner.calls, (std::vector<Doubler::Call>{{0, 9}}));
  EXPECT_FALSE(block->IsDirty());
  (void)Got(block, &Block::GetValuesReference);
  EXPECT_EQ(owner.calls.size(), 1u) << "clean values are not computed again";

  block->MarkDirtyRange(125, 142);
  EXPECT_EQ(Span(block->dirtyRange()), Dirty(2, 5)) << "every sample touching the range";
  double v = 0;
  ASSERT_EQ(block->GetValueAt(130, kValueExact, &v), S_OK);
  EXPECT_EQ(owner.calls.back(), (Doubler::Call{2, 5}));
  block->MarkDirtyRange(500, 600);
  EXPECT_FALSE(block->IsDirty()) << "a range off the block marks nothing";
}

TEST(CPeriodicOwnedDataBlock, FailedComputeKeepsTheBlockDirty) {
  Doubler owner;
  owner.fail = true;
  auto block = Periodic(&owner);
  std::span<const double> values;
  EXPECT_EQ(block->GetValuesReference(&values), E_FAIL);
  EXPECT_TRUE(block->IsDirty());
  block->DetachOwner();
  EXPECT_EQ(block->GetValuesReference(&values), S_OK) << "no owner: the values as they are";
}

TEST(CPeriodicOwnedDataBlock, TrimBeforeAndAfterMoveTheEnds) {
  Doubler owner;
  auto block = Periodic(&owner);  // 100..190
  ASSERT_EQ(block->TrimBefore(125), S_OK);
  EXPECT_EQ(block->StartTime(), 130) << "an off-grid time keeps the next sample";
  EXPECT_EQ(block->GetSampleCount(), 7u);
  ASSERT_EQ(block->TrimAfter(175), S_OK);
  EXPECT_EQ(block->EndTime(), 170);
  EXPECT_EQ(block->GetSampleCount(), 5u);
  EXPECT_EQ(Got(block, &Block::GetTimes), (std::vector<KivTime>{130, 140, 150, 160, 170}));
  EXPECT_EQ(block->TrimBefore(500), E_INVALIDARG) << "nothing would be left";
  EXPECT_EQ(block->TrimAfter(0), E_INVALIDARG);
  EXPECT_EQ(block->GetSampleCount(), 5u);
}

TEST(CPeriodicOwnedDataBlock, ResizeGrowsTheGridWithDirtySamplesAndAnOffsetMovesIt) {
  Doubler owner;
  auto block = Periodic(&owner, 3);
  (void)Got(block, &Block::GetValuesReference);
  ASSERT_EQ(block->Resize(5), S_OK);
  EXPECT_EQ(block->EndTime(), 140);
  EXPECT_EQ(Span(block->dirtyRange()), Dirty(3, 4));
  EXPECT_EQ(Got(block, &Block::GetValuesReference)[4], 280.0);
  ASSERT_EQ(block->Resize(2), S_OK);
  EXPECT_EQ(block->EndTime(), 110);
  EXPECT_EQ(block->Resize(0), E_INVALIDARG);
  ASSERT_EQ(block->SetTimeOffset(-100), S_OK) << "an offset rebuilds the private time array";
  EXPECT_EQ(Got(block, &Block::GetTimes), (std::vector<KivTime>{0, 10}));
}

TEST(OwnedDataBlocks, RefuseBadShapesAndTimes) {
  ComPtr<CPeriodicOwnedDataBlock> block;
  EXPECT_EQ(CPeriodicOwnedDataBlock::Create(nullptr, 0, 0, 5, &block), E_INVALIDARG);
  EXPECT_EQ(CPeriodicOwnedDataBlock::Create(nullptr, 0, -1, 5, &block), E_INVALIDARG);
  EXPECT_EQ(CPeriodicOwnedDataBlock::Create(nullptr, 0, 1, 0, &block), E_INVALIDARG);
  EXPECT_EQ(CPeriodicOwnedDataBlock::Create(nullptr, 0, 1, 5, nullptr), E_POINTER);
  ComPtr<CAPeriodicOwnedDataBlock> aperiodic;
  EXPECT_EQ(CAPeriodicOwnedDataBlock::Create(nullptr, {}, &aperiodic), E_INVALIDARG);
  EXPECT_EQ(CAPeriodicOwnedDataBlock::Create(nullptr, {5, 4}, &aperiodic), E_INVALIDARG);
  EXPECT_EQ(CAPeriodicOwnedDataBlock::Create(nullptr, {kTimeMin, 4}, &aperiodic), E_INVALIDARG);
}

TEST(CAPeriodicOwnedDataBlock, OwnsItsTimesAndMovesThemWithTheOffset) {
  Doubler owner;
  ComPtr<CAPeriodicOwnedDataBlock> block;
  ASSERT_EQ(CAPeriodicOwnedDataBlock::Create(&owner, {0, 5, 20, 21}, &block), S_OK);
  ASSERT_EQ(block->SetTimeOffset(10), S_OK);
  ASSERT_EQ(block->SetTimeOffset(30), S_OK);
  EXPECT_EQ(Got(block, &Block::GetTimes), (std::vector<KivTime>{30, 35, 50, 51}));
  EXPECT_EQ(Got(block, &Block::GetValues), (std::vector<double>{60, 70, 100, 102}));

  block->MarkDirtyRange(36, 49);
  EXPECT_EQ(Span(block->dirtyRange()), Dirty(1, 2));
  ASSERT_EQ(block->TrimBefore(40), S_OK);
  EXPECT_EQ(block->StartTime(), 50);
  EXPECT_EQ(block->firstTime(), 20);
  EXPECT_EQ(Span(block->dirtyRange()), Dirty(0, 0)) << "the dirty range moved with the samples";
  ASSERT_EQ(block->TrimAfter(50), S_OK);
  EXPECT_EQ(block->GetSampleCount(), 1u);
  EXPECT_EQ(block->EndTime(), 50);
  EXPECT_EQ(block->Resize(2), E_INVALIDARG) << "no times for new samples";
}

}  // namespace
}  // namespace velmar
