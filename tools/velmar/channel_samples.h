// A channel's samples read whole through its iterator's blocks, and the
// summary the listing shows (count, rate, range of values and time).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "channel_unit.h"
#include "loaded_outing.h"
#include "velmar/types.h"

namespace velmar::cli {

struct SampleBlock {
  bool periodic = false;
  bool continuous = false;
  KivTime interval = 0;  // periodic blocks only
  std::vector<KivTime> times;  // may be left empty for a periodic block, see below
  std::vector<double> values;
  KivTime start = 0;  // the first sample's time
};

struct ChannelSamples {
  std::u16string name;
  ChannelUnit unit;
  std::vector<SampleBlock> blocks;  // none for a channel without samples

  size_t count() const;
};

// Reads every block of channel `name`. A channel without samples gives no
// blocks; any other failure throws HostError naming the file and channel.
// Without `periodicTimes` a periodic block's times are not made: its start
// and interval tell them.
ChannelSamples ReadChannelSamples(const LoadedOuting& outing, const std::u16string& name,
                                  bool periodicTimes = true);

struct SampleSummary {
  size_t count = 0;
  // The one interval of a channel whose blocks are all periodic alike.
  std::optional<KivTime> interval;
  std::optional<double> minimum;  // over the values that are numbers
  std::optional<double> maximum;
  std::optional<KivTime> start;
  std::optional<KivTime> end;
};

SampleSummary Summarize(const ChannelSamples& samples);
// The same read in place from the channel's blocks, without a copy of its
// samples. Failures as ReadChannelSamples.
SampleSummary SummarizeBlocks(const LoadedOuting& outing, const std::u16string& name);

}  // namespace velmar::cli
