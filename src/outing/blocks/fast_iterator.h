// Bulk reads of a channel in rising time order, without a search per sample:
// the walk goes forward through the blocks and touches an interface only when
// it changes block. Not thread-safe; one walk per object.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "velmar/data_block.h"

namespace velmar {

class CFastIterator {
 public:
  enum Result : int {
    kValue = 0,        // a value was given
    kBeforeFirst = 1,  // before the first sample: no value
    kNoMoreData = 2,   // past the last sample, or no data
  };

  // Releases what it had; with an iterator, holds it and takes its block list.
  void Attach(IKivChannelIterator* iterator);

  // The value at t: a sample's at its time, else interpolated from the sample
  // before within one block or across a continuous block boundary (never
  // across a break). Times must rise from call to call: the walk never goes back.
  Result GetValue(KivTime t, double* value) {
    if (!started_) Start(t);
    int64_t i = index_;
    if (i < 0) return kNoMoreData;
    KivTime s = SampleTime(i);
    while (t > s) {
      // Walk this block on locals; fields are written back once per call.
      const double* values = values_;
      const KivTime* times = times_;
      const int64_t count = sampleCount_;
      KivTime before = s;
      double beforeValue = values[i];
      while (++i < count) {
        const KivTime next = times ? times[i] : firstTime_ + i * interval_;
        if (t <= next) {
          s = next;
          break;
        }
        before = next;
        beforeValue = values[i];
      }
      havePrevious_ = true;
      previousTime_ = before;
      previousValue_ = beforeValue;
      if (i < count) break;
      if (!NextBlock()) return kNoMoreData;  // LoadBlock decides whether "before" still counts
      i = 0;
      s = SampleTime(0);
    }
    index_ = i;
    if (s == t) {
      *value = values_[i];
      return kValue;
    }
    if (!havePrevious_) return kBeforeFirst;
    *value = previousValue_ +
             (values_[i] - previousValue_) / static_cast<double>(s - previousTime_) *
                 static_cast<double>(t - previousTime_);
    return kValue;
  }

  // GetValue for each of `times` (rising), into `values` and `results`
  // (both as long as `times`; a slot without a value keeps what it held).
  // Answers how many values were given.
  size_t GetValues(std::span<const KivTime> times, std::span<double> values, std::span<Result> results) {
    const size_t n = std::min({times.size(), values.size(), results.size()});
    size_t given = 0;
    for (size_t k = 0; k < n; ++k) {
      results[k] = GetValue(times[k], &values[k]);
      given += results[k] == kValue;
    }
    return given;
  }

 private:
  KivTime SampleTime(int64_t i) const { return times_ ? times_[i] : firstTime_ + i * interval_; }
  // Finds the block of the first call's time and loads it; index -1 when
  // there is nothing to walk.
  [[gnu::cold]] void Start(KivTime t);
  // Loads block number blockNumber_ (from 1); false on any failure. The
  // sample before it counts only when the block is continuous.
  bool LoadBlock();
  // Moves to the next block, or marks the end (index -1) and answers false.
  [[gnu::cold]] bool NextBlock();

  ComPtr<IKivChannelIterator> iterator_;
  ComPtr<IKivDataBlocks> blocks_;
  ComPtr<IKivDataBlock> block_;
  bool started_ = false;
  uint32_t blockNumber_ = 0;
  uint32_t blockCount_ = 0;
  int64_t index_ = 0;
  int64_t sampleCount_ = 0;
  const double* values_ = nullptr;
  const KivTime* times_ = nullptr;  // aperiodic blocks
  KivTime firstTime_ = 0;           // periodic blocks
  KivTime interval_ = 0;
  bool havePrevious_ = false;
  double previousValue_ = 0.0;
  KivTime previousTime_ = 0;
};

}  // namespace velmar
