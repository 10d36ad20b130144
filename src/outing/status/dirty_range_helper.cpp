#include "outing/status/dirty_range_helper.h"

#include <algorithm>

namespace velmar {
namespace {

constexpr KivTime kOneSecond = 10'000'000;

// b starts within a second of a's end (or inside a).
bool Near(const CDirtyRangeHelper::Range& a, const CDirtyRangeHelper::Range& b) {
  return b.first <= a.second || a.second > kTimeMax - kOneSecond || b.first <= a.second + kOneSecond;
}

}  // namespace

void CDirtyRangeHelper::Add(KivTime from, KivTime to) {
  pending_ = true;
  if (reloadAll_) return;
  if (!ranges_.empty()) {
    Range& last = ranges_.back();
    if (from >= last.first && Near(last, {from, to})) {
      last.second = std::max(last.second, to);
      return;
    }
  }
  ranges_.emplace_back(from, to);
  if (ranges_.size() <= kMaxRanges) return;
  ranges_ = Folded(std::move(ranges_));
  if (ranges_.size() > kMaxRanges) MarkAll();
}

void CDirtyRangeHelper::MarkAll() {
  ranges_.clear();
  reloadAll_ = true;
  pending_ = true;
}

std::vector<CDirtyRangeHelper::Range> CDirtyRangeHelper::Folded(std::vector<Range> ranges) const {
  std::sort(ranges.begin(), ranges.end());
  std::vector<Range> out;
  for (Range r : ranges) {
    if (r.second < limit_) continue;
    r.first = std::max(r.first, limit_);
    if (kTimeMax - r.second <= kOneSecond) r.second = kTimeMax;
    if (!out.empty() && Near(out.back(), r)) {
      out.back().second = std::max(out.back().second, r.second);
    } else {
      out.push_back(r);
    }
  }
  return out;
}

void CDirtyRangeHelper::Process() {
  if (busy_ || !pending_) return;
  busy_ = true;
  if (ranges_.empty()) {
    if (reloadAll_) {
      Forget(kTimeMin);
      if (Load(kTimeMin, kTimeMax, true)) reloadAll_ = false;
    }
  } else {
    ProcessRanges();
  }
  pending_ = reloadAll_ || !ranges_.empty();
  busy_ = false;
}

void CDirtyRangeHelper::ProcessRanges() {
  std::vector<Range> ranges = Folded(std::move(ranges_));
  ranges_.clear();
  const KivTime loadedEnd = GetEnd();
  for (size_t i = 0; i < ranges.size(); ++i) {
    const Range r = ranges[i];
    // Past the end of what is held: what lies from there on is stale too.
    if (r.second > loadedEnd || r.first > loadedEnd) Forget(r.first == kTimeMin ? kTimeMin : r.first - 1);
    if (!Load(r.first, r.second, false)) {
      ranges_.assign(ranges.begin() + static_cast<std::ptrdiff_t>(i), ranges.end());
      return;
    }
  }
}

}  // namespace velmar
