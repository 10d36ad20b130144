#include "velmar/format_time.h"

#include <gtest/gtest.h>

#include "support/fixtures.h"
#include "velmar/text.h"

namespace velmar {
namespace {

TEST(FormatTime, EachFixtureCase) {
  for (const auto table = testing::Fixture("outing/format_time.json"); const auto& c : table["cases"]) {
    const KivTime time = testing::FixtureTime(c[0]);
    const auto text = c[5].is_null() ? FormatTime(time, c[1], c[2], c[3], c[4])
                                     : FormatTime(time, c[1], c[2], c[3], c[4], Utf8ToWide(c[5].get<std::string>()));
    EXPECT_EQ(text ? WideToUtf8(*text) : "<nothing>", c[6].is_null() ? "<nothing>" : c[6].get<std::string>()) << c;
  }
}

}  // namespace
}  // namespace velmar
