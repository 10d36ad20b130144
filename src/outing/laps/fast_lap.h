// The fast lap of an outing, worked out from its lap markers: the shortest
// lap between two markers (of equal laps the later), or with fewer than two
// markers the one stretch the outing has. With the filter on, a lap shorter
// than the minimum does not count.
//
// Pure; any thread.
#pragma once

#include <cstdint>
#include <vector>

#include "velmar/types.h"

namespace velmar {

struct FastLapInput {
  std::vector<KivTime> markers;  // rising time
  bool filter = false;
  KivTime minimum = 0;
  bool hasChannels = false;
  KivTime channelStart = 0;
  KivTime channelEnd = 0;
  KivTime outingStart = 0;
  KivTime outingEnd = 0;
};

struct FastLap {
  bool found = false;
  int32_t lap = 0;   // from 0: the lap after "First lap number"
  KivTime time = 0;  // 0 when not found
};

FastLap ComputeFastLap(const FastLapInput& input);

}  // namespace velmar
