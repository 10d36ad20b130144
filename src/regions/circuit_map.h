// CCircuitMap: the library's own circuit map, read from JSON (the form is in
// velmar/circuit_map.h) and kept in a storage of the settings file. It
// serves both finders: the lap time to the lap finder, the lap length,
// markers and segments to the segment finder.
//
// A map that does not parse, names a marker that does not exist or places
// a marker outside the lap is refused as a whole: the old content stays.
// Each accepted change tells the sinks, content first (lap length,
// segments, markers), then the map as a whole.
//
// Client thread only.
#pragma once

#include <string>
#include <vector>

#include "core/notifications_impl.h"
#include "velmar/circuit_map.h"
#include "velmar/persist.h"

namespace velmar {

// What a map holds, parsed and checked; names own the segments' texts.
struct CircuitMapContent {
  std::u16string name;
  double lapLength = 0;  // metres
  double lapTime = 0;    // seconds; 0: none
  std::vector<std::u16string> markerNames;
  std::vector<double> markerDistances;
  std::vector<std::u16string> segmentNames;
  std::vector<std::pair<int32_t, int32_t>> segmentMarkers;
};

// Parses and checks JSON text; false with `error` naming the fault.
bool ParseCircuitMap(const std::string& text, CircuitMapContent* content, std::string* error);
std::string CircuitMapToJson(const CircuitMapContent& content);

class CCircuitMap final
    : public KivObject<IKivCircuitMapData2, IKivCircuitMapJson, IKivPersistStorage,
                       IKivNotificationsImpl<CCircuitMap, IKivCircuitMapDataNotifications3>> {
 public:
  static constexpr Guid kClassId = CLSID_KivCircuitMap;
  CCircuitMap() = default;

  // IKivCircuitMapData2
  KivResult GetClassId(Guid* clsid) override;
  KivResult GetLapTime(KivTime* time) override;
  KivResult GetLapLength(float* length) override;
  KivResult GetMarkers(std::span<const CircuitMarker>* markers) override;
  KivResult GetSegments(std::span<const CircuitSegment>* segments) override;
  KivResult GetExtraList(std::span<const uint8_t>* list) override;
  // IKivCircuitMapJson
  KivResult LoadJson(const std::string& text, std::u16string* error) override;
  KivResult SaveJson(std::string* text) override;
  KivResult GetName(std::u16string* name) override;
  // IKivPersistStorage: the JSON text in one stream of the given storage.
  KivResult IsDirty() override { return dirty_ ? S_OK : S_FALSE; }
  KivResult InitNew(IKivStorage* storage) override;
  KivResult Load(IKivStorage* storage) override;
  KivResult Save(IKivStorage* storage, KivBool sameAsLoad) override;
  KivResult SaveCompleted(IKivStorage* storage) override;
  KivResult HandsOffStorage() override;

 private:
  ~CCircuitMap() override = default;
  void Adopt(CircuitMapContent content);
  void FireChanges(bool lapLength, bool segments, bool markers);
  IKivCircuitMapData* AsMap() { return static_cast<IKivCircuitMapData*>(static_cast<IKivCircuitMapData2*>(this)); }

  CircuitMapContent content_;
  std::vector<CircuitMarker> markers_;
  std::vector<CircuitSegment> segments_;  // names point into content_
  ComPtr<IKivStorage> storage_;
  bool dirty_ = false;
};

}  // namespace velmar
