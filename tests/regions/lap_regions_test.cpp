#include "regions/lap_regions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "fake_lap_outing.h"
#include "support/fixtures.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using nlohmann::json;

KivTime Ticks(const json& seconds) { return std::llround(seconds.get<double>() * kSec); }

// A region as the fixtures write it: [start, end, name, auxiliary], times in seconds.
std::string Show(KivTime start, KivTime end, const std::string& name, bool auxiliary) {
  return "[" + std::to_string(start) + ", " + std::to_string(end) + ", " + name + (auxiliary ? ", aux]" : "]");
}
std::string Show(const TimeRegion& r) { return Show(r.start, r.end, WideToUtf8(r.name), r.auxiliary); }
std::string Show(const json& r) { return Show(Ticks(r[0]), Ticks(r[1]), r[2], r.size() > 3 && r[3].get<bool>()); }

class LapLayouts : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: the outing (times in seconds; markers, the 1-based ones halted,
// the 1-based one whose read fails), whether it is live and the lap time
// predicted, then the regions built: all of them, the first few or the last,
// and the result and first-marker-on-the-start flag where they matter.
TEST_P(LapLayouts, BuildTheCasesRegions) {
  const json c = ReadFixture(GetParam());
  const json& o = c["outing"];
  auto outing = MakeKiv<FakeLapOuting>();
  outing->end = Ticks(o.value("end", json(100)));
  outing->moved = Ticks(o.value("moved", json(0)));
  outing->stopped = Ticks(o.value("stopped", json(100)));
  outing->movementKnown = o.value("movement_known", true);
  for (const json& t : o.value("markers", json::array())) {
    outing->markers.push_back({Ticks(t), uint32_t(outing->markers.size() + 1), false});
  }
  for (const json& n : o.value("halted", json::array())) outing->markers[n.get<size_t>() - 1].halted = true;
  outing->failMarkerRead = o.value("fail_marker_read", 0);

  LapRegionsInput input;
  input.markers = outing.Get();
  input.realTime = c.value("live", false);
  input.predictedLapTime = Ticks(c.value("predicted", json(0)));
  input.unmarkedLapName = [] { return std::u16string(u"Lap 1"); };
  CTimeRegionSet set;
  bool firstAtStart = false;
  const KivResult result = BuildLapRegions(input, &set, &firstAtStart);
  std::vector<std::string> got;
  for (size_t i = 0; i < set.size(); ++i) got.push_back(Show(set.at(i)));

  if (c.contains("result")) {
    EXPECT_STREQ(ResultName(result), c["result"].get<std::string>().c_str());
  }
  if (c.contains("first_at_start")) {
    EXPECT_EQ(firstAtStart, c["first_at_start"].get<bool>());
  }
  std::vector<std::string> want;
  for (const json& r : c.value("regions", c.value("starts_with", json::array()))) want.push_back(Show(r));
  if (c.contains("starts_with")) got.resize(std::min(got.size(), want.size()));
  if (c.contains("regions") || c.contains("starts_with")) {
    EXPECT_EQ(got, want);
  }
  if (c.contains("ends_with")) {
    ASSERT_FALSE(got.empty());
    EXPECT_EQ(got.back(), Show(c["ends_with"]));
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, LapLayouts, FixtureCases("regions/lap_layouts"), FixtureName);

}  // namespace
}  // namespace velmar::testing
