#include "regions/circuit_map.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/got.h"
#include "support/fixtures.h"

#include "velmar/storage.h"
#include "velmar/text.h"
#include "support/scoped_sink.h"

namespace velmar::testing {
namespace {

using Json = nlohmann::json;

constexpr char kGood[] = R"({"name": "Halvane", "lap_length": 4000, "lap_time": 92.5,
  "markers": [{"name": "S/F", "distance": 0}, {"name": "T1", "distance": 1000.01}, {"name": "End", "distance": 4000}],
  "segments": [{"name": "Turn 1", "start": 0, "end": 1}, {"name": "Rest", "start": 1, "end": 2}]})";

// Counts the content notifications a map raises.
class MapListener final : public CCircuitMapDataNotifications3Receiver {
 public:
  void OnMapDataChanged(IKivCircuitMapData*) override { log += "map "; }
  void OnLapLengthChanged(IKivCircuitMapData*) override { log += "length "; }
  void OnSegmentsChanged(IKivCircuitMapData*) override { log += "segments "; }
  void OnMarkersChanged(IKivCircuitMapData*) override { log += "markers "; }
  std::string log;
};

TEST(CircuitMap, EveryRefusalNamesItsFaultAndKeepsTheOldContent) {
  auto map = MakeKiv<CCircuitMap>();
  ASSERT_EQ(map->LoadJson(kGood, nullptr), S_OK);
  MapListener listener;
  ScopedSink<CCircuitMapDataNotifications3Sink<>, IKivCircuitMapData2> sink(&listener, map.Get());
  const Json refusals = Fixture("circuit_map_refusals.json");  // kept: the loop walks inside it
  for (const Json& c : refusals["cases"]) {
    std::u16string error;
    EXPECT_EQ(map->LoadJson(c["text"].get<std::string>(), &error), E_INVALIDARG) << c["text"];
    EXPECT_NE(WideToUtf8(error).find(c["error"].get<std::string>()), std::string::npos)
        << WideToUtf8(error) << " for " << c["text"];
  }
  EXPECT_EQ(listener.log, "") << "nothing half-loaded is told";
  const std::span<const CircuitSegment> segments = Got(map, &CCircuitMap::GetSegments);
  ASSERT_EQ(segments.size(), 2u);
  EXPECT_EQ(std::u16string(segments[1].name), u"Rest");
}

TEST(CircuitMap, PositionsAreFractionsOfTheLapAndTheStorageRoundTrips) {
  auto map = MakeKiv<CCircuitMap>();
  ASSERT_EQ(map->LoadJson(kGood, nullptr), S_OK);
  const std::span<const CircuitMarker> markers = Got(map, &CCircuitMap::GetMarkers);
  ASSERT_EQ(markers.size(), 3u);
  EXPECT_EQ(markers[1].position, 16384) << "round(1000.01 / 4000 * 65535) = round(16383.91)";
  EXPECT_EQ(markers[2].position, 65535);
  EXPECT_EQ(Got(map, &CCircuitMap::GetLapTime), 925'000'000);
  EXPECT_EQ(map->IsDirty(), S_OK);

  ComPtr<IKivStorage> storage;
  ASSERT_EQ(StgCreateMemoryStorage(storage.Put()), S_OK);
  ASSERT_EQ(map->Save(storage.Get(), KIV_FALSE), S_OK);
  EXPECT_EQ(map->IsDirty(), S_OK) << "saved elsewhere: still dirty";
  auto loaded = MakeKiv<CCircuitMap>();
  ASSERT_EQ(loaded->Load(storage.Get()), S_OK);
  EXPECT_EQ(loaded->IsDirty(), S_FALSE);
  EXPECT_EQ(loaded->Load(storage.Get()), E_UNEXPECTED) << "a storage is held";
  EXPECT_EQ(Got(loaded, &CCircuitMap::SaveJson), Got(map, &CCircuitMap::SaveJson));

  ComPtr<IKivStorage> empty;
  ASSERT_EQ(StgCreateMemoryStorage(empty.Put()), S_OK);
  EXPECT_EQ(MakeKiv<CCircuitMap>()->Load(empty.Get()), STG_E_READFAULT);
}

}  // namespace
}  // namespace velmar::testing
