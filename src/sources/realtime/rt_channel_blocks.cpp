#include "sources/realtime/rt_channel_blocks.h"

#include <algorithm>


namespace velmar {

bool RtHeldBlock::Keep(KivTime from, KivTime to) {
  uint32_t first = 0;
  while (first < Count() && TimeAt(first) < from) ++first;
  uint32_t end = first;
  while (end < Count() && TimeAt(end) <= to) ++end;
  if (first >= end) return false;
  if (periodic) {
    firstTime = TimeAt(first);
  } else {
    times = std::vector<KivTime>(times.begin() + first, times.begin() + end);
    firstTime = times.front();
  }
  values = std::vector<double>(values.begin() + first, values.begin() + end);
  if (first > 0) continuous = true;
  return true;
}

void RtBlockList::Insert(std::vector<RtHeldBlock> blocks) {
  if (blocks.empty()) return;
  const KivTime a = blocks.front().firstTime;
  const KivTime b = blocks.back().LastTime();
  // The first block that reaches A and one past the last that begins by B.
  auto first = std::find_if(blocks_.begin(), blocks_.end(), [&](const RtHeldBlock& h) { return h.LastTime() >= a; });
  auto end = std::find_if(first, blocks_.end(), [&](const RtHeldBlock& h) { return h.firstTime > b; });
  std::vector<RtHeldBlock> kept;
  if (first != end && first->firstTime < a) {  // extends before A: cut to end at A - 1 tick
    RtHeldBlock head = *first;
    if (head.Keep(kTimeMin, a - 1)) kept.push_back(std::move(head));
  }
  if (first != end && std::prev(end)->LastTime() > b) {  // extends past B: begins at B + 1 tick
    RtHeldBlock tail = *std::prev(end);
    if (tail.Keep(b + 1, kTimeMax)) {
      blocks.push_back(std::move(tail));
    }
  }
  const auto at = blocks_.erase(first, end);
  const auto index = static_cast<int32_t>(at - blocks_.begin()) + static_cast<int32_t>(kept.size());
  kept.insert(kept.end(), std::make_move_iterator(blocks.begin()), std::make_move_iterator(blocks.end()));
  blocks_.insert(at, std::make_move_iterator(kept.begin()), std::make_move_iterator(kept.end()));
  if (mergedUpTo_ > index) mergedUpTo_ = index;
}

bool RtBlockList::Joins(const RtHeldBlock& last, const RtHeldBlock& next, uint64_t samples) {
  if (!next.continuous || last.periodic != next.periodic) return false;
  if (samples + next.Count() > kMaxMergedSamples) return false;
  if (!last.periodic) return true;
  return last.period == next.period && next.firstTime == last.LastTime() + last.period;
}

bool RtBlockList::MergeIfDue() {
  if (static_cast<int32_t>(blocks_.size()) <= mergeLimit_) return false;
  std::vector<RtHeldBlock> merged(std::make_move_iterator(blocks_.begin()),
                                  std::make_move_iterator(blocks_.begin() + std::max(mergedUpTo_ - 1, 0)));
  uint64_t runSamples = 0;
  for (auto it = blocks_.begin() + std::max(mergedUpTo_ - 1, 0); it != blocks_.end(); ++it) {
    if (!merged.empty() && runSamples > 0 && Joins(merged.back(), *it, runSamples)) {
      RtHeldBlock& run = merged.back();
      run.values.insert(run.values.end(), it->values.begin(), it->values.end());
      if (!run.periodic) run.times.insert(run.times.end(), it->times.begin(), it->times.end());
    } else {
      merged.push_back(std::move(*it));
    }
    runSamples = merged.back().Count();
  }
  blocks_ = std::move(merged);
  mergedUpTo_ = static_cast<int32_t>(blocks_.size()) - 1;
  mergeLimit_ = static_cast<int32_t>(blocks_.size()) + kMergeSlack;
  return true;
}

size_t RtBlockList::Discard(KivTime time) {
  const auto end = std::find_if(blocks_.begin(), blocks_.end(), [&](const RtHeldBlock& h) { return h.LastTime() >= time; });
  const auto gone = static_cast<int32_t>(end - blocks_.begin());
  blocks_.erase(blocks_.begin(), end);
  mergedUpTo_ = blocks_.empty() ? -1 : std::max(mergedUpTo_ - gone, -1);
  mergeLimit_ -= gone;
  return static_cast<size_t>(gone);
}

void RtBlockList::Clear() {
  blocks_.clear();
  mergeLimit_ = kMergeSlack;
  mergedUpTo_ = -1;
}

}  // namespace velmar
