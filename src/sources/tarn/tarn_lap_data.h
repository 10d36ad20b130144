// The lap markers of a `.trn` outing with the spans they lie in, as the lap
// marker read takes them from the store.
//
// Pure functions; any thread (the store thread runs them).
#pragma once

#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "sources/tarn/tarn_properties.h"
#include "velmar/tarn_store.h"

namespace velmar {

struct TarnLapData {
  TarnLapSpan span;
  double distanceOrigin = 0.0;
  std::vector<TarnLapMarker> markers;  // in time order; texts none, so copies are safe

  // Each marker's time: base time plus offset.
  std::vector<KivTime> MarkerTimes() const;
};

// Checks what was read and fills `data`: the outing's span must not end
// before it starts, a movement range (when `movementResult` is exactly S_OK)
// must be ordered, the first marker's distance origin must be finite, and
// every marker's base time must lie in the span. False on any failure.
[[nodiscard]] bool TakeLapData(KivTime start, KivTime end, KivResult movementResult, KivTime firstMovement,
                               KivTime lastMovement, std::span<const TarnLapMarker> markers, TarnLapData* data);

}  // namespace velmar
