#include "regions/outing_finder.h"

#include <gtest/gtest.h>

#include "fake_lap_outing.h"
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
  ComPtr<IKivTimeRegions> regions;
  ASSERT_EQ(finder->GetRegions(regions.Put()), S_OK);
  EXPECT_EQ(RegionRows(regions.Get()), c["regions"]);
  int32_t index = 0;
  ASSERT_EQ(finder->GetDefaultRegion(&index), S_OK);
  EXPECT_EQ(index, c["default"].get<int32_t>());
}

INSTANTIATE_TEST_SUITE_P(Cases, OutingFinderCases, FixtureCases("regions/outing_finder"), FixtureName);

TEST(OutingFinderTest, FollowsTheMarkersAndRefusesAnOutingWithoutThem) {
  auto outing = MakeKiv<FakeLapOuting>();
  auto finder = MakeKiv<COutingFinder>();
  ASSERT_EQ(finder->SetOuting(outing.Get()), S_OK);
  ComPtr<IKivTimeRegions> regions;
  ASSERT_EQ(finder->GetRegions(regions.Put()), S_OK);
  outing->end = 200 * kSec;
  outing->stopped = 200 * kSec;
  outing->FireMarkersChanged();
  ASSERT_EQ(finder->GetRegions(regions.Put()), S_OK);
  KivTime end = 0;
  ASSERT_EQ(regions->GetEnd(1, &end), S_OK);
  EXPECT_EQ(end, 200 * kSec) << "rebuilt after the markers changed";
  std::u16string name;
  ASSERT_EQ(finder->GetDefaultRegionName(&name), S_OK);
  EXPECT_EQ(name, u"Whole Outing");
  int32_t index = 0;
  ASSERT_EQ(finder->SetOuting(nullptr), S_OK);
  EXPECT_EQ(finder->GetDefaultRegion(&index), KIV_E_NO_REGION);
}

}  // namespace
}  // namespace velmar::testing
