#include "sample_table.h"

namespace velmar::cli {

TimedValues SamplesInWindow(const ChannelSamples& samples, const TimeWindow& window) {
  TimedValues in;
  for (const SampleBlock& block : samples.blocks) {
    for (size_t i = 0; i < block.times.size(); ++i) {
      if (!window.Contains(block.times[i])) continue;
      in.times.push_back(block.times[i]);
      in.values.push_back(block.values[i]);
    }
  }
  return in;
}

void ForEachRow(const std::vector<TimedValues>& columns,
                const std::function<void(KivTime, const std::vector<std::optional<double>>&)>& row) {
  std::vector<size_t> next(columns.size(), 0);
  std::vector<std::optional<double>> cells(columns.size());
  for (;;) {
    std::optional<KivTime> time;
    for (size_t c = 0; c < columns.size(); ++c) {
      if (next[c] < columns[c].times.size() && (!time || columns[c].times[next[c]] < *time)) {
        time = columns[c].times[next[c]];
      }
    }
    if (!time) return;
    for (size_t c = 0; c < columns.size(); ++c) {
      cells[c].reset();
      // Two samples of one channel at one time (blocks meeting): the later stands.
      while (next[c] < columns[c].times.size() && columns[c].times[next[c]] == *time) {
        cells[c] = columns[c].values[next[c]++];
      }
    }
    row(*time, cells);
  }
}

}  // namespace velmar::cli
