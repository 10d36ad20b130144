// The arithmetic of collecting a channel for export, kept apart from the
// objects so that every edge can be checked on plain numbers: which samples
// of a block fall inside an inclusive range, and how a resampled range is cut
// into runs on an absolute grid and then into blocks of bounded size.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "velmar/types.h"

namespace velmar {

// Resampled data is cut into blocks of at most this many samples, so no one
// array grows with the length of a run.
inline constexpr uint32_t kExportBlockSamples = 4000;
// The period of a resampled export: 1 ms to 10 s, inclusive.
inline constexpr KivTime kExportMinPeriod = 10'000;
inline constexpr KivTime kExportMaxPeriod = 100'000'000;

constexpr bool ExportPeriodInLimits(KivTime period) {
  return period >= kExportMinPeriod && period <= kExportMaxPeriod;
}

// The multiple of `period` at or below (Down) or at or above (Up) `t`. Grid
// points are multiples of the period from the outing's zero, negative times
// included.
KivTime RoundDownToGrid(KivTime t, KivTime period);
KivTime RoundUpToGrid(KivTime t, KivTime period);

// What the window selection needs of a block: its first and last time, and
// either its interval (periodic) or its time array (aperiodic, interval 0).
struct BlockShape {
  KivTime start = 0;
  KivTime end = 0;
  KivTime interval = 0;
  uint32_t count = 0;
  std::span<const KivTime> times;
};

// The samples of a block inside [start, end], both ends included.
struct SampleWindow {
  uint32_t first = 0;
  uint32_t last = 0;
  bool whole = false;  // the window is the whole block
};

// 0 with the window; 1 when the block has no sample in the range (it lies
// outside, or the range falls between two of its samples).
int SelectWindow(const BlockShape& block, KivTime start, KivTime end, SampleWindow* window);

// A block as the run planning sees it.
struct BlockSpan {
  KivTime start = 0;
  KivTime end = 0;
  bool continuous = false;
};

// The first grid point at or after `start` that has a value: inside a block,
// or in the gap before a block that continues the one before it. Before the
// first sample it is the first sample's time on the grid. False when the
// data ends before any such point.
bool FirstReadableGridTime(std::span<const BlockSpan> blocks, KivTime start, KivTime period, KivTime* out);

// One run of grid points, both ends on the grid and included.
struct GridRun {
  KivTime start = 0;
  KivTime end = 0;
};

// The runs of a resampled range. `start` is the first readable time (a
// sample's time or one inside a block), `end` the range's end. Both are
// brought onto the grid; a run never bridges a block that does not continue
// the one before it. False when nothing of the range lies on the grid.
bool PlanGridRuns(std::span<const BlockSpan> blocks, KivTime start, KivTime end, KivTime period,
                  std::vector<GridRun>* runs);

// One block of resampled output: `count` grid points from `first`.
struct GridBlock {
  KivTime first = 0;
  uint32_t count = 0;
  bool continuous = false;  // false for the first block of every run
};

// Cuts every run into blocks of at most `maxSamples` samples.
std::vector<GridBlock> SplitGridRuns(std::span<const GridRun> runs, KivTime period,
                                     uint32_t maxSamples = kExportBlockSamples);

}  // namespace velmar
