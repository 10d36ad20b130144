// The samples a live channel holds: a list of blocks in time order that
// grows at its end as the server sends, loses its start as the server
// discards, and is kept short by merging neighbours.
//
// New blocks replace what they overlap (cutting or splitting the blocks at
// their edges). When the count passes the merge limit, runs of blocks that
// continue each other (the second flag, the same kind, a periodic one
// starting one period after the run) become one block of at most
// kMaxMergedSamples; the limit is then the count plus kMergeSlack.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <vector>

#include "velmar/types.h"

namespace velmar {

inline constexpr uint32_t kMaxMergedSamples = 8100;
inline constexpr int32_t kMergeSlack = 20;

struct RtHeldBlock {
  bool periodic = true;
  bool continuous = false;  // continues the block before it
  KivTime firstTime = 0;
  KivTime period = 0;            // periodic only
  std::vector<KivTime> times;    // aperiodic only: one per sample
  std::vector<double> values;

  uint32_t Count() const { return static_cast<uint32_t>(values.size()); }
  KivTime TimeAt(uint32_t index) const {
    return periodic ? firstTime + static_cast<KivTime>(index) * period : times[index];
  }
  KivTime LastTime() const { return TimeAt(Count() - 1); }
  // The samples from `from` to `to`, both included; false when none is.
  bool Keep(KivTime from, KivTime to);
};

class RtBlockList {
 public:
  // Blocks of one read, in time order, none empty: what they span replaces
  // what was held there.
  void Insert(std::vector<RtHeldBlock> blocks);
  // Merges when the count is past the limit; true when it ran.
  bool MergeIfDue();
  // Drops the blocks that end before `time`; how many went.
  size_t Discard(KivTime time);
  void Clear();

  const std::vector<RtHeldBlock>& blocks() const { return blocks_; }
  int32_t merge_limit() const { return mergeLimit_; }
  int32_t merged_up_to() const { return mergedUpTo_; }

 private:
  // Whether `next` may join a run that ends with `last` holding `samples`.
  static bool Joins(const RtHeldBlock& last, const RtHeldBlock& next, uint64_t samples);

  std::vector<RtHeldBlock> blocks_;
  int32_t mergeLimit_ = kMergeSlack;
  int32_t mergedUpTo_ = -1;
};

}  // namespace velmar
