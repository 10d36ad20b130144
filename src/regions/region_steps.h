// The arithmetic of moving a span over a list of regions: where a span sits
// (by midpoints, so a span needn't fit regions exactly), where first /
// previous / next / last take it, and the span each starting mode gives.
// Pure functions over a snapshot of the regions, so that every move can be
// checked on hand-made lists.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "velmar/result.h"
#include "velmar/time_regions.h"
#include "velmar/types.h"

namespace velmar {

struct StepRegion {
  KivTime start = 0;
  KivTime end = 0;
  bool auxiliary = false;
};
using StepRegions = std::vector<StepRegion>;

// A span by 1-based region indexes; located indexes may lie outside 1..n.
struct RegionRange {
  int32_t first = 0;
  int32_t last = 0;
  friend bool operator==(const RegionRange&, const RegionRange&) = default;
};

struct TimeSpan {
  KivTime start = 0;
  KivTime end = 0;
  friend bool operator==(const TimeSpan&, const TimeSpan&) = default;
};

enum class RegionStep { kFirst, kLast, kNext, kPrevious };

// Where a step goes; `stays` when the span is there already.
struct StepTarget {
  TimeSpan span;
  bool stays = false;
};

// The regions just after (forward) or just before (backward) those that the
// span [start, end] covers. None for an empty list.
std::optional<RegionRange> LocateForward(const StepRegions& regions, KivTime start, KivTime end);
std::optional<RegionRange> LocateBackward(const StepRegions& regions, KivTime start, KivTime end);

// The target of a step from [start, end]; none when it would leave the list.
// With `skipAuxiliary` an auxiliary region at either end is stepped over.
std::optional<StepTarget> StepTo(RegionStep step, const StepRegions& regions, TimeSpan from, bool skipAuxiliary);

// The spans a selection starts with. `defaultIndex` is the finder's default
// region (1-based) or none when it has no default; `lastComplete` the
// finder's last complete region (1-based).
std::optional<TimeSpan> SpanOfDefault(const StepRegions& regions, std::optional<int32_t> defaultIndex,
                                      bool skipAuxiliary);
std::optional<TimeSpan> SpanOfLastComplete(const StepRegions& regions, int32_t lastComplete, bool skipAuxiliary);
std::optional<TimeSpan> SpanOfWhole(const StepRegions& regions, bool skipAuxiliary);
std::optional<TimeSpan> SpanOfLast(const StepRegions& regions);

// A snapshot of a finder's regions; E_FAIL when a read fails.
[[nodiscard]] KivResult ReadStepRegions(IKivTimeRegions* regions, StepRegions* out);

}  // namespace velmar
