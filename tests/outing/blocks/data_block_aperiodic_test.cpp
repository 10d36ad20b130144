#include "outing/blocks/data_block_aperiodic.h"

#include <gtest/gtest.h>

#include "outing/data_block_test_util.h"
#include "support/fixtures.h"

namespace velmar {
namespace {

using testing::AperiodicSection;
using testing::FixtureTime;
using testing::SearchMode;
using testing::SearchResult;

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
