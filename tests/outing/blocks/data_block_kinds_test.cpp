#include "outing/blocks/data_block_periodic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "outing/blocks/data_block_aperiodic.h"
#include "outing/data_block_test_util.h"
#include "support/fixtures.h"

namespace velmar {
namespace {

using testing::FixtureTime;
using testing::PeriodicBlock;
using testing::SearchMode;
using testing::SearchResult;
using testing::PeriodicSection;

// Samples at 100, 110, 120, 130, 140.
const PeriodicRun kRun{100, 10, 5};

TEST(PeriodicFindSample, EachFixtureCase) {
  for (const auto table = testing::Fixture("outing/periodic_find.json"); const auto& c : table["cases"]) {
    uint32_t index = 99;
    EXPECT_EQ(FindPeriodicSample(kRun, FixtureTime(c[0]), FixtureTime(c[1]), FixtureTime(c[2]), SearchMode(c[3]),
                                 &index),
              SearchResult(c[4]))
        << c;
    if (!c[5].is_null()) {
      EXPECT_EQ(index, c[5].get<uint32_t>()) << c;
    }
  }
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
  std::span<const double> values;
  ASSERT_EQ(block->GetValuesReference(&values), S_OK);
  EXPECT_EQ(values.data(), section->values().data());
  KivTime interval = 0;
  EXPECT_EQ(block->GetInterval(&interval), S_OK);
  EXPECT_EQ(interval, 10);
  KivBool periodic = 0;
  ASSERT_EQ(block->GetPeriodic(&periodic), S_OK);
  EXPECT_EQ(periodic, KIV_TRUE);
  std::vector<double> copy;
  ASSERT_EQ(block->GetValues(&copy), S_OK);
  EXPECT_EQ(copy, (std::vector<double>{1, 2, 3}));
}

TEST(CPeriodicOutingDataBlock, TimeArrayIsSharedAtOffsetZeroAndPrivateOtherwise) {
  auto section = PeriodicSection(100, 10, {1, 2, 3});
  ComPtr<CPeriodicOutingDataBlock> block;
  ASSERT_EQ(CPeriodicOutingDataBlock::Create(section, 4, 0, true, &block), S_OK);
  std::span<const KivTime> times;
  ASSERT_EQ(block->GetTimesReference(&times), S_OK);
  EXPECT_EQ(times.data(), section->Times().data());
  EXPECT_TRUE(block->timesShared());

  ASSERT_EQ(block->SetTimeOffset(1000), S_OK);
  EXPECT_EQ(block->StartTime(), 1100);
  EXPECT_EQ(block->EndTime(), 1120);
  ASSERT_EQ(block->GetTimesReference(&times), S_OK);
  EXPECT_NE(times.data(), section->Times().data());
  EXPECT_FALSE(block->timesShared());
  EXPECT_EQ(std::vector<KivTime>(times.begin(), times.end()), (std::vector<KivTime>{1100, 1110, 1120}));

  ASSERT_EQ(block->SetTimeOffset(0), S_OK);
  ASSERT_EQ(block->GetTimesReference(&times), S_OK);
  EXPECT_EQ(times.data(), section->Times().data());
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

TEST(CPeriodicOutingDataBlock, IndexesAroundATime) {
  auto block = PeriodicBlock(100, 10, {1, 2, 3, 4});
  EXPECT_EQ(block->FirstIndexAtOrAfter(100), 0);
  EXPECT_EQ(block->FirstIndexAtOrAfter(101), 1);
  EXPECT_EQ(block->FirstIndexAtOrAfter(131), 4);
  EXPECT_EQ(block->LastIndexAtOrBefore(99), -1);
  EXPECT_EQ(block->LastIndexAtOrBefore(119), 1);
  EXPECT_EQ(block->LastIndexAtOrBefore(kTimeMax), 3);
}

using testing::AperiodicSection;

const std::vector<KivTime> kTimes{0, 10, 20, 40, 80};

TEST(AperiodicFindSample, EachFixtureCase) {
  for (const auto table = testing::Fixture("outing/aperiodic_find.json"); const auto& c : table["cases"]) {
    uint32_t index = 99;
    EXPECT_EQ(FindAperiodicSample(kTimes, FixtureTime(c[0]), FixtureTime(c[1]), FixtureTime(c[2]), SearchMode(c[3]),
                                  &index),
              SearchResult(c[4]))
        << c;
    if (!c[5].is_null()) {
      EXPECT_EQ(index, c[5].get<uint32_t>()) << c;
    }
  }
}

TEST(AperiodicFindSample, BadArguments) {
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
  std::span<const KivTime> times;
  ASSERT_EQ(block->GetTimesReference(&times), S_OK);
  EXPECT_EQ(times.data(), section->Times().data());

  ASSERT_EQ(block->SetTimeOffset(100), S_OK);
  EXPECT_FALSE(block->timesShared());
  ASSERT_EQ(block->GetTimesReference(&times), S_OK);
  EXPECT_EQ(std::vector<KivTime>(times.begin(), times.end()), (std::vector<KivTime>{100, 110, 125}));
  ASSERT_EQ(block->SetTimeOffset(-7), S_OK);
  ASSERT_EQ(block->GetTimesReference(&times), S_OK);
  EXPECT_EQ(std::vector<KivTime>(times.begin(), times.end()), (std::vector<KivTime>{-7, 3, 18}));
  EXPECT_EQ(block->StartTime(), -7);
  EXPECT_EQ(block->EndTime(), 18);

  ASSERT_EQ(block->SetTimeOffset(0), S_OK);
  EXPECT_TRUE(block->timesShared());
  ASSERT_EQ(block->GetTimesReference(&times), S_OK);
  EXPECT_EQ(times.data(), section->Times().data());
  EXPECT_EQ(section->Times().view()[1], 10) << "the shared array never moved";
}

TEST(CAperiodicOutingDataBlock, IntervalIsZeroAndUnexpected) {
  auto block = testing::AperiodicBlock({0, 10}, {1, 2});
  KivTime interval = 5;
  EXPECT_EQ(block->GetInterval(&interval), E_UNEXPECTED);
  EXPECT_EQ(interval, 0);
  KivBool periodic = KIV_TRUE;
  ASSERT_EQ(block->GetPeriodic(&periodic), S_OK);
  EXPECT_EQ(periodic, KIV_FALSE);
  EXPECT_EQ(&block->GetIntervalReference(), &testing::AperiodicBlock({1}, {1})->GetIntervalReference())
      << "one static zero";
}

TEST(CAperiodicOutingDataBlock, RefusesAPeriodicSection) {
  ComPtr<CAperiodicOutingDataBlock> block;
  EXPECT_EQ(CAperiodicOutingDataBlock::Create(testing::PeriodicSection(0, 1, {1, 2}), 0, 0, false, &block),
            E_INVALIDARG);
  ComPtr<IKivDataBlockImplBase> any;
  EXPECT_EQ(MakeOutingDataBlock(nullptr, 0, 0, false, &any), E_INVALIDARG);
  EXPECT_EQ(MakeOutingDataBlock(AperiodicSection({1}, {1}), 0, 0, false, nullptr), E_POINTER);
}

TEST(CAperiodicOutingDataBlock, IndexesAroundATime) {
  auto block = testing::AperiodicBlock({0, 10, 10, 25}, {1, 2, 3, 4});
  EXPECT_EQ(block->FirstIndexAtOrAfter(10), 1);
  EXPECT_EQ(block->LastIndexAtOrBefore(10), 2);
  EXPECT_EQ(block->FirstIndexAtOrAfter(26), 4);
  EXPECT_EQ(block->LastIndexAtOrBefore(-1), -1);
}

}  // namespace
}  // namespace velmar
