#include "sources/tarn/tarn_lap_data.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace velmar {
namespace {

TarnLapMarker Marker(KivTime base, KivTime offset = 0, double origin = 0.0) {
  TarnLapMarker m{};
  m.baseTime = base;
  m.timeOffset = offset;
  m.distanceOrigin = origin;
  return m;
}

TEST(TakeLapData, MarkersInTheSpanAreTakenWithTheFirstOrigin) {
  std::vector<TarnLapMarker> markers{Marker(10, 2, 150.5), Marker(50, 0, 9.0)};
  TarnLapData data;
  ASSERT_TRUE(TakeLapData(0, 100, S_OK, 5, 95, markers, &data));
  EXPECT_EQ(data.span.outingStart, 0);
  EXPECT_EQ(data.span.outingEnd, 100);
  ASSERT_TRUE(data.span.movement);
  EXPECT_EQ(data.span.movement->first, 5);
  EXPECT_EQ(data.distanceOrigin, 150.5);
  EXPECT_EQ(data.MarkerTimes(), (std::vector<KivTime>{12, 50}));
}

TEST(TakeLapData, NoMovementRangeIsNoFailure) {
  TarnLapData data;
  ASSERT_TRUE(TakeLapData(0, 100, S_FALSE, 0, 0, {}, &data));
  EXPECT_FALSE(data.span.movement);
  EXPECT_EQ(data.distanceOrigin, 0.0);
  ASSERT_TRUE(TakeLapData(0, 100, E_FAIL, 70, 3, {}, &data));
  EXPECT_FALSE(data.span.movement);
}

TEST(TakeLapData, AnswersThatDoNotHoldTogetherFail) {
  TarnLapData data;
  data.distanceOrigin = 42.0;
  EXPECT_FALSE(TakeLapData(100, 99, S_FALSE, 0, 0, {}, &data));
  EXPECT_FALSE(TakeLapData(0, 100, S_OK, 60, 50, {}, &data));
  std::vector<TarnLapMarker> nan{Marker(10, 0, std::numeric_limits<double>::quiet_NaN())};
  EXPECT_FALSE(TakeLapData(0, 100, S_FALSE, 0, 0, nan, &data));
  std::vector<TarnLapMarker> late{Marker(10), Marker(101)};
  EXPECT_FALSE(TakeLapData(0, 100, S_FALSE, 0, 0, late, &data));
  std::vector<TarnLapMarker> early{Marker(-1)};
  EXPECT_FALSE(TakeLapData(0, 100, S_FALSE, 0, 0, early, &data));
  EXPECT_EQ(data.distanceOrigin, 42.0) << "a failed take leaves the data as it was";
}

}  // namespace
}  // namespace velmar
