// A channel's samples read whole through its iterator's blocks, and the
// summary the listing shows (count, rate, range of values and time).
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "channel_unit.h"
#include "loaded_outing.h"
#include "velmar/data_block.h"
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

// The outing's channels hang under the session's root from now, as a
// selection's would: a channel made then finds its property in the root's
// database, and the finders reach the circuit map and common channels.
void UseSessionRoot(const LoadedOuting& outing);

// Reads every block of channel `name`, in its quantity's base unit, or with
// `ownUnit` in the unit the channel was recorded in. A channel without
// samples gives no blocks; any other failure throws HostError naming the
// file and channel.
ChannelSamples ReadChannelSamples(const LoadedOuting& outing, const std::u16string& name, bool ownUnit = false);

// Waits until channel `name`'s data is in and gives its blocks; null for a
// channel without samples. Failures as ReadChannelSamples. The second form
// reads a channel made elsewhere (a math channel).
ComPtr<IKivDataBlocks> ReadChannelBlocks(const LoadedOuting& outing, const std::u16string& name);
ComPtr<IKivDataBlocks> ReadChannelBlocks(const LoadedOuting& outing, IKivChannel* channel, const std::u16string& name);
// Reads every block of a channel made elsewhere (a math channel), in the
// values it gives; named `name` in failures. The unit is left empty.
ChannelSamples ReadSamplesOf(const LoadedOuting& outing, IKivChannel* channel, const std::u16string& name);

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
// samples, with minimum and maximum in `unit` (its own, or the base unit).
// Failures as ReadChannelSamples.
SampleSummary SummarizeBlocks(const LoadedOuting& outing, const std::u16string& name, const ChannelUnit& unit);

}  // namespace velmar::cli
