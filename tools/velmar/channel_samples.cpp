#include "channel_samples.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <span>

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
  (void)block->GetStartTime(&read.start);
  read.periodic = FromKivBool(periodic);
  read.continuous = FromKivBool(continuous);
  if (read.periodic) (void)block->GetInterval(&read.interval);
  (void)block->GetValues(&read.values);
  (void)block->GetTimes(&read.times);
  read.times.resize(std::min(read.times.size(), read.values.size()));
  read.values.resize(read.times.size());
  return read;
}

// Folds one block into the summary; `uniform` goes false once the blocks
// are not all periodic alike.
void AddBlock(SampleSummary& summary, bool& uniform, bool periodic, KivTime interval, std::span<const double> values) {
  summary.count += values.size();
  if (!periodic || interval <= 0 || (summary.interval && *summary.interval != interval)) {
    uniform = false;
  } else {
    summary.interval = interval;
  }
  if (values.empty()) return;
  // Four lanes, so the comparisons do not wait on each other; a NaN loses
  // every comparison and so is passed over.
  constexpr double kInf = std::numeric_limits<double>::infinity();
  double lo[4] = {kInf, kInf, kInf, kInf};
  double hi[4] = {-kInf, -kInf, -kInf, -kInf};
  size_t i = 0;
  for (; i + 4 <= values.size(); i += 4) {
    for (size_t k = 0; k < 4; ++k) {
      lo[k] = values[i + k] < lo[k] ? values[i + k] : lo[k];
      hi[k] = values[i + k] > hi[k] ? values[i + k] : hi[k];
    }
  }
  for (; i < values.size(); ++i) {
    lo[0] = values[i] < lo[0] ? values[i] : lo[0];
    hi[0] = values[i] > hi[0] ? values[i] : hi[0];
  }
  const double least = std::min({lo[0], lo[1], lo[2], lo[3]});
  const double most = std::max({hi[0], hi[1], hi[2], hi[3]});
  if (least > most) return;  // only NaN
  summary.minimum = summary.minimum ? std::min(*summary.minimum, least) : least;
  summary.maximum = summary.maximum ? std::max(*summary.maximum, most) : most;
}

void AddSpan(SampleSummary& summary, KivTime start, KivTime end) {
  summary.start = summary.start ? std::min(*summary.start, start) : start;
  summary.end = summary.end ? std::max(*summary.end, end) : end;
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

ComPtr<IKivDataBlocks> ReadChannelBlocks(const LoadedOuting& outing, IKivChannel* channel,
                                         const std::u16string& name) {
  ComPtr<IKivChannelIterator2> iterator;
  bool noSamples = false;
  const KivResult r = ReadWhenReady(outing.session(), channel, outing.file(), [&] {
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
  if (noSamples) return nullptr;
  if (r == KIV_E_PENDING) outing.FailItem("no data arrived for channel", name, r);
  if (Failed(r) || !iterator) outing.FailItem("cannot read channel", name, Failed(r) ? r : E_FAIL);
  ComPtr<IKivDataBlocks> blocks;
  if (Failed(iterator->GetDataBlocks(blocks.Put()))) return nullptr;
  return blocks;
}

ComPtr<IKivDataBlocks> ReadChannelBlocks(const LoadedOuting& outing, const std::u16string& name) {
  return ReadChannelBlocks(outing, outing.Channel(name).Get(), name);
}

namespace {

void ForEachBlock(const LoadedOuting& outing, const std::u16string& name, IKivDataBlocks* blocks,
                  const std::function<void(IKivDataBlock*)>& visit) {
  uint32_t count = 0;
  if (blocks) (void)blocks->GetCount(&count);
  for (uint32_t index = 1; index <= count; ++index) {
    ComPtr<IKivDataBlock> block;
    if (KivResult got = blocks->GetBlock(index, block.Put()); Failed(got) || !block) {
      outing.FailItem("cannot read a block of channel", name, Failed(got) ? got : E_FAIL);
    }
    visit(block.Get());
  }
}

}  // namespace

ChannelSamples ReadChannelSamples(const LoadedOuting& outing, const std::u16string& name, bool ownUnit) {
  ChannelSamples samples;
  samples.name = ChannelDisplayName(name);
  UseSessionRoot(outing);
  ComPtr<IKivDataBlocks> blocks = ReadChannelBlocks(outing, outing.Channel(name).Get(), name);
  // Made now, the channel's property is in the database.
  samples.unit = FindChannelUnit(outing.session().root(), name, !ownUnit);
  ForEachBlock(outing, name, blocks.Get(), [&](IKivDataBlock* block) {
    samples.blocks.push_back(ReadBlock(block));
    FromBaseUnit(samples.unit, samples.blocks.back().values);
  });
  return samples;
}

ChannelSamples ReadSamplesOf(const LoadedOuting& outing, IKivChannel* channel, const std::u16string& name) {
  ChannelSamples samples;
  samples.name = ChannelDisplayName(name);
  ComPtr<IKivDataBlocks> blocks = ReadChannelBlocks(outing, channel, name);
  ForEachBlock(outing, name, blocks.Get(), [&](IKivDataBlock* block) { samples.blocks.push_back(ReadBlock(block)); });
  return samples;
}

SampleSummary SummarizeBlocks(const LoadedOuting& outing, const std::u16string& name, const ChannelUnit& unit) {
  SampleSummary summary;
  ComPtr<IKivDataBlocks> blocks = ReadChannelBlocks(outing, outing.Channel(name).Get(), name);
  bool uniform = true;
  ForEachBlock(outing, name, blocks.Get(), [&](IKivDataBlock* block) {
    std::span<const double> values;
    KivBool periodic = KIV_FALSE;
    KivTime interval = 0, start = 0, end = 0;
    (void)block->GetValuesReference(&values);
    (void)block->GetPeriodic(&periodic);
    if (FromKivBool(periodic)) (void)block->GetInterval(&interval);
    AddBlock(summary, uniform, FromKivBool(periodic), interval, values);
    if (!values.empty() && Succeeded(block->GetStartTime(&start)) && Succeeded(block->GetEndTime(&end))) {
      AddSpan(summary, start, end);
    }
  });
  if (!uniform || summary.count == 0) summary.interval.reset();
  // Units are linear, so the extremes convert as values do (a falling scale swaps them).
  if (summary.minimum && summary.maximum) {
    std::vector<double> extremes{*summary.minimum, *summary.maximum};
    FromBaseUnit(unit, extremes);
    summary.minimum = std::min(extremes[0], extremes[1]);
    summary.maximum = std::max(extremes[0], extremes[1]);
  }
  return summary;
}

SampleSummary Summarize(const ChannelSamples& samples) {
  SampleSummary summary;
  bool uniform = true;
  for (const SampleBlock& block : samples.blocks) {
    AddBlock(summary, uniform, block.periodic, block.interval, block.values);
    if (!block.times.empty()) AddSpan(summary, block.times.front(), block.times.back());
  }
  if (!uniform || samples.blocks.empty()) summary.interval.reset();
  return summary;
}

}  // namespace velmar::cli
