#include "velmar/format_time.h"

#include <gtest/gtest.h>

#include "support/fixtures.h"
#include "velmar/text.h"

namespace velmar {
namespace {

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
