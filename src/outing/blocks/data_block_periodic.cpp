#include "outing/blocks/data_block_periodic.h"

#include <algorithm>

#include "outing/time/time.h"

namespace velmar {
namespace {

// The sample after i, when there is one inside hi.
KivResult StepToNext(const PeriodicRun& run, uint32_t i, KivTime s, KivTime hi, uint32_t* index) {
  if (i + 1 >= run.count || SumExceeds(s, run.interval, hi)) return S_FALSE;
  *index = i + 1;
  return S_OK;
}

}  // namespace

KivResult FindPeriodicSample(const PeriodicRun& run, KivTime lo, KivTime hi, KivTime t, int32_t mode,
                             uint32_t* index) {
  if (!index) return E_POINTER;
  if (mode < 0 || mode > 2) return E_INVALIDARG;
  if (lo > hi) return S_FALSE;  // an empty range holds no sample
  const KivTime base = run.start;
  const KivTime end = run.End();
  KivTime x = t;
  if (t < lo) {
    x = lo;
    if (mode == kFindNearest) mode = kFindNextAfter;
  } else if (t > hi) {
    x = hi;
    if (mode == kFindNearest) mode = kFindLastBefore;
  }
  // A time off this block (only direct callers ask for one): its first or last sample.
  if (x < base) {
    if (mode == kFindLastBefore || base > hi) return S_FALSE;
    *index = 0;
    return S_OK;
  }
  if (x > end) {
    if (mode == kFindNextAfter || end < lo) return S_FALSE;
    *index = run.count - 1;
    return S_OK;
  }
  const KivTime rel = x - base;
  const auto i = static_cast<uint32_t>(rel / run.interval);
  const KivTime s = run.TimeAt(i);
  switch (mode) {
    case kFindNextAfter:
      if (t >= lo || s < lo) return StepToNext(run, i, s, hi, index);
      *index = i;
      return S_OK;
    case kFindLastBefore:
      if (s < lo) return S_FALSE;
      if (s != t || t > hi) {
        *index = i;
        return S_OK;
      }
      if (i == 0 || SumExceeds(lo, run.interval, s)) return S_FALSE;
      *index = i - 1;
      return S_OK;
    default:  // nearest; exactly half way goes to the later sample
      if (s == t) {
        *index = i;
        return S_OK;
      }
      if ((static_cast<double>(i) + 0.5) * static_cast<double>(run.interval) > static_cast<double>(rel)) {
        if (s < lo) return StepToNext(run, i, s, hi, index);
        *index = i;
        return S_OK;
      }
      return StepToNext(run, i, s, hi, index);
  }
}

KivResult PeriodicValueAt(const PeriodicRun& run, std::span<const double> values, KivTime t, uint32_t mode,
                          double* value) {
  if (!value) return E_POINTER;
  if (values.size() < run.count || t < run.start || t > run.End()) return E_FAIL;
  const auto i = static_cast<uint32_t>((t - run.start) / run.interval);
  const KivTime s = run.TimeAt(i);
  if (s == t) {
    *value = values[i];
    return S_OK;
  }
  // Strictly between samples i and i + 1 (t is not past the last one).
  if (mode == kValueHold) {
    *value = values[i];
  } else if (mode == kValueInterpolate) {
    *value = (values[i + 1] - values[i]) * static_cast<double>(t - s) / static_cast<double>(run.interval) +
             values[i];
  }
  return S_FALSE;
}

KivResult PeriodicTimeOfValue(const PeriodicRun& run, std::span<const double> values, double value,
                              uint32_t mode, KivTime* time) {
  if (!time) return E_POINTER;
  const size_t n = std::min<size_t>(values.size(), run.count);
  for (size_t k = 0; k < n; ++k) {
    const auto i = static_cast<uint32_t>(k);
    if (values[k] == value) {
      *time = run.TimeAt(i);
      return S_OK;
    }
    if (k + 1 < n && StrictlyBetween(value, values[k], values[k + 1])) {
      // A periodic block stops at the first crossing, whatever the mode.
      const KivTime t0 = run.TimeAt(i);
      *time = mode == kCrossingInterpolated
                  ? CrossingTime(t0, t0 + run.interval, values[k], values[k + 1], value)
                  : t0;
      return S_FALSE;
    }
  }
  return E_FAIL;
}

KivResult PeriodicDataBlock::FindSample(KivTime lo, KivTime hi, KivTime t, int32_t mode, uint32_t* index) {
  return FindPeriodicSample(Run(), lo, hi, t, mode, index);
}

KivResult PeriodicDataBlock::GetTimeAt(uint32_t index, KivTime* time) {
  if (!time) return E_POINTER;
  if (index >= count_) return E_FAIL;
  *time = Run().TimeAt(index);
  return S_OK;
}

KivResult PeriodicDataBlock::FindTimeOfValue(double value, uint32_t mode, KivTime* time) {
  std::span<const double> v;
  if (KivResult r = ValuesArray(true, &v); Failed(r)) return r;
  return PeriodicTimeOfValue(Run(), v, value, mode, time);
}

KivResult PeriodicDataBlock::GetValueAt(KivTime t, uint32_t mode, double* value) {
  std::span<const double> v;
  if (KivResult r = ValuesArray(true, &v); Failed(r)) return r;
  return PeriodicValueAt(Run(), v, t, mode, value);
}

int64_t PeriodicDataBlock::FirstIndexAtOrAfter(KivTime t) {
  const PeriodicRun run = Run();
  if (t <= run.start) return 0;
  if (t > run.End()) return run.count;
  const KivTime rel = t - run.start;
  return rel / run.interval + (rel % run.interval != 0 ? 1 : 0);
}

int64_t PeriodicDataBlock::LastIndexAtOrBefore(KivTime t) {
  const PeriodicRun run = Run();
  if (t < run.start) return -1;
  if (t >= run.End()) return static_cast<int64_t>(run.count) - 1;
  return (t - run.start) / run.interval;
}

CPeriodicOutingDataBlock::CPeriodicOutingDataBlock(std::shared_ptr<const DataSection> section)
    : PeriodicDataBlock(section->firstTime(), section->lastTime(), section->interval(),
                        section->sampleCount()),
      section_(std::move(section)) {}

KivResult CPeriodicOutingDataBlock::Create(std::shared_ptr<const DataSection> section, uint32_t blockIndex,
                                           KivTime timeOffset, bool continuous,
                                           ComPtr<CPeriodicOutingDataBlock>* out) {
  if (!out) return E_POINTER;
  if (!section || !section->periodic()) return E_INVALIDARG;
  ComPtr<CPeriodicOutingDataBlock> block(new CPeriodicOutingDataBlock(std::move(section)));
  if (KivResult r = block->Place(blockIndex, timeOffset, continuous); Failed(r)) return r;
  *out = std::move(block);
  return S_OK;
}

KivResult CPeriodicOutingDataBlock::TimesArray(std::span<const KivTime>* times) {
  if (!times) return E_POINTER;
  if (times_.empty()) {
    if (timeOffset() == 0) {
      times_ = section_->Times();
      timesShared_ = true;
    } else {
      times_ = PeriodicTimes(StartTime(), interval(), GetSampleCount());
      timesShared_ = false;
    }
  }
  *times = times_.view();
  return S_OK;
}

KivResult CPeriodicOutingDataBlock::ValuesArray(bool, std::span<const double>* values) {
  if (!values) return E_POINTER;
  *values = section_->values().view();
  return S_OK;
}

KivResult CPeriodicOutingDataBlock::ApplyOffset(KivTime, KivTime) {
  // A private array is dropped, a shared one only forgotten; either is made
  // again on the next request.
  times_ = {};
  timesShared_ = false;
  return S_OK;
}

}  // namespace velmar
