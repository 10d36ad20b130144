#include "sources/tarn/tarn_lap_data.h"

#include <cmath>

namespace velmar {

std::vector<KivTime> TarnLapData::MarkerTimes() const {
  std::vector<KivTime> times;
  times.reserve(markers.size());
  for (const TarnLapMarker& m : markers) times.push_back(m.baseTime + m.timeOffset);
  return times;
}

bool TakeLapData(KivTime start, KivTime end, KivResult movementResult, KivTime firstMovement,
                 KivTime lastMovement, std::span<const TarnLapMarker> markers, TarnLapData* data) {
  if (end < start) return false;
  TarnLapData taken;
  taken.span.outingStart = start;
  taken.span.outingEnd = end;
  // Anything but exactly S_OK says that the file knows no movement: no failure.
  if (movementResult == S_OK) {
    if (lastMovement < firstMovement) return false;
    taken.span.movement = std::pair{firstMovement, lastMovement};
  }
  if (!markers.empty()) {
    if (!std::isfinite(markers[0].distanceOrigin)) return false;
    taken.distanceOrigin = markers[0].distanceOrigin;
  }
  for (const TarnLapMarker& m : markers)
    if (m.baseTime < start || m.baseTime > end) return false;
  taken.markers.assign(markers.begin(), markers.end());
  *data = std::move(taken);
  return true;
}

}  // namespace velmar
