#include "export/export_grid.h"

#include <algorithm>
#include <limits>

namespace velmar {

KivTime RoundDownToGrid(KivTime t, KivTime period) {
  KivTime r = t % period;
  if (r < 0) r += period;
  return t - r;
}

KivTime RoundUpToGrid(KivTime t, KivTime period) {
  const KivTime down = RoundDownToGrid(t, period);
  if (down == t) return t;
  // Past the last grid point of the tick range: the largest time, which no
  // range end on the grid reaches.
  if (down > std::numeric_limits<KivTime>::max() - period) return std::numeric_limits<KivTime>::max();
  return down + period;
}

namespace {

// Periodic: the number of whole intervals needed to cover `span` ticks.
uint32_t IntervalsCovering(KivTime span, KivTime interval) {
  return static_cast<uint32_t>((span + interval - 1) / interval);
}

void SelectPeriodic(const BlockShape& block, KivTime start, KivTime end, int64_t* first, int64_t* last) {
  if (start > block.start) *first = IntervalsCovering(start - block.start, block.interval);
  if (end < block.end) *last = int64_t{block.count} - 1 - IntervalsCovering(block.end - end, block.interval);
}

void SelectAperiodic(const BlockShape& block, KivTime start, KivTime end, int64_t* first, int64_t* last) {
  const auto times = block.times.first(std::min<size_t>(block.times.size(), block.count));
  if (start > block.start) *first = std::lower_bound(times.begin(), times.end(), start) - times.begin();
  if (end < block.end) *last = (std::upper_bound(times.begin(), times.end(), end) - times.begin()) - 1;
}

}  // namespace

int SelectWindow(const BlockShape& block, KivTime start, KivTime end, SampleWindow* window) {
  if (block.count == 0 || block.end < start || block.start > end) return 1;
  int64_t first = 0;
  int64_t last = int64_t{block.count} - 1;
  window->whole = block.start >= start && block.end <= end;
  if (!window->whole) {
    if (block.interval > 0) {
      SelectPeriodic(block, start, end, &first, &last);
    } else {
      SelectAperiodic(block, start, end, &first, &last);
    }
  }
  if (last < first) return 1;
  window->first = static_cast<uint32_t>(first);
  window->last = static_cast<uint32_t>(last);
  return 0;
}

namespace {

// The block holding `t`: the last one that starts at or before it (the first
// block when none does).
size_t BlockAt(std::span<const BlockSpan> blocks, KivTime t) {
  size_t found = 0;
  for (size_t i = 0; i < blocks.size() && blocks[i].start <= t; ++i) found = i;
  return found;
}

// Collects runs as the walk opens and closes them.
class RunBuilder {
 public:
  RunBuilder(KivTime end, KivTime period, std::vector<GridRun>* runs) : end_(end), period_(period), runs_(runs) {}

  void Open(KivTime start, KivTime blockEnd) {
    open_ = true;
    start_ = start;
    segmentEnd_ = std::max(RoundDownToGrid(blockEnd, period_), start);
    runEnd_ = std::min(segmentEnd_, end_);
  }
  void Extend(KivTime blockEnd) {
    segmentEnd_ = std::max(segmentEnd_, RoundDownToGrid(blockEnd, period_));
    runEnd_ = std::min(segmentEnd_, end_);
  }
  void Close() {
    if (open_ && start_ <= runEnd_) runs_->push_back({start_, runEnd_});
    open_ = false;
  }
  // A block after a break: the next run starts at its start on the grid,
  // always after the last point of the run before. False when that lies
  // past the range.
  bool Restart(const BlockSpan& block) {
    const KivTime previousEnd = runEnd_;
    Close();
    KivTime start = RoundUpToGrid(block.start, period_);
    if (start <= previousEnd) start = previousEnd + period_;
    if (start > end_) return false;
    Open(start, block.end);
    return true;
  }
  bool Reaches() const { return segmentEnd_ >= end_; }

 private:
  KivTime end_;
  KivTime period_;
  std::vector<GridRun>* runs_;
  bool open_ = false;
  KivTime start_ = 0;
  KivTime segmentEnd_ = 0;
  KivTime runEnd_ = 0;
};

}  // namespace

bool FirstReadableGridTime(std::span<const BlockSpan> blocks, KivTime start, KivTime period, KivTime* out) {
  if (period <= 0) return false;
  KivTime t = RoundUpToGrid(start, period);
  for (size_t i = 0; i < blocks.size(); ++i) {
    if (t > blocks[i].end) continue;
    const bool bridged = i > 0 && blocks[i].continuous;
    if (t < blocks[i].start && !bridged) t = RoundUpToGrid(blocks[i].start, period);
    if (t <= blocks[i].end) {
      *out = t;
      return true;
    }
  }
  return false;
}

bool PlanGridRuns(std::span<const BlockSpan> blocks, KivTime start, KivTime end, KivTime period,
                  std::vector<GridRun>* runs) {
  runs->clear();
  if (blocks.empty() || period <= 0) return false;
  start = RoundUpToGrid(start, period);
  end = RoundDownToGrid(end, period);
  if (start > end) return false;
  size_t i = BlockAt(blocks, start);
  RunBuilder builder(end, period, runs);
  builder.Open(start, blocks[i].end);
  for (++i; i < blocks.size() && !builder.Reaches(); ++i) {
    if (blocks[i].continuous) {
      builder.Extend(blocks[i].end);
    } else if (!builder.Restart(blocks[i])) {
      break;
    }
  }
  builder.Close();
  return !runs->empty();
}

std::vector<GridBlock> SplitGridRuns(std::span<const GridRun> runs, KivTime period, uint32_t maxSamples) {
  std::vector<GridBlock> out;
  for (const GridRun& run : runs) {
    uint64_t left = static_cast<uint64_t>((run.end - run.start) / period) + 1;
    KivTime t = run.start;
    bool continuous = false;
    while (left > 0) {
      const auto count = static_cast<uint32_t>(std::min<uint64_t>(left, maxSamples));
      out.push_back({t, count, continuous});
      t += static_cast<KivTime>(count) * period;
      left -= count;
      continuous = true;
    }
  }
  return out;
}

}  // namespace velmar
