#include "outing/blocks/data_block_section.h"

#include <algorithm>
#include <limits>

#include "outing/time/time.h"

namespace velmar {

bool PeriodicLastTime(KivTime first, KivTime interval, uint64_t count, KivTime* last) {
  if (count == 0 || interval <= 0 || IsUnboundedTime(first)) return false;
  KivTime span = 0;
  if (__builtin_mul_overflow(static_cast<KivTime>(count - 1), interval, &span)) return false;
  auto end = CheckedAddTicks(first, span);
  if (!end || IsUnboundedTime(*end)) return false;
  *last = *end;
  return true;
}

bool ValidSampleTimes(std::span<const KivTime> t) {
  KivTime span = 0;
  return !t.empty() && std::is_sorted(t.begin(), t.end()) && !IsUnboundedTime(t.front()) &&
         !IsUnboundedTime(t.back()) && !__builtin_sub_overflow(t.back(), t.front(), &span);
}

LockedArray<KivTime> PeriodicTimes(KivTime first, KivTime interval, uint32_t count) {
  auto times = LockedArray<KivTime>::Uninitialized(count);
  KivTime t = first;
  for (KivTime& slot : times.Writable()) {
    slot = t;
    t += interval;  // the caller checked that the last time is in range
  }
  return times;
}

KivResult DataSection::MakePeriodic(LockedArray<double> values, KivTime firstTime, KivTime interval,
                                    std::shared_ptr<const DataSection>* out, std::optional<KivTime> lastTime) {
  if (!out) return E_POINTER;
  if (values.empty() || values.size() > std::numeric_limits<uint32_t>::max()) return E_INVALIDARG;
  KivTime last = 0;
  if (!PeriodicLastTime(firstTime, interval, values.size(), &last)) return E_INVALIDARG;
  if (lastTime) {
    if (*lastTime < firstTime || IsUnboundedTime(*lastTime)) return E_INVALIDARG;
    last = *lastTime;
  }
  std::shared_ptr<DataSection> s(new DataSection());
  s->periodic_ = true;
  s->firstTime_ = firstTime;
  s->lastTime_ = last;
  s->interval_ = interval;
  s->values_ = std::move(values);
  *out = std::move(s);
  return S_OK;
}

KivResult DataSection::MakeAperiodic(LockedArray<double> values, LockedArray<KivTime> times,
                                     std::shared_ptr<const DataSection>* out) {
  if (!out) return E_POINTER;
  if (values.empty() || values.size() > std::numeric_limits<uint32_t>::max()) return E_INVALIDARG;
  if (times.size() != values.size()) return E_INVALIDARG;
  auto t = times.view();
  if (!ValidSampleTimes(t)) return E_INVALIDARG;
  std::shared_ptr<DataSection> s(new DataSection());
  s->firstTime_ = t.front();
  s->lastTime_ = t.back();
  s->values_ = std::move(values);
  s->times_ = std::move(times);
  *out = std::move(s);
  return S_OK;
}

const LockedArray<KivTime>& DataSection::Times() const {
  if (periodic_) {
    std::call_once(timesMade_, [this] { times_ = PeriodicTimes(firstTime_, interval_, sampleCount()); });
  }
  return times_;
}

}  // namespace velmar
