// Laps read for the pictures and the delta: one channel over one lap through
// the library's lap comparison (velmar/lap_compare.h), waited for as a host
// does, values in the unit the channel was recorded in. Failures throw
// HostError naming the file.
#pragma once

#include <string>

#include "channel_unit.h"
#include "lap_list.h"
#include "loaded_outing.h"
#include "velmar/lap_compare.h"

namespace velmar::cli {

struct LapChannel {
  std::u16string name;  // as the user gave it
  ChannelUnit unit;
  KivLapTrace trace;
};

// The name of the distance channel the common channels name; throws
// "no distance channel (looked for the common channels ...)" when there is none.
std::u16string RequireDistanceChannel(const LoadedOuting& outing);

// Channel `name` over `lap`, with distances when `byDistance`.
LapChannel ReadLapChannel(const LoadedOuting& outing, const std::u16string& name, const LapRow& lap, bool byDistance);

// The distance channel over `lap`: what the time delta is made from.
KivLapTrace ReadLapDistance(const LoadedOuting& outing, const LapRow& lap);

// "Lap 3  1:31.974": the lap's name and its time, the minutes unpadded.
std::string LapLegend(const LapRow& lap);

}  // namespace velmar::cli
