#include "velmar/lap_compare.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "export/fake_channel.h"
#include "regions/lap_trace.h"
#include "support/fixtures.h"

namespace velmar {
namespace {

using nlohmann::json;

KivLapTrace TraceOf(const json& j) {
  KivLapTrace trace;
  for (const json& s : j["seconds"]) trace.times.push_back(std::llround(s.get<double>() * 1e7));
  trace.distances = j["distances"].get<std::vector<double>>();
  trace.values = j["values"].get<std::vector<double>>();
  return trace;
}

void ExpectValues(const std::vector<double>& got, const json& expected, const char* what) {
  ASSERT_EQ(got.size(), expected.size()) << what;
  for (size_t i = 0; i < got.size(); ++i) {
    if (expected[i].is_null()) {
      EXPECT_TRUE(std::isnan(got[i])) << what << " at " << i << ": " << got[i];
    } else {
      EXPECT_NEAR(got[i], expected[i].get<double>(), 1e-9) << what << " at " << i;
    }
  }
}

class LapCompareCases : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: a lap (seconds, distances, values), and what its grid, its
// resampling onto a grid, or its delta against a reference must give.
TEST_P(LapCompareCases, GridsResamplingAndDeltaGiveTheWorkedNumbers) {
  const json c = testing::ReadFixture(GetParam());
  const KivLapTrace lap = TraceOf(c["lap"]);
  if (c.contains("grid_step")) ExpectValues(KivDistanceGrid(KivLapLength(lap), c["grid_step"]), c["grid"], "grid");
  if (c.contains("resampled")) {
    std::vector<double> values;
    ASSERT_EQ(KivResampleOnDistance(lap, c["grid"].get<std::vector<double>>(), &values), S_OK);
    ExpectValues(values, c["resampled"], "resampled");
  }
  if (c.contains("delta")) {
    KivTimeDelta delta;
    ASSERT_EQ(KivComputeTimeDelta(lap, TraceOf(c["reference"]), c["step"], &delta), S_OK);
    ExpectValues(delta.distances, c["delta"]["distances"], "distances");
    ExpectValues(delta.seconds, c["delta"]["seconds"], "delta");
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, LapCompareCases, testing::FixtureCases("regions/lap_compare"), testing::FixtureName);

class LapTraceCases : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: the value and distance channels' blocks, a lap, and the trace
// read from them (times in ticks from the lap's start).
TEST_P(LapTraceCases, ATraceHoldsTheLapsEndsAndTheSamplesBetween) {
  const json c = testing::ReadFixture(GetParam());
  ComPtr<IKivChannelIterator2> values, distances;
  ASSERT_EQ(testing::MakeFakeChannel(c["values"])->GetIterator(values.Put()), S_OK);
  ASSERT_EQ(testing::MakeFakeChannel(c["distances"])->GetIterator(distances.Put()), S_OK);
  KivLapTrace trace;
  FillLapTrace(values.Get(), distances.Get(), LapSampleTimes(values.Get(), c["start"], c["end"]), &trace);
  EXPECT_EQ(trace.times, c["times"].get<std::vector<KivTime>>());
  ExpectValues(trace.values, c["trace_values"], "values");
  ExpectValues(trace.distances, c["trace_distances"], "distances");
}

INSTANTIATE_TEST_SUITE_P(Cases, LapTraceCases, testing::FixtureCases("regions/lap_traces"), testing::FixtureName);

TEST(LapCompare, RefusesTracesAndStepsItCannotWorkOn) {
  KivLapTrace byTime{{0, 10}, {1, 2}, {}};
  KivLapTrace standing{{0, 10}, {1, 2}, {0, 0}};
  KivLapTrace moving{{0, 10}, {1, 2}, {0, 5}};
  KivTimeDelta delta;
  std::vector<double> values;
  EXPECT_EQ(KivComputeTimeDelta(moving, byTime, 1.0, &delta), E_INVALIDARG);
  EXPECT_EQ(KivComputeTimeDelta(moving, standing, 1.0, &delta), E_INVALIDARG);
  EXPECT_EQ(KivComputeTimeDelta(moving, moving, 0.0, &delta), E_INVALIDARG);
  EXPECT_EQ(KivResampleOnDistance(moving, std::vector<double>{2, 1}, &values), E_INVALIDARG);
  EXPECT_EQ(KivResampleOnDistance(byTime, std::vector<double>{1}, &values), E_INVALIDARG);
  EXPECT_TRUE(KivDistanceGrid(10, 0).empty());
  EXPECT_EQ(KivDistanceGrid(0, 5), std::vector<double>{0});
}

// Where a great-circle step of `metres` on `bearing` from (lat, lon) lands.
std::pair<double, double> Destination(double lat, double lon, double bearing, double metres) {
  const double d = metres / 6371008.8;
  const double to = std::asin(std::sin(lat) * std::cos(d) + std::cos(lat) * std::sin(d) * std::cos(bearing));
  return {to, lon + std::atan2(std::sin(bearing) * std::sin(d) * std::cos(lat), std::cos(d) - std::sin(lat) * std::sin(to))};
}

TEST(TrackProjection, ACircleOnTheGroundStaysACircleOfTheSameSize) {
  constexpr double kRadius = 800.0;
  for (double centre : {0.0, 52.07, -71.5}) {
    std::vector<double> lats, lons;
    for (int i = 0; i < 360; i += 5) {
      const auto [lat, lon] = Destination(centre * std::numbers::pi / 180, 0.3, i * std::numbers::pi / 180, kRadius);
      lats.push_back(lat);
      lons.push_back(lon);
    }
    KivTrackPoints points;
    ASSERT_EQ(KivProjectTrack(lats, lons, &points), S_OK);
    for (size_t i = 0; i < points.x.size(); ++i) {
      EXPECT_NEAR(std::hypot(points.x[i], points.y[i]), kRadius, kRadius * 2e-3) << "latitude " << centre << ", point " << i;
    }
  }
}

TEST(TrackProjection, TakesTheShortWayAcrossTheDateLineAndDropsHoles) {
  const double pi = std::numbers::pi;
  const double east = pi - 1e-5, west = -pi + 1e-5;  // about 64 m either side of 180 degrees at the equator
  const std::vector<double> lats{0, NAN, 0};
  KivTrackPoints points;
  ASSERT_EQ(KivProjectTrack(lats, std::vector<double>{east, 0, west}, &points), S_OK);
  ASSERT_EQ(points.source, (std::vector<size_t>{0, 2}));
  EXPECT_NEAR(points.x[1] - points.x[0], 127.4, 0.5);
  EXPECT_EQ(KivProjectTrack(std::vector<double>{2.0}, std::vector<double>{0}, &points), E_INVALIDARG);
  EXPECT_EQ(KivProjectTrack(std::vector<double>{0, 0}, std::vector<double>{0}, &points), E_INVALIDARG);
}

}  // namespace
}  // namespace velmar
