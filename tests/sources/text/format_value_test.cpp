#include "sources/text/format_value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "support/fixtures.h"

namespace velmar {
namespace {

std::string Format(double v) {
  char buf[kFormatValueSize];
  size_t n = FormatValue(v, buf);
  EXPECT_EQ(std::strlen(buf), n);
  return std::string(buf, n);
}

// What printf makes by the documented rule.
std::string Reference(double v) {
  char buf[64];
  double m = std::fabs(v);
  if (m < 9999.9999995) {
    std::snprintf(buf, sizeof buf, "%.*f", 6, v);
  } else if (m < 9999999999.5) {
    std::snprintf(buf, sizeof buf, "%#.*g", 10, v);
    size_t n = std::strlen(buf);
    if (n && buf[n - 1] == '.') buf[n - 1] = '\0';
  } else {
    std::snprintf(buf, sizeof buf, "%#.*e", 4, v);
  }
  return buf;
}

std::string Seconds(double s) {
  std::string out;
  AppendSeconds(out, s);
  return out;
}

TEST(FormatValue, EachFixtureCaseAndNonFiniteValues) {
  for (const auto table = testing::Fixture("sources/formatted_values.json"); const auto& c : table["cases"]) {
    EXPECT_EQ(Format(c[0].get<double>()), c[1].get<std::string>()) << c[0];
  }
  // The double nearest 9999.9999995 lies just below it: ten digits round down.
  EXPECT_EQ(Format(9999.9999995), Reference(9999.9999995));
  EXPECT_EQ(Format(std::numeric_limits<double>::infinity()), Reference(std::numeric_limits<double>::infinity()));
  EXPECT_EQ(Format(-std::numeric_limits<double>::infinity()), "-inf");
  EXPECT_EQ(Format(std::nan("")), Reference(std::nan("")));
}

TEST(FormatValue, MatchesPrintfAcrossMagnitudes) {
  std::mt19937_64 rng(7);
  std::uniform_real_distribution<double> mantissa(1.0, 10.0);
  std::uniform_int_distribution<int> exponent(-12, 14);
  for (int i = 0; i < 200000; ++i) {
    double v = mantissa(rng) * std::pow(10.0, exponent(rng)) * ((rng() & 1) ? -1 : 1);
    ASSERT_EQ(Format(v), Reference(v)) << v;
  }
  for (double edge : {9999.9999995, 9999999999.5, 99999.999995, 999999.99995, 9999999.9995}) {
    for (int k = -64; k <= 64; ++k) {
      double v = std::nextafter(edge, k < 0 ? 0.0 : 1e300);
      for (int s = 0; s < std::abs(k); ++s) v = std::nextafter(v, k < 0 ? 0.0 : 1e300);
      ASSERT_EQ(Format(v), Reference(v)) << v;
    }
  }
}

TEST(FormatValue, TimesHaveSevenDecimals) {
  EXPECT_EQ(Seconds(1.5), "1.5000000");
  EXPECT_EQ(Seconds(-0.0000001), "-0.0000001");
  EXPECT_EQ(Seconds(1.0 / 256), "0.0039062");  // an exact tie rounds to even, as printf does
  std::string out;
  AppendTime(out, 12'345'678, 2'345'678);
  EXPECT_EQ(out, "1.0000000");
  std::mt19937_64 rng(3);
  for (int i = 0; i < 50000; ++i) {
    double s = static_cast<double>(static_cast<int64_t>(rng() % 100'000'000'000ull)) / 1e7;
    char buf[64];
    std::snprintf(buf, sizeof buf, "%.7f", s);
    ASSERT_EQ(Seconds(s), buf);
  }
}

}  // namespace
}  // namespace velmar
