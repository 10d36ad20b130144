#include "export/export_channel.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "outing/blocks/data_block_aperiodic.h"
#include "outing/blocks/data_block_periodic.h"
#include "outing/blocks/data_block_section.h"
#include "outing/blocks/fast_iterator.h"

namespace velmar {

KivResult ReadBlockShape(IKivDataBlock* block, BlockShape* shape) {
  KivBool periodic = KIV_FALSE;
  std::span<const double> values;
  if (Failed(block->GetStartTime(&shape->start)) || Failed(block->GetEndTime(&shape->end)) ||
      Failed(block->GetPeriodic(&periodic)) || Failed(block->GetValuesReference(&values))) {
    return E_FAIL;
  }
  shape->count = static_cast<uint32_t>(values.size());
  shape->interval = 0;
  shape->times = {};
  if (periodic != KIV_FALSE) return Failed(block->GetInterval(&shape->interval)) ? E_FAIL : S_OK;
  return Failed(block->GetTimesReference(&shape->times)) ? E_FAIL : S_OK;
}

CExportChannel::CExportChannel(std::u16string name, KivTime start, KivTime end, IKivChannel* channel, double factor,
                               double offset, KivTime base, KivTime period, ComPtr<IKivUnits> converter)
    : CExportSourceItem(channel),
      name_(std::move(name)),
      start_(start),
      end_(end),
      factor_(factor),
      offset_(offset),
      base_(base),
      period_(period),
      converter_(std::move(converter)) {
  Begin();
}

KivResult CExportChannel::Fetch() {
  auto* channel = static_cast<IKivChannel*>(source());
  ComPtr<IKivChannelIterator2> iterator;
  const KivResult r = channel->GetIterator(iterator.Put());
  if (Failed(r) || !iterator) return Failed(r) ? r : E_FAIL;
  ComPtr<IKivDataBlocks> blocks;
  uint32_t count = 0;
  if (Failed(iterator->GetDataBlocks(blocks.Put())) || !blocks || Failed(blocks->GetCount(&count))) return E_ABORT;
  blocks_.clear();
  const KivResult collected = resampled() ? Resample(iterator.Get(), blocks.Get(), count)
                                          : CollectNative(iterator.Get(), blocks.Get(), count);
  if (Failed(collected)) return collected;
  return blocks_.empty() ? S_FALSE : S_OK;
}

KivResult CExportChannel::CollectNative(IKivChannelIterator2* iterator, IKivDataBlocks* blocks, uint32_t count) {
  uint32_t firstBlock = 1;
  uint32_t lastBlock = count;
  uint32_t sample = 0;
  constexpr KivTime kMin = std::numeric_limits<KivTime>::min();
  constexpr KivTime kMax = std::numeric_limits<KivTime>::max();
  if (Failed(iterator->FindBlock(start_ == kMin ? start_ : start_ - 1, kFindNextAfter, kRangeWholeChannel,
                                 &firstBlock, &sample)) ||
      Failed(iterator->FindBlock(end_ == kMax ? end_ : end_ + 1, kFindLastBefore, kRangeWholeChannel, &lastBlock,
                                 &sample))) {
    return E_FAIL;
  }
  for (uint32_t b = firstBlock; b <= lastBlock && b <= count; ++b) {
    ComPtr<IKivDataBlock> block;
    BlockShape shape;
    SampleWindow window;
    if (Failed(blocks->GetBlock(b, block.Put())) || Failed(ReadBlockShape(block.Get(), &shape))) return E_FAIL;
    // A failed copy drops that block only.
    if (SelectWindow(shape, start_, end_, &window) != 0) continue;
    if (!window.whole || ShareBlock(block.Get(), shape) != S_OK) (void)CopyWindow(block.Get(), shape, window);
  }
  return S_OK;
}

KivResult CExportChannel::CopyWindow(IKivDataBlock* block, const BlockShape& shape, const SampleWindow& window) {
  std::span<const double> values;
  KivBool continuous = KIV_FALSE;
  if (Failed(block->GetValuesReference(&values)) || Failed(block->GetContinuous(&continuous))) return E_FAIL;
  const auto count = window.last - window.first + 1;
  std::vector<double> copy(values.begin() + window.first, values.begin() + window.first + count);
  std::vector<KivTime> times;
  KivTime first = 0;
  if (shape.interval > 0) {
    first = shape.start + static_cast<KivTime>(window.first) * shape.interval - base_;
  } else {
    times.reserve(count);
    for (uint32_t i = window.first; i <= window.last; ++i) times.push_back(shape.times[i] - base_);
    first = times.front();
  }
  return AddBlock(std::move(copy), first, shape.interval, std::move(times), continuous != KIV_FALSE);
}

KivResult CExportChannel::ShareBlock(IKivDataBlock* block, const BlockShape& shape) {
  if (factor_ != 1.0 || offset_ != 0.0) return S_FALSE;
  std::shared_ptr<const DataSection> section;
  if (auto* periodic = dynamic_cast<CPeriodicOutingDataBlock*>(block)) section = periodic->section();
  if (auto* aperiodic = dynamic_cast<CAperiodicOutingDataBlock*>(block)) section = aperiodic->section();
  KivBool continuous = KIV_FALSE;
  if (!section || section->sampleCount() != shape.count || Failed(block->GetContinuous(&continuous))) return S_FALSE;
  // The item's times are the source's less `base`: the new block's offset.
  const KivTime offset = shape.start - section->firstTime() - base_;
  ComPtr<IKivDataBlockImplBase> shared;
  if (Failed(MakeOutingDataBlock(std::move(section), static_cast<uint32_t>(blocks_.size()), offset,
                                 continuous != KIV_FALSE, &shared))) {
    return S_FALSE;
  }
  blocks_.push_back(std::move(shared));
  return S_OK;
}

KivResult CExportChannel::Resample(IKivChannelIterator2* iterator, IKivDataBlocks* blocks, uint32_t count) {
  std::vector<BlockSpan> spans(count);
  for (uint32_t b = 0; b < count; ++b) {
    ComPtr<IKivDataBlock> block;
    KivBool continuous = KIV_FALSE;
    if (Failed(blocks->GetBlock(b + 1, block.Put())) || Failed(block->GetStartTime(&spans[b].start)) ||
        Failed(block->GetEndTime(&spans[b].end)) || Failed(block->GetContinuous(&continuous))) {
      return E_FAIL;
    }
    spans[b].continuous = continuous != KIV_FALSE;
  }
  if (spans.empty()) return E_FAIL;
  // An unbounded range is the data's span: the grid arithmetic stays in range.
  const KivTime from = std::max(start_, spans.front().start);
  const KivTime to = std::min(end_, spans.back().end);
  KivTime first = 0;
  std::vector<GridRun> runs;
  if (!FirstReadableGridTime(spans, from, period_, &first) || !PlanGridRuns(spans, first, to, period_, &runs)) {
    return E_FAIL;
  }
  CFastIterator fast;
  fast.Attach(iterator);
  std::vector<CFastIterator::Result> results;
  std::vector<KivTime> grid;
  for (const GridBlock& g : SplitGridRuns(runs, period_)) {
    grid.resize(g.count);
    for (uint32_t k = 0; k < g.count; ++k) grid[k] = g.first + static_cast<KivTime>(k) * period_;
    std::vector<double> values(g.count);
    results.resize(g.count);
    if (fast.GetValues(grid, values, results) != g.count) continue;  // drops that block
    if (Failed(AddBlock(std::move(values), g.first - base_, period_, {}, g.continuous))) continue;
    if (blocks_.size() == 1) start_ = g.first;
    end_ = grid.back();
  }
  return S_OK;
}

KivResult CExportChannel::AddBlock(std::vector<double> values, KivTime first, KivTime interval,
                                   std::vector<KivTime> times, bool continuous) {
  Scale(values);
  std::shared_ptr<const DataSection> section;
  const KivResult made =
      interval > 0
          ? DataSection::MakePeriodic(LockedArray<double>::FromVector(std::move(values)), first, interval, &section)
          : DataSection::MakeAperiodic(LockedArray<double>::FromVector(std::move(values)),
                                       LockedArray<KivTime>::FromVector(std::move(times)), &section);
  ComPtr<IKivDataBlockImplBase> block;
  if (Failed(made) ||
      Failed(MakeOutingDataBlock(std::move(section), static_cast<uint32_t>(blocks_.size()), 0, continuous, &block))) {
    return E_FAIL;
  }
  blocks_.push_back(std::move(block));
  return S_OK;
}

void CExportChannel::Scale(std::span<double> values) const {
  if (factor_ == 1.0 && offset_ == 0.0) return;
  for (double& v : values) v = v * factor_ + offset_;
}

}  // namespace velmar
