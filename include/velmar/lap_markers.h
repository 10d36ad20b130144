// Lap markers: the times that cut an outing into laps. Every outing offers
// IKivLapMarkers to read them; IKivLapMarkerWriter edits them where the source
// can store markers (elsewhere its operations refuse).
#pragma once

#include <cstdint>

#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

// Indexes count from 1. A call that finds nothing loaded starts the load.
// A null out pointer gives E_POINTER.
struct IKivLapMarkers : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{50CCE84D-3E01-419C-BABD-5D4CE7B29F8F}");
  // 0 and S_OK until loaded.
  virtual KivResult GetLapMarkerCount(uint32_t* count) = 0;
  // 0.0 and S_OK until loaded.
  virtual KivResult GetDistanceOrigin(double* origin) = 0;
  // DISP_E_BADINDEX out of range; E_FAIL until loaded.
  virtual KivResult GetLapMarkerTime(uint32_t index, KivTime* time) = 0;
  virtual KivResult GetLapMarkerNumber(uint32_t index, uint32_t* number) = 0;
  // True for a marker that ended a lap by a car halt rather than at the line.
  virtual KivResult IsCarHalt(uint32_t index, KivBool* carHalt) = 0;
  // E_FAIL until loaded.
  virtual KivResult GetOutingStart(KivTime* time) = 0;
  virtual KivResult GetOutingEnd(KivTime* time) = 0;
  // S_OK when known; S_FALSE when not known (the source keeps no movement),
  // with the outing's start (first) and end (last); E_FAIL until loaded.
  virtual KivResult GetFirstMovement(KivTime* time) = 0;
  virtual KivResult GetLastMovement(KivTime* time) = 0;
};

// Edits are queued as steps of the outing's transaction; the outcome comes
// by its notifications.
struct IKivLapMarkerWriter : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{F9920B82-5FD3-435D-9D71-FDA950B35239}");
  virtual KivResult AddLapMarkerAtTime(KivTime time) = 0;
  virtual KivResult AddLapMarkerAtDistance(double distance) = 0;
  virtual KivResult RemoveLapMarker(uint32_t index) = 0;
  virtual KivResult ShiftLapMarkers(double distance) = 0;
  virtual KivResult ResetLapMarkers() = 0;
};

}  // namespace velmar
