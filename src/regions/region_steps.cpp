#include "regions/region_steps.h"

namespace velmar {
namespace {

// Halved by truncating division, as the midpoint rule is defined.
KivTime Mid(KivTime a, KivTime b) { return (a + b) / 2; }

int32_t Count(const StepRegions& regions) { return static_cast<int32_t>(regions.size()); }

const StepRegion* At(const StepRegions& regions, int32_t index) {
  return index >= 1 && index <= Count(regions) ? &regions[static_cast<size_t>(index) - 1] : nullptr;
}

std::optional<TimeSpan> SpanOf(const StepRegions& regions, int32_t first, int32_t last) {
  const StepRegion* a = At(regions, first);
  const StepRegion* b = At(regions, last);
  if (!a || !b) return std::nullopt;
  return TimeSpan{a->start, b->end};
}

bool Skipped(const StepRegions& regions, int32_t index, bool skipAuxiliary) {
  const StepRegion* r = At(regions, index);
  return skipAuxiliary && r && r->auxiliary;
}

// The first and last indexes a step may land on.
int32_t FirstUsable(const StepRegions& regions, bool skip) { return Skipped(regions, 1, skip) ? 2 : 1; }
int32_t LastUsable(const StepRegions& regions, bool skip) {
  const int32_t n = Count(regions);
  return Skipped(regions, n, skip) ? n - 1 : n;
}

std::optional<StepTarget> Target(const StepRegions& regions, int32_t first, int32_t last, bool stays) {
  std::optional<TimeSpan> span = SpanOf(regions, first, last);
  if (!span) return std::nullopt;
  return StepTarget{*span, stays};
}

}  // namespace

std::optional<RegionRange> LocateForward(const StepRegions& regions, KivTime start, KivTime end) {
  const int32_t n = Count(regions);
  if (n < 1) return std::nullopt;
  if (n == 1) return RegionRange{1, 1};
  int32_t first = n;
  bool early = false;
  for (int32_t i = 2; i <= n; ++i) {
    if (start < Mid(regions[i - 2].start, regions[i - 1].start)) {
      first = i;
      early = true;
      break;
    }
  }
  for (int32_t j = first; j <= n; ++j) {
    const KivTime a = j == first ? regions[first - 1].end : regions[j - 2].end;
    if (end < Mid(a, regions[j - 1].end)) return RegionRange{first, j};
  }
  return RegionRange{first, early ? n + 1 : n};
}

std::optional<RegionRange> LocateBackward(const StepRegions& regions, KivTime start, KivTime end) {
  const int32_t n = Count(regions);
  if (n < 1) return std::nullopt;
  if (n == 1) return RegionRange{1, 1};
  int32_t last = 1;
  bool early = false;
  for (int32_t j = n - 1; j >= 1; --j) {
    if (end > Mid(regions[j].end, regions[j - 1].end)) {
      last = j;
      early = true;
      break;
    }
  }
  for (int32_t i = last; i >= 1; --i) {
    const KivTime a = i == last ? regions[last - 1].start : regions[i].start;
    if (start > Mid(a, regions[i - 1].start)) return RegionRange{i, last};
  }
  return RegionRange{early ? 0 : 1, last};
}

std::optional<StepTarget> StepTo(RegionStep step, const StepRegions& regions, TimeSpan from, bool skip) {
  const int32_t n = Count(regions);
  const bool forward = step == RegionStep::kFirst || step == RegionStep::kNext;
  const std::optional<RegionRange> at =
      forward ? LocateForward(regions, from.start, from.end) : LocateBackward(regions, from.start, from.end);
  if (!at) return std::nullopt;
  const int32_t width = at->last - at->first;
  int32_t first = at->first, last = at->last;
  switch (step) {
    case RegionStep::kFirst:
      first = FirstUsable(regions, skip);
      last = first + width;
      break;
    case RegionStep::kLast:
      last = LastUsable(regions, skip);
      first = last - width;
      break;
    case RegionStep::kNext:
      if (Skipped(regions, n, skip) && last >= n) --first, --last;
      break;
    case RegionStep::kPrevious:
      if (Skipped(regions, 1, skip) && first < 2) ++first, ++last;
      break;
  }
  std::optional<StepTarget> target = Target(regions, first, last, false);
  if (!target) return std::nullopt;
  switch (step) {
    case RegionStep::kFirst: target->stays = target->span.start == from.start; break;
    case RegionStep::kLast: target->stays = target->span.end == from.end; break;
    case RegionStep::kNext:
      target->stays = last == LastUsable(regions, skip) && target->span.end == from.end;
      break;
    case RegionStep::kPrevious:
      target->stays = first == FirstUsable(regions, skip) && target->span.start == from.start;
      break;
  }
  return target;
}

std::optional<TimeSpan> SpanOfDefault(const StepRegions& regions, std::optional<int32_t> defaultIndex,
                                      bool skipAuxiliary) {
  if (defaultIndex) return SpanOf(regions, *defaultIndex, *defaultIndex);
  int32_t index = 1;
  if (skipAuxiliary) {
    for (int32_t i = 1; i <= Count(regions); ++i) {
      if (!regions[i - 1].auxiliary) {
        index = i;
        break;
      }
    }
  }
  return SpanOf(regions, index, index);
}

std::optional<TimeSpan> SpanOfLastComplete(const StepRegions& regions, int32_t lastComplete, bool skipAuxiliary) {
  // An auxiliary last complete region takes its start from the one before.
  const int32_t first = Skipped(regions, lastComplete, skipAuxiliary) && lastComplete >= 2 ? lastComplete - 1
                                                                                           : lastComplete;
  return SpanOf(regions, first, lastComplete);
}

std::optional<TimeSpan> SpanOfWhole(const StepRegions& regions, bool skipAuxiliary) {
  const int32_t n = Count(regions);
  if (n < 1) return std::nullopt;
  int32_t first = 1, last = n;
  if (skipAuxiliary) {
    while (first < n && regions[first - 1].auxiliary) ++first;
    while (last > first && regions[last - 1].auxiliary) --last;
  }
  return SpanOf(regions, first, last);
}

std::optional<TimeSpan> SpanOfLast(const StepRegions& regions) {
  return SpanOf(regions, Count(regions), Count(regions));
}

KivResult ReadStepRegions(IKivTimeRegions* regions, StepRegions* out) {
  out->clear();
  int32_t count = 0;
  if (!regions || Failed(regions->GetCount(&count))) return E_FAIL;
  out->reserve(static_cast<size_t>(count));
  for (int32_t i = 1; i <= count; ++i) {
    StepRegion r;
    KivBool auxiliary = KIV_FALSE;
    if (Failed(regions->GetStart(i, &r.start)) || Failed(regions->GetEnd(i, &r.end)) ||
        Failed(regions->GetAuxiliary(i, &auxiliary)))
      return E_FAIL;
    r.auxiliary = FromKivBool(auxiliary);
    out->push_back(r);
  }
  return S_OK;
}

}  // namespace velmar
