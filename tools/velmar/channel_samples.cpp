#include "channel_samples.h"

#include <algorithm>
#include <cmath>

#include "host_error.h"
#include "item_wait.h"
#include "velmar/channel_key.h"
#include "velmar/data_block.h"

namespace velmar::cli {
namespace {

SampleBlock ReadBlock(IKivDataBlock* block) {
  SampleBlock read;
  KivBool periodic = KIV_FALSE;
  KivBool continuous = KIV_FALSE;
  (void)block->GetPeriodic(&periodic);
  (void)block->GetContinuous(&continuous);
  read.periodic = FromKivBool(periodic);
  read.continuous = FromKivBool(continuous);
  if (read.periodic) (void)block->GetInterval(&read.interval);
  (void)block->GetTimes(&read.times);
  (void)block->GetValues(&read.values);
  read.times.resize(std::min(read.times.size(), read.values.size()));
  read.values.resize(read.times.size());
  return read;
}

}  // namespace

void UseSessionRoot(const LoadedOuting& outing) {
  if (auto channels = QueryAs<IKivChannelFactory>(outing.outing())) (void)channels->SetRoot(outing.session().root());
}

size_t ChannelSamples::count() const {
  size_t n = 0;
  for (const SampleBlock& block : blocks) n += block.values.size();
  return n;
}

ChannelSamples ReadChannelSamples(const LoadedOuting& outing, const std::u16string& name, bool ownUnit) {
  ChannelSamples samples;
  samples.name = ChannelDisplayName(name);
  UseSessionRoot(outing);
  ComPtr<IKivChannel> channel = outing.Channel(name);
  // Made now, the channel's property is in the database.
  samples.unit = FindChannelUnit(outing.session().root(), name, !ownUnit);
  ComPtr<IKivChannelIterator2> iterator;
  bool noSamples = false;
  const KivResult r = ReadWhenReady(outing.session(), channel.Get(), outing.file(), [&] {
    const KivResult got = channel->GetIterator(iterator.Put());
    uint32_t status = 0;
    // An empty channel is "not available" for good; waiting would not help.
    if (got == KIV_E_PENDING && Succeeded(channel->GetStatus(&status)) &&
        status == static_cast<uint32_t>(DataStatus::kNotAvailable)) {
      noSamples = true;
      return S_FALSE;
    }
    return got;
  });
  if (noSamples) return samples;
  if (r == KIV_E_PENDING) outing.FailItem("no data arrived for channel", name, r);
  if (Failed(r) || !iterator) outing.FailItem("cannot read channel", name, Failed(r) ? r : E_FAIL);
  ComPtr<IKivDataBlocks> blocks;
  if (Failed(iterator->GetDataBlocks(blocks.Put())) || !blocks) return samples;
  uint32_t count = 0;
  (void)blocks->GetCount(&count);
  for (uint32_t index = 1; index <= count; ++index) {
    ComPtr<IKivDataBlock> block;
    if (KivResult got = blocks->GetBlock(index, block.Put()); Failed(got) || !block) {
      outing.FailItem("cannot read a block of channel", name, Failed(got) ? got : E_FAIL);
    }
    samples.blocks.push_back(ReadBlock(block.Get()));
    FromBaseUnit(samples.unit, samples.blocks.back().values);
  }
  return samples;
}

SampleSummary Summarize(const ChannelSamples& samples) {
  SampleSummary summary;
  bool uniform = !samples.blocks.empty();
  for (const SampleBlock& block : samples.blocks) {
    summary.count += block.values.size();
    if (!block.periodic || block.interval <= 0 || (summary.interval && *summary.interval != block.interval)) {
      uniform = false;
    } else {
      summary.interval = block.interval;
    }
    for (double value : block.values) {
      if (std::isnan(value)) continue;
      summary.minimum = summary.minimum ? std::min(*summary.minimum, value) : value;
      summary.maximum = summary.maximum ? std::max(*summary.maximum, value) : value;
    }
    if (!block.times.empty()) {
      summary.start = summary.start ? std::min(*summary.start, block.times.front()) : block.times.front();
      summary.end = summary.end ? std::max(*summary.end, block.times.back()) : block.times.back();
    }
  }
  if (!uniform) summary.interval.reset();
  return summary;
}

}  // namespace velmar::cli
