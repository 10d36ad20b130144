#include "outing/blocks/data_block_aperiodic.h"

#include <algorithm>

#include "outing/blocks/data_block_periodic.h"
#include "outing/time/time.h"

namespace velmar {
namespace {

constexpr KivTime kNoInterval = 0;

size_t IndexOf(std::span<const KivTime> times, std::span<const KivTime>::iterator it) {
  return static_cast<size_t>(it - times.begin());
}

// The window [a, b] of a search bounded by lo and hi: it holds the samples
// in [lo, hi] and the neighbour just outside each end. False when empty.
bool Window(std::span<const KivTime> times, KivTime lo, KivTime hi, size_t* a, size_t* b) {
  const size_t n = times.size();
  if (lo <= times.front()) {
    *a = 0;
  } else if (times.back() < lo) {
    *a = n;
  } else {
    auto it = std::lower_bound(times.begin(), times.end(), lo);
    *a = *it == lo ? IndexOf(times, it) : IndexOf(times, it) - 1;
  }
  if (hi >= times.back()) {
    *b = n - 1;
  } else {
    auto it = std::lower_bound(times.begin() + static_cast<std::ptrdiff_t>(std::min(*a, n)), times.end(), hi);
    *b = IndexOf(times, it);  // an exact hit, or the first sample above hi
  }
  return *a <= *b && *b < n;
}

enum class Ending { kExact, kBelow, kAbove };

}  // namespace

KivResult FindAperiodicSample(std::span<const KivTime> times, KivTime lo, KivTime hi, KivTime t, int32_t mode,
                              uint32_t* index) {
  if (!index) return E_POINTER;
  if (mode < 0 || mode > 2) return E_INVALIDARG;
  if (times.empty() || lo > hi) return E_FAIL;
  size_t a = 0;
  size_t b = 0;
  if (!Window(times, lo, hi, &a, &b)) return E_FAIL;

  // Bisect for t inside the window. `m` is the last mid; the search fails
  // when it would leave the window.
  size_t low = a;
  size_t high = b;
  size_t m = a;
  Ending ending = Ending::kExact;
  bool failed = false;
  while (low <= high) {
    m = low + (high - low) / 2;
    if (times[m] == t) {
      ending = Ending::kExact;
      break;
    }
    if (t < times[m]) {
      ending = Ending::kAbove;
      if (m == a) {
        failed = true;
        break;
      }
      high = m - 1;
    } else {
      ending = Ending::kBelow;
      if (m == b) {
        failed = true;
        break;
      }
      low = m + 1;
    }
  }
  // A failed search has no answer, except the nearest sample, which is then the window's end.
  if (failed && mode != kFindNearest) return E_FAIL;

  size_t result = m;
  switch (mode) {
    case kFindNextAfter:
      if (ending != Ending::kAbove) {
        if (m >= b) return E_FAIL;
        result = m + 1;
      }
      break;
    case kFindLastBefore:
      if (ending != Ending::kBelow) {
        if (m <= a) return E_FAIL;
        result = m - 1;
      }
      break;
    default:  // nearest; a tie goes to the neighbour the search did not end on
      if (ending == Ending::kBelow && m < b) {
        result = t - times[m] < times[m + 1] - t ? m : m + 1;
      } else if (ending == Ending::kAbove && m > a) {
        result = times[m] - t < t - times[m - 1] ? m : m - 1;
      }
      break;
  }
  *index = static_cast<uint32_t>(result);
  return S_OK;
}

KivResult AperiodicValueAt(std::span<const KivTime> times, std::span<const double> values, KivTime t,
                           uint32_t mode, double* value) {
  if (!value) return E_POINTER;
  if (times.empty() || values.size() != times.size()) return E_FAIL;
  auto it = std::lower_bound(times.begin(), times.end(), t);
  const size_t k = IndexOf(times, it);
  if (it != times.end() && *it == t) {
    *value = values[k];
    return S_OK;
  }
  if (k == 0 || k == times.size()) return E_FAIL;  // no pair around t
  const size_t i = k - 1;
  if (mode == kValueHold) {
    *value = values[i];
  } else if (mode == kValueInterpolate) {
    *value = LinearValue(times[i], times[k], values[i], values[k], t);
  } else {
    return E_FAIL;
  }
  return S_FALSE;
}

KivResult AperiodicTimeOfValue(std::span<const KivTime> times, std::span<const double> values, double value,
                               uint32_t mode, KivTime* time) {
  if (!time) return E_POINTER;
  const size_t n = std::min(times.size(), values.size());
  for (size_t k = 0; k < n; ++k) {
    if (values[k] == value) {
      *time = times[k];
      return S_OK;
    }
    // An aperiodic block stops at a crossing in modes 1 and 2 and scans on in any other.
    if (k + 1 < n && StrictlyBetween(value, values[k], values[k + 1])) {
      if (mode == kCrossingSampleBefore) {
        *time = times[k];
        return S_OK;
      }
      if (mode == kCrossingInterpolated) {
        *time = CrossingTime(times[k], times[k + 1], values[k], values[k + 1], value);
        return S_OK;
      }
    }
  }
  return E_FAIL;
}

const KivTime& AperiodicDataBlock::GetIntervalReference() const { return kNoInterval; }

KivResult AperiodicDataBlock::FindSample(KivTime lo, KivTime hi, KivTime t, int32_t mode, uint32_t* index) {
  std::span<const KivTime> times;
  if (KivResult r = TimesArray(&times); Failed(r)) return r;
  return FindAperiodicSample(times, lo, hi, t, mode, index);
}

KivResult AperiodicDataBlock::GetTimeAt(uint32_t index, KivTime* time) {
  if (!time) return E_POINTER;
  std::span<const KivTime> times;
  if (KivResult r = TimesArray(&times); Failed(r)) return r;
  if (index >= times.size()) return E_FAIL;
  *time = times[index];
  return S_OK;
}

KivResult AperiodicDataBlock::Arrays(std::span<const KivTime>* times, std::span<const double>* values) {
  if (KivResult r = TimesArray(times); Failed(r)) return r;
  return ValuesArray(true, values);
}

KivResult AperiodicDataBlock::FindTimeOfValue(double value, uint32_t mode, KivTime* time) {
  std::span<const KivTime> times;
  std::span<const double> values;
  if (KivResult r = Arrays(&times, &values); Failed(r)) return r;
  return AperiodicTimeOfValue(times, values, value, mode, time);
}

KivResult AperiodicDataBlock::GetValueAt(KivTime t, uint32_t mode, double* value) {
  std::span<const KivTime> times;
  std::span<const double> values;
  if (KivResult r = Arrays(&times, &values); Failed(r)) return r;
  return AperiodicValueAt(times, values, t, mode, value);
}

int64_t AperiodicDataBlock::FirstIndexAtOrAfter(KivTime t) {
  std::span<const KivTime> times;
  if (Failed(TimesArray(&times))) return GetSampleCount();
  return static_cast<int64_t>(IndexOf(times, std::lower_bound(times.begin(), times.end(), t)));
}

int64_t AperiodicDataBlock::LastIndexAtOrBefore(KivTime t) {
  std::span<const KivTime> times;
  if (Failed(TimesArray(&times))) return -1;
  return static_cast<int64_t>(IndexOf(times, std::upper_bound(times.begin(), times.end(), t))) - 1;
}

CAperiodicOutingDataBlock::CAperiodicOutingDataBlock(std::shared_ptr<const DataSection> section)
    : AperiodicDataBlock(section->firstTime(), section->lastTime()),
      section_(std::move(section)),
      times_(section_->Times()) {}

KivResult CAperiodicOutingDataBlock::Create(std::shared_ptr<const DataSection> section, uint32_t blockIndex,
                                            KivTime timeOffset, bool continuous,
                                            ComPtr<CAperiodicOutingDataBlock>* out) {
  if (!out) return E_POINTER;
  if (!section || section->periodic()) return E_INVALIDARG;
  ComPtr<CAperiodicOutingDataBlock> block(new CAperiodicOutingDataBlock(std::move(section)));
  if (KivResult r = block->Place(blockIndex, timeOffset, continuous); Failed(r)) return r;
  *out = std::move(block);
  return S_OK;
}

KivResult CAperiodicOutingDataBlock::TimesArray(std::span<const KivTime>* times) {
  if (!times) return E_POINTER;
  *times = times_.view();
  return S_OK;
}

KivResult CAperiodicOutingDataBlock::ValuesArray(bool, std::span<const double>* values) {
  if (!values) return E_POINTER;
  *values = section_->values().view();
  return S_OK;
}

KivResult CAperiodicOutingDataBlock::ApplyOffset(KivTime, KivTime newOffset) {
  if (newOffset == 0) {
    if (timesShared_) return E_FAIL;  // already the section's: there is no offset to take off
    times_ = section_->Times();  // the private array goes; the shared one comes back
    timesShared_ = true;
    return S_OK;
  }
  // A private array: the section's times with the new offset (the same as
  // adding new - old to the old private array, without its overflow).
  auto shared = section_->Times().view();
  auto own = LockedArray<KivTime>::Uninitialized(shared.size());
  std::transform(shared.begin(), shared.end(), own.Writable().begin(),
                 [newOffset](KivTime t) { return t + newOffset; });
  times_ = std::move(own);
  timesShared_ = false;
  return S_OK;
}

namespace {

template <class Block>
KivResult MakeBlockAs(std::shared_ptr<const DataSection> section, uint32_t blockIndex, KivTime timeOffset,
                      bool continuous, ComPtr<IKivDataBlockImplBase>* out) {
  ComPtr<Block> block;
  KivResult r = Block::Create(std::move(section), blockIndex, timeOffset, continuous, &block);
  if (Succeeded(r)) *out = std::move(block);
  return r;
}

}  // namespace

KivResult MakeOutingDataBlock(std::shared_ptr<const DataSection> section, uint32_t blockIndex, KivTime timeOffset,
                              bool continuous, ComPtr<IKivDataBlockImplBase>* out) {
  if (!out) return E_POINTER;
  if (!section) return E_INVALIDARG;
  if (section->periodic()) {
    return MakeBlockAs<CPeriodicOutingDataBlock>(std::move(section), blockIndex, timeOffset, continuous, out);
  }
  return MakeBlockAs<CAperiodicOutingDataBlock>(std::move(section), blockIndex, timeOffset, continuous, out);
}

}  // namespace velmar
