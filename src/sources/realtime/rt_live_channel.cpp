#include "sources/realtime/rt_live_channel.h"

#include "sources/tarn/tarn_channel_data.h"

namespace velmar {

std::optional<RtHeldBlock> HeldBlock(const rt::WireBlock& block) {
  const uint32_t count = block.Count();
  if (count == 0 || block.times.empty() || (!block.periodic && block.times.size() != count)) return std::nullopt;
  if (block.periodic && block.times.front() <= 0) return std::nullopt;
  RtHeldBlock held;
  held.periodic = block.periodic != 0;
  held.continuous = block.continuous != 0;
  held.firstTime = block.firstTime;
  if (held.periodic) {
    held.period = block.times.front();
  } else {
    held.times = block.times;
  }
  // The array is kept while its view is copied: a view of a temporary dangles.
  const LockedArray<double> doubles = SamplesAsDoubles(block.samples.data(), count, block.sampleType);
  const auto values = doubles.view();
  held.values.assign(values.begin(), values.end());
  return held;
}

std::optional<RtLiveChannel::Range> RtLiveChannel::OnData(KivTime from, KivTime to) {
  if (!opened_) {
    wholeDirty_ = true;
    return std::nullopt;
  }
  if (wholeDirty_) {
    if (changeTold_) return std::nullopt;
    changeTold_ = true;
    return Range{kTimeMin, kTimeMax};
  }
  dirty_.emplace_back(from, to);
  if (changeTold_) return std::nullopt;
  changeTold_ = true;
  return Range{from, to};
}

std::vector<RtLiveChannel::Range> RtLiveChannel::TakeStale() {
  if (!opened_) {
    opened_ = true;
    wholeDirty_ = true;
  }
  changeTold_ = false;
  std::vector<Range> ranges;
  if (wholeDirty_) {
    ranges.emplace_back(kTimeMin, kTimeMax);
  } else {
    ranges.swap(dirty_);
  }
  return ranges;
}

void RtLiveChannel::Apply(const Range& range, KivResult result, std::vector<rt::WireBlock>& blocks) {
  if (Failed(result)) {  // stays stale for the next read
    if (!wholeDirty_) dirty_.push_back(range);
    return;
  }
  std::vector<RtHeldBlock> held;
  for (const auto& block : blocks) {
    if (auto one = HeldBlock(block)) held.push_back(std::move(*one));
  }
  if (!held.empty() && held.back().LastTime() >= range.first) {
    blocks_.Insert(std::move(held));
    wholeDirty_ = false;
  }
}

KivResult RtLiveChannel::EndRead(KivResult result) {
  blocks_.MergeIfDue();
  if (!blocks_.blocks().empty()) return S_OK;  // what is held stays readable
  return Failed(result) ? result : KIV_E_PENDING;
}

KivResult RtLiveChannel::Read(const Reader& reader) {
  KivResult result = S_OK;
  for (const Range& range : TakeStale()) {
    std::vector<rt::WireBlock> wire;
    const KivResult r = reader(description_.id, range.first, range.second, &wire);
    Apply(range, r, wire);
    if (Failed(r)) result = r;
  }
  return EndRead(result);
}

bool RtLiveChannel::Discard(KivTime time) {
  lowerBound_ = time;
  return blocks_.Discard(time) > 0;
}

}  // namespace velmar
