#include "outing/events/event_search.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/fixtures.h"

namespace velmar {
namespace {

struct Found {
  KivResult result;
  int32_t index;
};

// Searches `times` over their own span, or over [lo, hi] when given.
Found Search(const std::vector<KivTime>& times, KivTime t, uint32_t mode, std::optional<KivTime> lo = {},
             std::optional<KivTime> hi = {}) {
  int32_t index = -1;
  const KivResult r = FindEventIndex(
      times.size(), [&](size_t i) { return times[i]; }, t, mode, lo.value_or(times.front()),
      hi.value_or(times.back()), &index);
  return {r, index};
}

TEST(FindEvent, EachFixtureCase) {
  const std::map<std::string, uint32_t> modes{{"next after", 0}, {"last before", 1}, {"nearest", 2}};
  for (const auto table = testing::Fixture("outing/event_search.json"); const auto& c : table["cases"]) {
    const auto bound = [](const nlohmann::json& v) {
      return v.is_null() ? std::nullopt : std::optional(v.get<KivTime>());
    };
    const Found f = Search(c[0].get<std::vector<KivTime>>(), c[1].get<KivTime>(), modes.at(c[2].get<std::string>()),
                           bound(c[3]), bound(c[4]));
    EXPECT_EQ(ResultName(f.result), c[5].get<std::string>()) << c;
    if (!c[6].is_null()) {
      EXPECT_EQ(f.index, c[6].get<int32_t>()) << c;
    }
  }
}

TEST(FindEvent, ALongList) {
  std::vector<KivTime> times;
  for (KivTime t = 0; t < 100000; ++t) times.push_back(t * 4);
  EXPECT_EQ(Search(times, 4 * 777 + 1, 0).index, 779);
  EXPECT_EQ(Search(times, 4 * 777 + 1, 2).index, 778);
}

TEST(FindEvent, BadArguments) {
  int32_t index = 7;
  EXPECT_EQ(FindEventIndex(1, [](size_t) { return KivTime{0}; }, 0, 3, 0, 0, &index), E_INVALIDARG);
  EXPECT_EQ(index, 0);
  EXPECT_EQ(FindEventIndex(1, [](size_t) { return KivTime{0}; }, 0, 0, 0, 0, nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar
