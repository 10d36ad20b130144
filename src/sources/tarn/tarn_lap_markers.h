// IKivLapMarkers of a `.trn` outing, read from its cache's lap marker read.
// A call that finds the markers not yet read starts the read.
//
// Client thread only.
#pragma once

#include "outing/laps/list_lap_markers.h"
#include "sources/tarn/tarn_lap_data.h"

namespace velmar {

inline KivTime LapMarkerTime(const TarnLapMarker& m) { return m.baseTime + m.timeOffset; }
inline uint32_t LapMarkerNumber(const TarnLapMarker& m) { return m.lapNumber; }
// A marker that is no crossing of the line ended its lap in a car halt.
inline bool LapMarkerHalted(const TarnLapMarker& m) { return m.crossing == 0; }

using CTarnLapMarkers = CListLapMarkers<TarnLapData>;

}  // namespace velmar
