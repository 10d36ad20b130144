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
  std::vector<KivTime> times;
  std::vector<double> values;
};

struct ChannelSamples {
  std::u16string name;
  ChannelUnit unit;
  std::vector<SampleBlock> blocks;  // none for a channel without samples

  size_t count() const;
};

// Reads every block of channel `name`. A channel without samples gives no
// blocks; any other failure throws HostError naming the file and channel.
ChannelSamples ReadChannelSamples(const LoadedOuting& outing, const std::u16string& name);

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
