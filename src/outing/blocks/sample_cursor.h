// Walks a channel's samples one at a time, forwards or backwards, across
// block boundaries: for reading a range of samples in order without a search
// per sample. Holds the iterator (and through it the blocks) alive.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "outing/blocks/channel_iterator.h"

namespace velmar {

class SampleCursor {
 public:
  explicit SampleCursor(ComPtr<CChannelIterator> iterator) : iterator_(std::move(iterator)) {}

  // Places the cursor on the sample that FindBlock gives for (t, mode, range):
  // the next after, the last before or the nearest. False, and no current
  // sample, when there is none.
  [[nodiscard]] bool Seek(KivTime t, int32_t mode, uint32_t range = kRangeWholeChannel);
  [[nodiscard]] bool SeekFirst();
  [[nodiscard]] bool SeekLast();
  // One sample on; false at the end (the cursor stays on the last sample).
  [[nodiscard]] bool Next() {
    if (valid_ && index_ + 1 < values_.size()) {
      ++index_;
      return true;
    }
    return NextBlock();
  }
  // One sample back; false at the start (the cursor stays on the first sample).
  [[nodiscard]] bool Previous() {
    if (valid_ && index_ > 0) {
      --index_;
      return true;
    }
    return PreviousBlock();
  }

  bool valid() const { return valid_; }
  // The current sample; only while valid().
  KivTime time() const { return times_.empty() ? start_ + static_cast<KivTime>(index_) * interval_ : times_[index_]; }
  double value() const { return values_[index_]; }
  // Block number from 1, and index in it.
  uint32_t blockNumber() const { return static_cast<uint32_t>(block_ + 1); }
  uint32_t index() const { return index_; }
  // Whether the current sample's block continues the one before it.
  bool continuous() const;

 private:
  const DataBlockList& Blocks() const;
  bool Load(size_t block, uint32_t index);
  [[gnu::cold]] bool NextBlock();
  [[gnu::cold]] bool PreviousBlock();

  ComPtr<CChannelIterator> iterator_;
  bool valid_ = false;
  size_t block_ = 0;
  uint32_t index_ = 0;
  std::span<const double> values_;
  std::span<const KivTime> times_;  // aperiodic blocks
  KivTime start_ = 0;               // periodic blocks
  KivTime interval_ = 0;
};

// Calls fn(time, value) for every sample with from <= time <= to, in rising
// time order, straight over each block's borrowed arrays: the quickest way to
// read a span of a channel. Fails with a block's own failure.
template <class Fn>
[[nodiscard]] KivResult ForEachSample(const DataBlockList& blocks, KivTime from, KivTime to, Fn&& fn) {
  for (const auto& block : blocks) {
    if (block->EndTime() < from) continue;
    if (block->StartTime() > to) break;
    std::span<const double> values;
    if (KivResult r = block->ValuesArray(true, &values); Failed(r)) return r;
    const auto first = static_cast<size_t>(block->FirstIndexAtOrAfter(from));
    const auto end = std::min(static_cast<size_t>(block->LastIndexAtOrBefore(to) + 1), values.size());
    if (block->IsPeriodic()) {
      const KivTime interval = block->GetIntervalReference();
      KivTime t = block->StartTime() + static_cast<KivTime>(first) * interval;
      for (size_t i = first; i < end; ++i, t += interval) fn(t, values[i]);
    } else {
      std::span<const KivTime> times;
      if (KivResult r = block->TimesArray(&times); Failed(r)) return r;
      for (size_t i = first; i < end && i < times.size(); ++i) fn(times[i], values[i]);
    }
  }
  return S_OK;
}

}  // namespace velmar
