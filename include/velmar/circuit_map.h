// A circuit map as the segment finder reads it: the lap's length, markers at
// positions along the lap, and named segments between two markers. The
// library's own map (CLSID_KivCircuitMap) is read from JSON:
//
//   {"name": "Halvane Park", "lap_length": 3900.0, "lap_time": 92.5,
//    "markers": [{"name": "S/F", "distance": 0.0}, ...],
//    "segments": [{"name": "Turn 1", "start": 0, "end": 1}, ...]}
//
// `distance` is metres along the lap (0 to lap_length), `start` and `end`
// are marker indexes from 0, `lap_time` is seconds (optional).
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "velmar/guid.h"
#include "velmar/property_factories.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

inline constexpr Guid CLSID_KivCircuitMap = Guid::Literal("{6F1D7A52-3B8E-4C09-A1D4-85E2B7C3F960}");

// A position along the lap as a fraction: 0 at the line, 65535 a full lap.
inline constexpr int32_t kCircuitFullLap = 65535;

// One segment, in the record form the map hands out (48 bytes).
struct CircuitSegment {
  int32_t startMarker = 0;  // index from 0 of the marker the segment starts at
  int32_t endMarker = 0;
  uint8_t reserved1[8] = {};
  const char16_t* name = nullptr;  // owned by the map
  uint8_t reserved2[24] = {};
};
static_assert(sizeof(CircuitSegment) == 48);

// One marker (12 bytes).
struct CircuitMarker {
  uint8_t reserved[8] = {};
  int32_t position = 0;  // 0..kCircuitFullLap
};
static_assert(sizeof(CircuitMarker) == 12);

// The arrays stay valid until the map's content changes (a notification
// tells it) or the map goes; hold a reference while reading them.
struct IKivCircuitMapData2 : IKivCircuitMapData {
  static constexpr Guid iid = Guid::Literal("{A7C4E2D1-58B3-4F6A-9E02-1D3B6C8F4A75}");
  using Parent = IKivCircuitMapData;
  // In the unit of the map-position channel (metres).
  virtual KivResult GetLapLength(float* length) = 0;
  virtual KivResult GetMarkers(std::span<const CircuitMarker>* markers) = 0;
  virtual KivResult GetSegments(std::span<const CircuitSegment>* segments) = 0;
  // A third list whose content belongs to the map's maker; the library's
  // map gives an empty one. A finder only asks that it be there.
  virtual KivResult GetExtraList(std::span<const uint8_t>* list) = 0;
};

// The library's map read from and written as JSON text.
struct IKivCircuitMapJson : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{3E8B1F64-C27A-4D95-B0E3-7A6D2C9F8E14}");
  // Replaces the whole content, or refuses (E_INVALIDARG) with `error`
  // naming the fault and keeps the old content.
  virtual KivResult LoadJson(const std::string& text, std::u16string* error) = 0;
  virtual KivResult SaveJson(std::string* text) = 0;
  virtual KivResult GetName(std::u16string* name) = 0;
};

#define KIV_CIRCUIT_MAP_DATA_NOTIFICATIONS_3(X)                     \
  X(OnLapLengthChanged, (IKivCircuitMapData * map), (map))         \
  X(OnSegmentsChanged, (IKivCircuitMapData * map), (map))          \
  X(OnMarkersChanged, (IKivCircuitMapData * map), (map))

KIV_NOTIFICATION_GENERATION(CircuitMapDataNotifications, 3, 2, "{E4B92C17-6D3A-4A8F-B5C1-0F7E2D9A3B68}",
                            KIV_CIRCUIT_MAP_DATA_NOTIFICATIONS_3)

}  // namespace velmar
