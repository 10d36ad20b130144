// Time on the common base: ticks of 100 ns (KivTime). Seconds as doubles
// exist only at the edges (file formats, raw channels); these are the one
// place they turn into ticks and back, always by name, never implicitly.
#pragma once

#include <cmath>
#include <optional>

#include "velmar/types.h"

namespace velmar {

// True for the two reserved values that stand for "unbounded".
constexpr bool IsUnboundedTime(KivTime t) { return t == kTimeMin || t == kTimeMax; }

// A value in ticks (a difference, an interpolated time) rounded half away
// from zero (add 0.5 to a value not below 0, subtract 0.5 from a negative
// one, truncate the double). Nothing for NaN, infinities and values beyond
// the tick range; the two extremes are reserved for "unbounded" and never
// result. Inline: a column's split rounds every sample time.
inline std::optional<KivTime> RoundTicks(double ticks) {
  if (std::isnan(ticks)) return std::nullopt;
  // std::round, not trunc(x + 0.5): that turns 0.49999999999999994 into 1.
  double r = std::round(ticks);
  // 2^63 is exactly representable; every double strictly inside (-2^63, 2^63)
  // converts without overflow.
  constexpr double kLimit = 9223372036854775808.0;
  if (!(r > -kLimit && r < kLimit)) return std::nullopt;
  auto t = static_cast<KivTime>(r);
  if (IsUnboundedTime(t)) return std::nullopt;
  return t;
}

// Seconds to ticks: x 1e7, then rounded as RoundTicks.
inline std::optional<KivTime> TicksFromSeconds(double seconds) {
  return RoundTicks(seconds * static_cast<double>(kTicksPerSecond));
}

double SecondsFromTicks(KivTime ticks);

// a + b, or nothing on overflow.
constexpr std::optional<KivTime> CheckedAddTicks(KivTime a, KivTime b) {
  KivTime sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) return std::nullopt;
  return sum;
}

// Whether a + b > limit, exact even where a + b leaves the tick range.
constexpr bool SumExceeds(KivTime a, KivTime b, KivTime limit) {
  KivTime sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) return b > 0;
  return sum > limit;
}

// A span of time, both ends included. (kTimeMin, kTimeMax) is the whole range;
// an accumulator of changes starts empty as (kTimeMax, kTimeMin).
struct TimeRange {
  KivTime start = kTimeMax;
  KivTime end = kTimeMin;

  static constexpr TimeRange Whole() { return {kTimeMin, kTimeMax}; }
  static constexpr TimeRange Empty() { return {}; }
  constexpr bool IsEmpty() const { return start > end; }
  constexpr bool Contains(KivTime t) const { return start <= t && t <= end; }
  // Grows to cover `other` too; an empty range adds nothing.
  constexpr void Merge(const TimeRange& other) {
    if (other.IsEmpty()) return;
    if (other.start < start) start = other.start;
    if (other.end > end) end = other.end;
  }
  friend constexpr bool operator==(const TimeRange&, const TimeRange&) = default;
};

}  // namespace velmar
