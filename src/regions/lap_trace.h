// Reading one channel over one lap into a KivLapTrace (velmar/lap_compare.h):
// the times of the channel's samples strictly inside the lap, framed by the
// lap's two ends, then the channel's and the distance channel's values at
// those times, walked forward once through their blocks.
//
// Client thread only: it reads channels through their iterators.
#pragma once

#include <vector>

#include "velmar/data_block.h"
#include "velmar/lap_compare.h"

namespace velmar {

// The lap's start, the times of the channel's samples strictly between
// start and end, and the lap's end (once when start equals end), in rising
// order. Empty when the iterator has no blocks.
std::vector<KivTime> LapSampleTimes(IKivChannelIterator* data, KivTime start, KivTime end);

// Fills `trace` from `values` (and `distances`, when given) at `times`,
// which rise from times.front(), the lap's start. An entry for which either
// channel has no value (before its first sample, after its last) is left out;
// distances are counted from the first entry kept and never fall.
void FillLapTrace(IKivChannelIterator* values, IKivChannelIterator* distances, const std::vector<KivTime>& times,
                  KivLapTrace* trace);

}  // namespace velmar
