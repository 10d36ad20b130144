// IKivLapMarkers of a live outing: the markers the server lists (read afresh
// after each marker message), over the range the server has told, with the
// movement range once it is known (first below last).
//
// Client thread only.
#pragma once

#include <vector>

#include "outing/laps/list_lap_markers.h"
#include "platform/realtime/rt_messages.h"

namespace velmar {

namespace rt {
inline KivTime LapMarkerTime(const WireLapMarker& m) { return m.baseTime + m.timeOffset; }
inline uint32_t LapMarkerNumber(const WireLapMarker& m) { return m.lapNumber; }
// A marker that is no crossing of the line ended its lap in a car halt.
inline bool LapMarkerHalted(const WireLapMarker& m) { return m.crossing == 0; }
}  // namespace rt

struct RtLapData {
  LapSpan span;
  double distanceOrigin = 0.0;
  std::vector<rt::WireLapMarker> markers;
};

using CRTLapMarkers = CListLapMarkers<RtLapData>;

}  // namespace velmar
