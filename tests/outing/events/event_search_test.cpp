#include "outing/events/event_search.h"

#include <gtest/gtest.h>

#include <vector>

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

constexpr uint32_t kNext = 0, kPrevious = 1, kNearest = 2;

TEST(FindEvent, ARunOfEqualTimesIsWalkedAsOne) {
  const std::vector<KivTime> times{1, 2, 2, 3};
  EXPECT_EQ(Search(times, 2, kNext).index, 4);
  EXPECT_EQ(Search(times, 2, kPrevious).index, 1);
  EXPECT_EQ(Search(times, 2, kNearest).index, 2);
}

TEST(FindEvent, BetweenEventsEachModeFindsItsNeighbour) {
  const std::vector<KivTime> times{0, 10, 20, 20, 30};
  EXPECT_EQ(Search(times, 14, kNext).index, 3);
  EXPECT_EQ(Search(times, 14, kPrevious).index, 2);
  EXPECT_EQ(Search(times, 14, kNearest).index, 2);
  EXPECT_EQ(Search(times, 16, kNearest).index, 3) << "nearer the run of 20: its first event";
  EXPECT_EQ(Search(times, 25, kPrevious).index, 3) << "the first event of the run below";
}

TEST(FindEvent, HalfWayGoesToTheLaterEvent) {
  EXPECT_EQ(Search({0, 10}, 5, kNearest).index, 2);
  EXPECT_EQ(Search({-11, -1}, -6, kNearest).index, 2);
  EXPECT_EQ(Search({-11, -1}, -7, kNearest).index, 1);
}

TEST(FindEvent, AtAndBeyondTheEnds) {
  const std::vector<KivTime> times{1, 2, 3};
  Found f = Search(times, 1, kPrevious);
  EXPECT_EQ(f.result, S_FALSE) << "nothing before the first event";
  EXPECT_EQ(f.index, 0);
  f = Search(times, 1, kNearest);
  EXPECT_EQ(f.result, S_OK);
  EXPECT_EQ(f.index, 1);
  EXPECT_EQ(Search(times, -50, kNext).index, 1);
  f = Search(times, 9, kNearest);
  EXPECT_EQ(f.result, S_OK);
  EXPECT_EQ(f.index, 3);
  EXPECT_EQ(Search(times, 9, kNext).result, S_FALSE);
  EXPECT_EQ(Search(times, 3, kNext).result, S_FALSE);
  EXPECT_EQ(Search(times, 3, kPrevious).index, 2);
}

TEST(FindEvent, ASingleEvent) {
  EXPECT_EQ(Search({5}, 5, kNearest).index, 1);
  EXPECT_EQ(Search({5}, 4, kNext).index, 1);
  EXPECT_EQ(Search({5}, 6, kPrevious).index, 1);
  EXPECT_EQ(Search({5}, 5, kNext).result, E_FAIL) << "the walk past the run leaves the list";
}

TEST(FindEvent, ABoundNarrowerThanTheListKeepsTheSearchInside) {
  const std::vector<KivTime> times{0, 10, 20, 30, 40};
  EXPECT_EQ(Search(times, 0, kNearest, 15, 35).index, 3) << "clamped to the first event inside";
  EXPECT_EQ(Search(times, 100, kNearest, 15, 35).index, 4);
  EXPECT_EQ(Search(times, 30, kNext, 15, 35).result, S_FALSE) << "the next event lies outside";
  EXPECT_EQ(Search(times, 15, kPrevious, 15, 35).result, S_FALSE);
}

TEST(FindEvent, LongListsAndExtremeTimes) {
  std::vector<KivTime> times;
  for (KivTime t = 0; t < 100000; ++t) times.push_back(t * 4);
  EXPECT_EQ(Search(times, 4 * 777 + 1, kNext).index, 779);
  EXPECT_EQ(Search(times, 4 * 777 + 1, kNearest).index, 778);
  EXPECT_EQ(Search({0, 3}, 1, kNearest).index, 2) << "the half-way point truncates: 1 counts as half way";
  EXPECT_EQ(Search({kTimeMin + 1, kTimeMax - 1}, 0, kNearest).index, 2) << "no overflow in the half-way sum";
}

TEST(FindEvent, BadArguments) {
  int32_t index = 7;
  EXPECT_EQ(FindEventIndex(1, [](size_t) { return KivTime{0}; }, 0, 3, 0, 0, &index), E_INVALIDARG);
  EXPECT_EQ(index, 0);
  EXPECT_EQ(FindEventIndex(1, [](size_t) { return KivTime{0}; }, 0, 0, 0, 0, nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar
