// One run of samples as a source read it, with one spacing rule: the unit
// that a raw channel keeps and that blocks reference without copying.
// Immutable once made, apart from the periodic time array that is built on
// first request (once, thread-safe) and then shared by every block on this
// section whose offset is 0.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <mutex>
#include <span>

#include "outing/blocks/data_block_array.h"
#include "velmar/result.h"
#include "velmar/types.h"

namespace velmar {

class DataSection {
 public:
  // `values` non-empty (at most 2^32 - 1), `interval` above 0, and every
  // sample time inside the tick range without touching the unbounded
  // extremes; else E_INVALIDARG. The last time is first plus interval times
  // (count - 1), or `lastTime` when a column's own last time is given: the
  // interval is the rounded first step in seconds, which may stray a tick
  // from the rounded times.
  [[nodiscard]] static KivResult MakePeriodic(LockedArray<double> values, KivTime firstTime,
                                              KivTime interval,
                                              std::shared_ptr<const DataSection>* out,
                                              std::optional<KivTime> lastTime = std::nullopt);
  // `times` as many as `values`, never decreasing, no unbounded extreme, and
  // last minus first inside the tick range; else E_INVALIDARG.
  [[nodiscard]] static KivResult MakeAperiodic(LockedArray<double> values, LockedArray<KivTime> times,
                                               std::shared_ptr<const DataSection>* out);

  bool periodic() const { return periodic_; }
  KivTime firstTime() const { return firstTime_; }
  KivTime lastTime() const { return lastTime_; }
  // 0 for an aperiodic section.
  KivTime interval() const { return interval_; }
  uint32_t sampleCount() const { return static_cast<uint32_t>(values_.size()); }
  const LockedArray<double>& values() const { return values_; }
  // Aperiodic: the sample times. Periodic: firstTime + k x interval, made on
  // the first call and kept.
  const LockedArray<KivTime>& Times() const;

 private:
  DataSection() = default;

  bool periodic_ = false;
  KivTime firstTime_ = 0;
  KivTime lastTime_ = 0;
  KivTime interval_ = 0;
  LockedArray<double> values_;
  mutable std::once_flag timesMade_;
  mutable LockedArray<KivTime> times_;
};

// The times of a periodic run: first + k x interval for k in [0, count).
LockedArray<KivTime> PeriodicTimes(KivTime first, KivTime interval, uint32_t count);

// Whether times can be an aperiodic run: at least one, never decreasing, no
// unbounded extreme, and last minus first inside the tick range.
[[nodiscard]] bool ValidSampleTimes(std::span<const KivTime> times);

// Whether a periodic run of `count` samples from `first` stays inside the
// tick range; its last time in `last`.
[[nodiscard]] bool PeriodicLastTime(KivTime first, KivTime interval, uint64_t count, KivTime* last);

}  // namespace velmar
