// Several channels side by side on one time column: every time at which any
// of them has a sample inside [from, to] is a row, and a channel without a
// sample at that time leaves its cell empty.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "channel_samples.h"
#include "velmar/types.h"

namespace velmar::cli {

struct TimeWindow {
  KivTime from = kTimeMin;  // inclusive
  KivTime to = kTimeMax;    // inclusive
  bool Contains(KivTime time) const { return time >= from && time <= to; }
};

// One channel's samples in the window, in time order.
struct TimedValues {
  std::vector<KivTime> times;
  std::vector<double> values;
};
TimedValues SamplesInWindow(const ChannelSamples& samples, const TimeWindow& window);

// What `dump` writes: a time column then one column per channel, as
// tab-separated lines or (`json`) one JSON document naming `file`.
void WriteDump(const std::string& file, bool json, const std::vector<ChannelSamples>& samples,
               const std::vector<TimedValues>& columns);

// Calls `row` once per distinct time, rising, with one cell per column.
void ForEachRow(const std::vector<TimedValues>& columns,
                const std::function<void(KivTime, const std::vector<std::optional<double>>&)>& row);

}  // namespace velmar::cli
