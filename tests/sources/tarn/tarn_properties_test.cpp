#include "sources/tarn/tarn_properties.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>
#include <vector>

#include "support/fixtures.h"

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

TEST(FindFastLap, EachFixtureCase) {
  constexpr KivTime kS = kTicksPerSecond;
  for (const auto table = testing::Fixture("sources/tarn_fast_lap.json"); const auto& c : table["cases"]) {
    std::vector<KivTime> markers;
    for (const auto& m : c[0]) markers.push_back(m.get<KivTime>() * kS);
    TarnLapSpan span{};
    if (!c[1].is_null()) {
      span = {c[1][0].get<KivTime>() * kS, c[1][1].get<KivTime>() * kS, std::nullopt};
      if (!c[1][2].is_null()) {
        span.movement = std::pair{c[1][2].get<KivTime>() * kS, c[1][3].get<KivTime>() * kS};
      }
    }
    const auto fast = FindFastLap(markers, span, c[2].get<KivTime>() * kS);
    ASSERT_EQ(fast.has_value(), !c[3].is_null()) << c;
    if (!fast) continue;
    if (!c[3][0].is_null()) {
      EXPECT_EQ(fast->index, c[3][0].get<uint32_t>()) << c;
    }
    EXPECT_EQ(fast->time, c[3][1].get<KivTime>() * kS) << c;
  }
}

}  // namespace
}  // namespace velmar
