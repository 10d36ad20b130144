#include "sources/tarn/tarn_properties.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>
#include <vector>

namespace velmar {
namespace {

namespace p = tarn_property;
constexpr double kNow = 45000.0;  // a fixed "present" for the date rule

TarnOutingRecord FullRecord() {
  TarnOutingRecord r{};
  r.fastLapTime = 92 * kTicksPerSecond;
  r.createDate = 44000.25;
  r.trackName = u"Lakeside";
  r.driverName = u"A. Driver";
  r.shortComment = u"short";
  r.longComment = u"long";
  r.timeZone = u"CET";
  r.systemDetails = u"logger 3";
  r.carName = u"Car 7";
  r.sessionNumber = 4;
  r.outingNumber = 9;
  r.firstLapNumber = 1;
  r.fastLapNumber = 3;
  r.lastLapNumber = 12;
  r.datasetType = 2;
  r.utcDifference = 60;
  r.engineTest = 1;
  return r;
}

const Variant* Find(const TarnPropertyMap& map, std::u16string_view name) {
  auto it = map.find(std::u16string(name));
  return it == map.end() ? nullptr : &it->second;
}

TEST(OutingProperties, EveryFieldThatPassesItsRuleIsTakenWithItsType) {
  TarnPropertyMap map = OutingProperties(FullRecord(), kNow);
  EXPECT_EQ(map.size(), 17u);
  EXPECT_EQ(Find(map, p::kFastLapTime)->AsTime(), 92 * kTicksPerSecond);
  EXPECT_EQ(Find(map, p::kCreateDate)->AsF64(), 44000.25);
  EXPECT_EQ(*Find(map, p::kTrackName)->AsText(), u"Lakeside");
  EXPECT_EQ(*Find(map, p::kCarName)->AsText(), u"Car 7");
  EXPECT_EQ(*Find(map, p::kSystemDetails)->AsText(), u"logger 3");
  EXPECT_EQ(Find(map, p::kSessionNumber)->AsU32(), 4u);
  EXPECT_EQ(Find(map, p::kOutingNumber)->AsU32(), 9u);
  EXPECT_EQ(Find(map, p::kFastLapNumber)->AsU32(), 3u);
  EXPECT_EQ(Find(map, p::kLastLapNumber)->AsU32(), 12u);
  EXPECT_EQ(Find(map, p::kDatasetType)->AsU32(), 2u);
  EXPECT_EQ(Find(map, p::kUtcDifference)->AsI32(), 60);
  EXPECT_EQ(Find(map, p::kEngineTest)->AsBool(), true);
}

TEST(OutingProperties, NullTextsAreLeftOutButEmptyTextsAreKept) {
  TarnOutingRecord r = FullRecord();
  r.trackName = nullptr;
  r.carName = u"";
  TarnPropertyMap map = OutingProperties(r, kNow);
  EXPECT_EQ(Find(map, p::kTrackName), nullptr);
  ASSERT_NE(Find(map, p::kCarName), nullptr);
  EXPECT_EQ(*Find(map, p::kCarName)->AsText(), u"");
}

TEST(OutingProperties, CreateDateMustBeAfterTheEarliestAndLessThanAWeekAhead) {
  TarnOutingRecord r = FullRecord();
  auto taken = [&](double date) {
    r.createDate = date;
    return Find(OutingProperties(r, kNow), p::kCreateDate) != nullptr;
  };
  EXPECT_FALSE(taken(33000.0));
  EXPECT_TRUE(taken(33000.001));
  EXPECT_TRUE(taken(kNow + 6.99));
  EXPECT_FALSE(taken(kNow + 7.0));
  EXPECT_FALSE(taken(kNow + 30.0));
}

TEST(OutingProperties, UtcDifferenceIsTakenWithinTwelveHoursOnly) {
  TarnOutingRecord r = FullRecord();
  for (int32_t minutes : {720, -720, 0}) {
    r.utcDifference = minutes;
    EXPECT_EQ(Find(OutingProperties(r, kNow), p::kUtcDifference)->AsI32(), minutes);
  }
  for (int32_t minutes : {721, -721}) {
    r.utcDifference = minutes;
    EXPECT_EQ(Find(OutingProperties(r, kNow), p::kUtcDifference), nullptr) << minutes;
  }
}

TEST(OutingProperties, FastLapOutsideTheLapRangeLeavesOutBothFastLapProperties) {
  TarnOutingRecord r = FullRecord();
  for (uint32_t fast : {0u, 13u}) {
    r.fastLapNumber = fast;
    TarnPropertyMap map = OutingProperties(r, kNow);
    EXPECT_EQ(Find(map, p::kFastLapNumber), nullptr) << fast;
    EXPECT_EQ(Find(map, p::kFastLapTime), nullptr) << fast;
  }
  r.fastLapNumber = 12;  // the last lap counts
  EXPECT_NE(Find(OutingProperties(r, kNow), p::kFastLapTime), nullptr);
}

TEST(OutingProperties, LastLapBelowTheFirstIsLeftOutAndSoIsTheFastLap) {
  TarnOutingRecord r = FullRecord();
  r.firstLapNumber = 5;
  r.lastLapNumber = 4;
  r.fastLapNumber = 5;
  TarnPropertyMap map = OutingProperties(r, kNow);
  EXPECT_EQ(Find(map, p::kLastLapNumber), nullptr);
  EXPECT_EQ(Find(map, p::kFastLapNumber), nullptr);
  EXPECT_EQ(Find(map, p::kFirstLapNumber)->AsU32(), 5u);
}

TEST(OutingProperties, DatasetTypeAboveTwoIsLeftOutAndEngineTestIsAlwaysThere) {
  TarnOutingRecord r = FullRecord();
  r.datasetType = 3;
  r.engineTest = 0;
  TarnPropertyMap map = OutingProperties(r, kNow);
  EXPECT_EQ(Find(map, p::kDatasetType), nullptr);
  EXPECT_EQ(Find(map, p::kEngineTest)->AsBool(), false);
}

TEST(OutingProperties, TheClockIsTodayInDaysSince1899) {
  // 2020-01-01 is day 43831; any machine running this is later than that.
  EXPECT_GT(NowAsOleDate(), 43831.0);
  EXPECT_LT(NowAsOleDate(), 43831.0 + 365.0 * 100);
}

constexpr KivTime kS = kTicksPerSecond;
constexpr uint32_t kAnyIndex = ~0u;

TEST(FindFastLap, TheShortestLapAboveTheMinimumWithOneLapRunOverTheMovementOrTheOuting) {
  const TarnLapSpan moving{0, 100 * kS, std::pair{10 * kS, 95 * kS}};
  const TarnLapSpan still{2 * kS, 100 * kS, std::nullopt};
  const TarnLapSpan late{50 * kS, 100 * kS, std::nullopt};
  struct Row {
    std::vector<KivTime> markers;
    TarnLapSpan span;
    KivTime minimum;
    std::optional<std::pair<uint32_t, KivTime>> fast;  // index and time, or none
  };
  const Row rows[] = {
      // Two equal fastest laps give the later one.
      {{0, 90 * kS, 170 * kS, 250 * kS, 340 * kS}, {}, 5 * kS, std::pair{3u, 80 * kS}},
      // Among markers a lap equal to the minimum is rejected...
      {{0, 5 * kS, 15 * kS}, {}, 5 * kS, std::pair{2u, 10 * kS}},
      {{0, 5 * kS}, {}, 5 * kS, std::nullopt},
      // ...but one lap equal to it is accepted: from the first movement to the marker.
      {{15 * kS}, moving, 5 * kS, std::pair{0u, 5 * kS}},
      {{}, moving, 0, std::pair{kAnyIndex, 85 * kS}},
      {{}, still, 0, std::pair{kAnyIndex, 98 * kS}},
      // A marker not later than the first movement: the lap starts with the outing.
      {{10 * kS}, moving, 0, std::pair{kAnyIndex, 10 * kS}},
      // A negative or too short single lap counts for nothing.
      {{40 * kS}, late, 0, std::nullopt},
      {{}, late, 51 * kS, std::nullopt},
  };
  for (size_t i = 0; i < std::size(rows); ++i) {
    const Row& row = rows[i];
    auto fast = FindFastLap(row.markers, row.span, row.minimum);
    ASSERT_EQ(fast.has_value(), row.fast.has_value()) << "row " << i;
    if (!fast) continue;
    if (row.fast->first != kAnyIndex) {
      EXPECT_EQ(fast->index, row.fast->first) << "row " << i;
    }
    EXPECT_EQ(fast->time, row.fast->second) << "row " << i;
  }
}

}  // namespace
}  // namespace velmar
