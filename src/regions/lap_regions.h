// The laps of an outing, worked out from its lap markers: one region per
// marker (marker i ends lap i), a warm-up before the car first moved, one
// more lap after the last marker, a cool-down after the car finally
// stopped, and for a live outing a predicted current lap. An outing without
// markers is one lap (or the engine test), framed by warm-up and cool-down.
//
// Pure: reads the markers and fills a set.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "regions/time_region_set.h"
#include "velmar/lap_markers.h"

namespace velmar {

inline constexpr KivTime kTimeOneTick = 1;
inline constexpr KivTime kTimeOneSecond = 10'000'000;
inline constexpr KivTime kTimeTwoSeconds = 2 * kTimeOneSecond;
inline constexpr KivTime kTimeTenSeconds = 10 * kTimeOneSecond;

// The words of lap names, from the branding.
struct LapWords {
  std::u16string lap = u"Lap";
  std::u16string carHalt = u"Car Halt";
};

// "Lap 3", or "Lap 3 (Car Halt)".
std::u16string MakeLapName(const LapWords& words, int64_t number, bool halted);

struct LapRegionsInput {
  IKivLapMarkers* markers = nullptr;
  bool realTime = false;
  KivTime predictedLapTime = 0;  // only a value above 0 counts
  LapWords words;
  // The name of the one lap of an outing without markers.
  std::function<std::u16string()> unmarkedLapName;
};

// Fills `regions` (empty on entry). E_FAIL without markers, for an outing of
// no length, or when a marker can't be read; the last-movement read's own
// failure is passed on. `firstMarkerAtStart`: marker 1 lay on the outing's
// start and made no region.
[[nodiscard]] KivResult BuildLapRegions(const LapRegionsInput& input, CTimeRegionSet* regions,
                                        bool* firstMarkerAtStart);

}  // namespace velmar
