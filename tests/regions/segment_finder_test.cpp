#include "regions/segment_finder.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <tuple>

#include "support/fixtures.h"

#include "fake_segment_outing.h"
#include "support/got.h"
#include "regions_listener.h"
#include "outing/data_block_test_util.h"
#include "regions/circuit_map.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using Json = nlohmann::json;

ComPtr<CCircuitMap> MapOf(const Json& json) {
  auto map = MakeKiv<CCircuitMap>();
  std::u16string error;
  EXPECT_EQ(map->LoadJson(json.dump(), &error), S_OK) << WideToUtf8(error);
  return map;
}

class SegmentRegionsTest : public ::testing::TestWithParam<size_t> {};

TEST_P(SegmentRegionsTest, RegionsAreTheHandWorkedOnes) {
  static const Json all = Fixture("segment_regions.json");
  const Json& c = all["cases"][GetParam()];
  SCOPED_TRACE(c["name"].get<std::string>());
  auto outing = MakeKiv<SegmentOuting>();
  const auto span = c["span"].get<std::vector<KivTime>>();
  std::tie(outing->start, outing->end, outing->moved, outing->stopped) = std::tie(span[0], span[1], span[2], span[3]);
  outing->movementKnown = c.value("movement_known", true);
  for (const Json& m : c["markers"]) outing->markers.push_back({m[0].get<KivTime>(), m[1].get<uint32_t>(), m[2].get<bool>()});

  auto finder = MakeKiv<CSegmentFinder>(CBrandedOutingInformation(CDataFactoryBrandingHelper()));
  ASSERT_EQ(finder->SetOuting(outing.Get()), S_OK);
  if (!c["map"].is_null()) finder->SetCircuitMapData(MapOf(all["maps"][c["map"].get<std::string>()]).Get());
  if (!c["values"].is_null()) {
    auto channel = MakeKiv<FakePositionChannel>();
    channel->pending = c.value("pending", false);
    channel->iterator =
        Iterator({PeriodicBlock(c.value("first", KivTime{0}), 10,
                                 all["values"][c["values"].get<std::string>()].get<std::vector<double>>())});
    finder->SetPositionChannel(channel.Get());
  }

  EXPECT_EQ(RegionRows(Got(finder, &CSegmentFinder::GetRegions).Get()), c["regions"]);
}

INSTANTIATE_TEST_SUITE_P(Fixture, SegmentRegionsTest,
                         ::testing::Range(size_t{0}, Fixture("segment_regions.json")["cases"].size()));

TEST(SegmentFinder, MapMarkerAndDataChangesThrowTheRegionsAwayAndNoRootRefuses) {
  const Json all = Fixture("segment_regions.json");
  auto outing = MakeKiv<SegmentOuting>();
  outing->markers.push_back({60, 1, false});
  auto finder = MakeKiv<CSegmentFinder>(CBrandedOutingInformation(CDataFactoryBrandingHelper()));
  ASSERT_EQ(finder->SetOuting(outing.Get()), S_OK);
  auto map = MapOf(all["maps"]["abc"]);
  finder->SetCircuitMapData(map.Get());
  auto channel = MakeKiv<FakePositionChannel>();
  channel->iterator = Iterator({PeriodicBlock(0, 10, all["values"]["wrap"].get<std::vector<double>>())});
  finder->SetPositionChannel(channel.Get());
  ComPtr<IKivTimeRegions> regions;
  ASSERT_EQ(finder->GetRegions(regions.Put()), S_OK);
  RegionsListener changes(finder.Get());
  std::u16string error;
  ASSERT_EQ(map->LoadJson(all["maps"]["one"].dump(), &error), S_OK);
  EXPECT_EQ(changes.count, 2) << "segments and markers changed; the lap length did not";
  ASSERT_EQ(finder->GetRegions(regions.Put()), S_OK);
  EXPECT_EQ(changes.count, 3);
  outing->FireMarkersChanged();
  channel->FireDataChanged();
  EXPECT_EQ(changes.count, 5);
  EXPECT_EQ(Got(finder, &CSegmentFinder::GetDefaultRegionName), u"First Segment");
  EXPECT_EQ(Got(finder, &CSegmentFinder::GetDefaultRegion), 1);

  auto plain = MakeKiv<FakeLapOuting>();  // no channels, so no root
  plain->markers.push_back({60, 1, false});
  ASSERT_EQ(finder->SetOuting(plain.Get()), S_OK);
  EXPECT_EQ(Got(Got(finder, &CSegmentFinder::GetRegions), &IKivTimeRegions::GetCount), 0);
}

}  // namespace
}  // namespace velmar::testing
