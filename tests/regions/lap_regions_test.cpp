#include "regions/lap_regions.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fake_lap_outing.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

struct Expected {
  KivTime start;
  KivTime end;
  std::u16string name;
  bool auxiliary = false;
  friend bool operator==(const Expected&, const Expected&) = default;
};

void PrintTo(const Expected& e, std::ostream* os) {
  *os << "[" << e.start << ", " << e.end << "] " << WideToUtf8(e.name) << (e.auxiliary ? " (aux)" : "");
}

class LapRegionsTest : public ::testing::Test {
 protected:
  std::vector<Expected> Build(bool realTime = false, KivTime predicted = 0) {
    LapRegionsInput input;
    input.markers = outing_.Get();
    input.realTime = realTime;
    input.predictedLapTime = predicted;
    input.unmarkedLapName = [] { return std::u16string(u"Lap 1"); };
    CTimeRegionSet set;
    result_ = BuildLapRegions(input, &set, &firstAtStart_);
    std::vector<Expected> out;
    for (size_t i = 0; i < set.size(); ++i) {
      const TimeRegion& r = set.at(i);
      out.push_back({r.start, r.end, r.name, r.auxiliary});
    }
    return out;
  }

  ComPtr<FakeLapOuting> outing_ = MakeKiv<FakeLapOuting>();
  KivResult result_ = E_UNEXPECTED;
  bool firstAtStart_ = false;
};

TEST_F(LapRegionsTest, EachMarkerEndsALapAndWhatFollowsIsOneMoreLap) {
  outing_->end = outing_->stopped = 25 * kSec;
  outing_->SetMarkers({10 * kSec, 20 * kSec});
  EXPECT_EQ(Build(), (std::vector<Expected>{{0, 10 * kSec, u"Lap 1"},
                                             {10 * kSec + 1, 20 * kSec, u"Lap 2"},
                                             {20 * kSec + 1, 25 * kSec, u"Lap 3"}}));
  EXPECT_EQ(result_, S_OK);
}

TEST_F(LapRegionsTest, AWarmUpStandsBeforeTheFirstMovementAndTheFirstLapStartsOnIt) {
  outing_->moved = 5 * kSec;
  outing_->SetMarkers({10 * kSec});
  auto regions = Build();
  ASSERT_GE(regions.size(), 2u);
  EXPECT_EQ(regions[0], (Expected{0, 5 * kSec - 1, u"Warm-up Events", true}));
  EXPECT_EQ(regions[1], (Expected{5 * kSec, 10 * kSec, u"Lap 1"}));
}

TEST_F(LapRegionsTest, AMarkerOnTheStartMakesNoRegionAndIsRemembered) {
  outing_->SetMarkers({0, 10 * kSec});
  auto regions = Build();
  EXPECT_TRUE(firstAtStart_);
  ASSERT_FALSE(regions.empty());
  EXPECT_EQ(regions[0], (Expected{1, 10 * kSec, u"Lap 2"}));
}

TEST_F(LapRegionsTest, ACoolDownFollowsTheLastMovementOnlyWhenTheLastLapEndedThere) {
  outing_->end = 30 * kSec;
  outing_->stopped = 20 * kSec;
  outing_->SetMarkers({10 * kSec});
  EXPECT_EQ(Build(), (std::vector<Expected>{{0, 10 * kSec, u"Lap 1"},
                                             {10 * kSec + 1, 20 * kSec, u"Lap 2"},
                                             {20 * kSec + 1, 30 * kSec, u"Cool-down Events", true}}));
  outing_->stopped = 5 * kSec;  // before the last marker: the last lap runs to the end
  EXPECT_EQ(Build().back(), (Expected{10 * kSec + 1, 30 * kSec, u"Lap 2"}));
}

TEST_F(LapRegionsTest, WithoutMarkersTheRunIsOneLapOrWhatTheOutingCallsIt) {
  outing_->movementKnown = false;
  EXPECT_EQ(Build(), (std::vector<Expected>{{0, 100 * kSec, u"Lap 1"}}));
  outing_->end = 0;  // no length at all
  EXPECT_TRUE(Build().empty());
  EXPECT_EQ(result_, E_FAIL);
}

TEST_F(LapRegionsTest, MarkersThatDoNotRiseMakeNoRegionButMoveTheCursor) {
  outing_->SetMarkers({20 * kSec, 10 * kSec, 30 * kSec});
  auto regions = Build();
  ASSERT_GE(regions.size(), 2u);
  EXPECT_EQ(regions[0], (Expected{0, 20 * kSec, u"Lap 1"}));
  EXPECT_EQ(regions[1], (Expected{10 * kSec + 1, 30 * kSec, u"Lap 3"}));
}

TEST_F(LapRegionsTest, ACarHaltNamesItsLapAndAFailedMarkerReadFailsTheBuild) {
  outing_->SetMarkers({10 * kSec});
  outing_->markers[0].halted = true;
  EXPECT_EQ(Build()[0].name, u"Lap 1 (Car Halt)");
  outing_->failMarkerRead = 1;
  Build();
  EXPECT_EQ(result_, E_FAIL);
}

TEST_F(LapRegionsTest, ALiveOutingWithoutMarkersShowsOneLapRoundedUpToTenSeconds) {
  outing_->end = 95 * kSec;
  EXPECT_EQ(Build(true), (std::vector<Expected>{{0, 100 * kSec, u"Lap ?"}}));
  outing_->end = 100 * kSec;  // an exact multiple still gains ten seconds
  EXPECT_EQ(Build(true), (std::vector<Expected>{{0, 110 * kSec, u"Lap ?"}}));
}

TEST_F(LapRegionsTest, ALiveOutingsCurrentLapIsPredictedFromTheLastLapOrTheCircuitMap) {
  outing_->end = 90 * kSec;
  outing_->SetMarkers({80 * kSec});
  auto regions = Build(true);
  ASSERT_EQ(regions.size(), 2u);
  EXPECT_EQ(regions[1], (Expected{80 * kSec + 1, 80 * kSec + 1 + 82 * kSec, u"Lap 2"}));
  regions = Build(true, 90 * kSec);
  EXPECT_EQ(regions[1].end - regions[1].start, 90 * kSec);
}

}  // namespace
}  // namespace velmar::testing
