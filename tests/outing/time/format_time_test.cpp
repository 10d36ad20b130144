#include "velmar/format_time.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

constexpr KivTime kSecond = kTicksPerSecond;

std::u16string Format(KivTime t, int format, int decimals, bool strip = false, bool unit = false) {
  return FormatTime(t, format, decimals, strip, unit, u".").value_or(u"<nothing>");
}

TEST(FormatTime, SecondsForm) {
  EXPECT_EQ(Format(12 * kSecond + 3'456'000, 0, 3), u"12.346");
  EXPECT_EQ(Format(0, 0, 3), u"0.000");
  EXPECT_EQ(Format(-kSecond, 0, 3), u"-1.000");
  EXPECT_EQ(Format(-kSecond, 0, 3, false, true), u"-1.000 sec");
  EXPECT_EQ(Format(1, 0, 7), u"0.0000001");
  EXPECT_EQ(Format(1, 0, 9), u"0.0000001") << "never more than 7 digits";
}

TEST(FormatTime, MinutesForm) {
  EXPECT_EQ(Format(65 * kSecond + 5'000'000, 1, 3), u"01:05.500");
  EXPECT_EQ(Format(-(65 * kSecond + 5'000'000), 1, 3), u"-01:05.500");
  EXPECT_EQ(Format(125 * 60 * kSecond, 1, 1, false, true), u"125:00.0 min:sec");
}

TEST(FormatTime, HoursForm) {
  const KivTime t = (2 * 3600 + 3 * 60 + 4) * kSecond + 1'234'567;
  EXPECT_EQ(Format(t, 2, 7), u"02:03:04.1234567");
  EXPECT_EQ(Format(-t, 2, 2, false, true), u"-02:03:04.12 hr:min:sec");
  EXPECT_EQ(Format(0, 2, 0), u"00:00:00");
}

TEST(FormatTime, RoundsHalfAwayFromZeroAtTheLastDigit) {
  EXPECT_EQ(Format(9'995'000, 0, 3), u"1.000") << "0.9995 s carries into the seconds";
  EXPECT_EQ(Format(9'994'999, 0, 3), u"0.999");
  EXPECT_EQ(Format(-9'995'000, 0, 3), u"-1.000");
  EXPECT_EQ(Format(59 * kSecond + 9'999'000, 1, 2), u"01:00.00") << "and into the minutes";
  EXPECT_EQ(Format(5'000'000, 0, 0), u"1");
  EXPECT_EQ(Format(4'999'999, 0, 0), u"0");
}

TEST(FormatTime, NegativeDecimalsMeanThree) {
  EXPECT_EQ(Format(kSecond / 4, 0, -1), u"0.250");
  EXPECT_EQ(Format(kSecond / 4, 0, -7), u"0.250");
}

TEST(FormatTime, StripZerosTakesTrailingZerosThenTheSeparator) {
  EXPECT_EQ(Format(kSecond + 2'500'000, 0, 5, true), u"1.25");
  EXPECT_EQ(Format(3 * kSecond, 0, 3, true), u"3");
  EXPECT_EQ(Format(-kSecond, 0, 3, true, true), u"-1 sec");
  EXPECT_EQ(Format(10 * kSecond, 0, 0, true), u"10") << "zeros of the whole part stay";
}

TEST(FormatTime, SeparatorComesFromTheCaller) {
  EXPECT_EQ(FormatTime(-kSecond, 0, 3, false, false, u","), u"-1,000");
  EXPECT_FALSE(FormatTime(kSecond, 0, 3, false, false, u""));
  EXPECT_EQ(FormatTime(kSecond / 2, 0, 1, false, false), u"0.5") << "the C locale's separator";
}

TEST(FormatTime, UnknownFormatOrUnboundedTimeGiveNothing) {
  EXPECT_FALSE(FormatTime(0, 3, 3, false, false));
  EXPECT_FALSE(FormatTime(0, -1, 3, false, false));
  EXPECT_FALSE(FormatTime(kTimeMin, 0, 3, false, false));
  EXPECT_FALSE(FormatTime(kTimeMax, 2, 3, false, false));
  EXPECT_EQ(Format(kTimeMax - 1, 0, 0), u"922337203685") << "the largest bounded time still formats";
  EXPECT_EQ(Format(kTimeMin + 1, 2, 7), u"-256204778:48:05.4775807");
}

}  // namespace
}  // namespace velmar
