#include "sources/text/text_number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "sources/text/text_format.h"
#include "support/fixtures.h"

namespace velmar {
namespace {

// Same bits, or both NaN.
void ExpectSameDouble(double a, double b, const std::string& what) {
  if (std::isnan(a) || std::isnan(b)) {
    EXPECT_TRUE(std::isnan(a) && std::isnan(b)) << what;
    return;
  }
  EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0) << what << ": " << a << " vs " << b;
}

TEST(TextNumber, AgreesWithAtofOnTrickyStrings) {
  for (const auto table = testing::Fixture("sources/number_texts.json"); const auto& text : table["cases"]) {
    const std::string held = text.get<std::string>();
    const char* s = held.c_str();
    ParsedNumber n = ParseNumber(s);
    ExpectSameDouble(n.value, std::atof(s), std::string("\"") + s + "\"");
    char* end = nullptr;
    std::strtod(s, &end);
    EXPECT_EQ(n.converted, end != s) << s;
  }
}

TEST(TextNumber, AgreesWithAtofOnRandomDecimals) {
  std::mt19937_64 rng(42);
  std::uniform_int_distribution<int> digits(1, 25), exponent(-330, 310), len(0, 6);
  for (int i = 0; i < 20000; ++i) {
    std::string s = (rng() & 1) ? "-" : "";
    int n = digits(rng);
    for (int k = 0; k < n; ++k) s += static_cast<char>('0' + rng() % 10);
    if (rng() & 1) s.insert(s.size() - static_cast<size_t>(rng() % n), ".");
    if (rng() % 3 == 0) s += "e" + std::to_string(exponent(rng));
    ExpectSameDouble(ParseNumber(s).value, std::atof(s.c_str()), s);
  }
}

TEST(TextNumber, TellsTrailingCharacters) {
  EXPECT_FALSE(ParseNumber("1.5").trailing);
  EXPECT_FALSE(ParseNumber("1.5  ").trailing);
  EXPECT_TRUE(ParseNumber("1.5x").trailing);
  EXPECT_TRUE(ParseNumber("0x").trailing);
  EXPECT_FALSE(ParseNumber("abc").converted);
  EXPECT_FALSE(ParseNumber(" ").converted);
}

TEST(TextNumber, ReadsOnlyTheFirst4095Characters) {
  // 4094 digits, then an exponent that the cut leaves behind.
  std::string cut = "1" + std::string(4093, '0') + "e-4093";
  EXPECT_EQ(std::atof(cut.c_str()), 1.0);
  EXPECT_TRUE(std::isinf(ParseNumber(cut).value));
  std::string fits = "1" + std::string(4088, '0') + "e-4088";
  ASSERT_EQ(fits.size(), kMaxToken);
  EXPECT_EQ(ParseNumber(fits).value, 1.0);
}

TEST(TextNumber, SecondsBecomeTicksRoundedHalfAwayFromZero) {
  EXPECT_EQ(SecondsToTicks(1.0), 10'000'000);
  EXPECT_EQ(SecondsToTicks(0.00000005), 1);  // 0.5 tick
  EXPECT_EQ(SecondsToTicks(-0.00000005), -1);
  EXPECT_EQ(SecondsToTicks(0.00000004), 0);
  EXPECT_EQ(SecondsToTicks(1e300), kTimeMax - 1);
  EXPECT_EQ(SecondsToTicks(-INFINITY), kTimeMin + 1);
  EXPECT_EQ(SecondsToTicks(NAN), std::nullopt);
}

TEST(TextNumber, TicksLessBaseAsSeconds) {
  EXPECT_DOUBLE_EQ(TicksToSeconds(25'000'000, 5'000'000), 2.0);
  EXPECT_DOUBLE_EQ(TicksToSeconds(kTimeMax, kTimeMin), 1.8446744073709552e12);  // no overflow
}

}  // namespace
}  // namespace velmar
