#include "outing/time/time.h"

#include <gtest/gtest.h>

#include "support/fixtures.h"
#include "velmar/format_time.h"
#include "velmar/text.h"

namespace velmar {
namespace {

TEST(Time, SecondsAndTickCountsRoundHalfAwayFromZeroAndBack) {
  const auto table = testing::Fixture("outing/ticks.json");
  for (const auto& c : table["seconds"]) {
    const auto ticks = c[1].is_null() ? std::nullopt : std::optional(c[1].get<KivTime>());
    EXPECT_EQ(TicksFromSeconds(testing::FixtureNumber(c[0])), ticks) << c;
  }
  for (const auto& c : table["round"]) EXPECT_EQ(RoundTicks(c[0].get<double>()), c[1].get<KivTime>()) << c;
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

TEST(FormatTime, EachFixtureCase) {
  for (const auto table = testing::Fixture("outing/format_time.json"); const auto& c : table["cases"]) {
    const KivTime time = testing::FixtureTime(c[0]);
    const int format = c[1], decimals = c[2];
    const bool strip = c[3], unit = c[4];
    const auto text = c[5].is_null() ? FormatTime(time, format, decimals, strip, unit)
                                     : FormatTime(time, format, decimals, strip, unit, Utf8ToWide(c[5].get<std::string>()));
    EXPECT_EQ(text ? WideToUtf8(*text) : "<nothing>", c[6].is_null() ? "<nothing>" : c[6].get<std::string>()) << c;
  }
}

}  // namespace
}  // namespace velmar
