#include "outing/time/time.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace velmar {
namespace {

TEST(Time, SecondsRoundHalfAwayFromZero) {
  EXPECT_EQ(TicksFromSeconds(1.0), 10'000'000);
  EXPECT_EQ(TicksFromSeconds(0.0), 0);
  EXPECT_EQ(TicksFromSeconds(-0.0), 0);
  // Half a tick is 5e-8 s.
  EXPECT_EQ(TicksFromSeconds(0.5e-7), 1);
  EXPECT_EQ(TicksFromSeconds(-0.5e-7), -1);
  EXPECT_EQ(TicksFromSeconds(0.49e-7), 0);
  EXPECT_EQ(TicksFromSeconds(-0.49e-7), 0);
  EXPECT_EQ(TicksFromSeconds(2.5e-7), 3);
  EXPECT_EQ(TicksFromSeconds(-2.5e-7), -3);
  EXPECT_EQ(TicksFromSeconds(-1.23456789), -12'345'679);
}

TEST(Time, RoundTicksIsTheSameRuleOnTicks) {
  EXPECT_EQ(RoundTicks(0.5), 1);
  EXPECT_EQ(RoundTicks(-0.5), -1);
  EXPECT_EQ(RoundTicks(1.4999), 1);
  EXPECT_EQ(RoundTicks(-1.5), -2);
  EXPECT_EQ(RoundTicks(0.49999999999999994), 0) << "the largest double below a half";
  EXPECT_EQ(RoundTicks(-0.49999999999999994), 0);
  EXPECT_EQ(RoundTicks(4503599627370497.0), 4503599627370497) << "2^52 + 1: whole, nothing to round";
  EXPECT_EQ(RoundTicks(9007199254740993.0), 9007199254740992) << "as the double holds it";
}

TEST(Time, SecondsThatHaveNoTickGiveNothing) {
  EXPECT_FALSE(TicksFromSeconds(std::nan("")));
  EXPECT_FALSE(TicksFromSeconds(std::numeric_limits<double>::infinity()));
  EXPECT_FALSE(TicksFromSeconds(-std::numeric_limits<double>::infinity()));
  EXPECT_FALSE(TicksFromSeconds(1e12)) << "1e19 ticks is past the range";
  EXPECT_FALSE(TicksFromSeconds(-1e12));
  EXPECT_TRUE(TicksFromSeconds(9e11)) << "9e18 ticks still fits";
}

TEST(Time, TicksBackToSeconds) {
  EXPECT_DOUBLE_EQ(SecondsFromTicks(15'000'000), 1.5);
  EXPECT_DOUBLE_EQ(SecondsFromTicks(-1), -1e-7);
}

TEST(Time, CheckedArithmeticNeverOverflows) {
  EXPECT_EQ(CheckedAddTicks(1, 2), 3);
  EXPECT_FALSE(CheckedAddTicks(kTimeMax, 1));
  EXPECT_FALSE(CheckedAddTicks(kTimeMin, -1));
  EXPECT_TRUE(SumExceeds(kTimeMax, 1, kTimeMax));
  EXPECT_FALSE(SumExceeds(kTimeMin, -1, kTimeMin));
  EXPECT_FALSE(SumExceeds(5, 5, 10));
  EXPECT_TRUE(SumExceeds(5, 6, 10));
}

TEST(Time, RangesStartEmptyAndMerge) {
  TimeRange changed;
  EXPECT_TRUE(changed.IsEmpty());
  EXPECT_EQ(changed, (TimeRange{kTimeMax, kTimeMin}));
  changed.Merge(TimeRange::Empty());
  EXPECT_TRUE(changed.IsEmpty());
  changed.Merge({10, 20});
  changed.Merge({5, 12});
  EXPECT_EQ(changed, (TimeRange{5, 20}));
  EXPECT_TRUE(TimeRange::Whole().Contains(kTimeMin));
  EXPECT_TRUE(TimeRange::Whole().Contains(kTimeMax));
  EXPECT_TRUE(IsUnboundedTime(kTimeMin));
  EXPECT_FALSE(IsUnboundedTime(0));
}

}  // namespace
}  // namespace velmar
