#include "regions/outing_finder.h"

#include <gtest/gtest.h>

#include "fake_lap_outing.h"
#include "support/got.h"
#include "regions_listener.h"
#include "support/fixtures.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

class OutingFinderCases : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: the outing's span and movements (in ticks), the regions
// [name, start, end, auxiliary] the finder cuts and its default (1-based).
TEST_P(OutingFinderCases, CutsTheRunFromItsWaits) {
  const nlohmann::json c = ReadFixture(GetParam());
  auto outing = MakeKiv<FakeLapOuting>();
  outing->start = c["outing"]["start"].get<KivTime>();
  outing->end = c["outing"]["end"].get<KivTime>();
  outing->moved = c["outing"]["moved"].get<KivTime>();
  outing->stopped = c["outing"]["stopped"].get<KivTime>();
  outing->movementKnown = c["outing"]["known"].get<bool>();
  auto finder = MakeKiv<COutingFinder>();
  ASSERT_EQ(finder->SetOuting(outing.Get()), S_OK);
  EXPECT_EQ(RegionRows(Got(finder, &COutingFinder::GetRegions).Get()), c["regions"]);
  EXPECT_EQ(Got(finder, &COutingFinder::GetDefaultRegion), c["default"].get<int32_t>());
}

INSTANTIATE_TEST_SUITE_P(Cases, OutingFinderCases, FixtureCases("regions/outing_finder"), FixtureName);

TEST(OutingFinderTest, FollowsTheMarkersAndRefusesAnOutingWithoutThem) {
  auto outing = MakeKiv<FakeLapOuting>();
  auto finder = MakeKiv<COutingFinder>();
  ASSERT_EQ(finder->SetOuting(outing.Get()), S_OK);
  (void)Got(finder, &COutingFinder::GetRegions);  // built, so that the change must rebuild
  outing->end = 200 * kSec;
  outing->stopped = 200 * kSec;
  outing->FireMarkersChanged();
  EXPECT_EQ(RegionRows(Got(finder, &COutingFinder::GetRegions).Get())[0][2], 200 * kSec) << "rebuilt";
  EXPECT_EQ(Got(finder, &COutingFinder::GetDefaultRegionName), u"Whole Outing");
  int32_t index = 0;
  ASSERT_EQ(finder->SetOuting(nullptr), S_OK);
  EXPECT_EQ(finder->GetDefaultRegion(&index), KIV_E_NO_REGION);
}

}  // namespace
}  // namespace velmar::testing
