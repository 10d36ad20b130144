#include "outing/events/event_search.h"

#include <bit>

#include "outing/time/time.h"

namespace velmar {

namespace {

constexpr uint32_t kNext = 0;
constexpr uint32_t kPrevious = 1;
constexpr uint32_t kNearest = 2;

KivTime Before(KivTime t) { return t == kTimeMin ? t : t - 1; }
KivTime After(KivTime t) { return t == kTimeMax ? t : t + 1; }

// Half the sum, truncated towards zero, with no overflow.
KivTime HalfSum(KivTime a, KivTime b) { return static_cast<KivTime>((static_cast<__int128>(a) + b) / 2); }

// Position of an event at t, or of the first event above t when none is.
// The list holds an event at or above t. Bounded: a bisection halves the
// span each turn.
ptrdiff_t Bisect(size_t count, const std::function<KivTime(size_t)>& timeAt, KivTime t, bool* hit) {
  size_t low = 0;
  size_t high = count - 1;
  const int bound = std::bit_width(count) + 1;
  for (int turn = 0; turn <= bound && low < high; ++turn) {
    const size_t mid = low + (high - low) / 2;
    const KivTime at = timeAt(mid);
    if (at == t) {
      *hit = true;
      return static_cast<ptrdiff_t>(mid);
    }
    if (at < t) {
      low = mid + 1;
    } else {
      high = mid;
    }
  }
  *hit = timeAt(low) == t;
  return static_cast<ptrdiff_t>(low);
}

}  // namespace

KivResult FindEventIndex(size_t count, const std::function<KivTime(size_t)>& timeAt, KivTime t, uint32_t mode,
                         KivTime lo, KivTime hi, int32_t* index) {
  if (!index) return E_POINTER;
  *index = 0;
  if (count == 0 || mode > kNearest) return E_INVALIDARG;
  // Clamp to the bounds.
  if (t <= lo) {
    if (mode == kPrevious) return S_FALSE;
    if (mode == kNearest || t < lo) {
      mode = kNext;
      t = Before(lo);
    }
  } else if (t >= hi) {
    if (mode == kNext) return S_FALSE;
    if (mode == kNearest || t > hi) {
      mode = kPrevious;
      t = After(hi);
    }
  }
  const auto n = static_cast<ptrdiff_t>(count);
  if (t < timeAt(0)) {
    if (mode == kPrevious) return E_FAIL;
    *index = 1;
    return S_OK;
  }
  if (t > timeAt(count - 1)) {
    if (mode == kNext) return E_FAIL;
    *index = static_cast<int32_t>(count);
    return S_OK;
  }
  const auto time = [&](ptrdiff_t i) { return timeAt(static_cast<size_t>(i)); };
  // Walks back from `i` to the first event of its run.
  const auto firstOfRun = [&](ptrdiff_t i) {
    const KivTime at = time(i);
    while (i > 0 && time(i - 1) == at) --i;
    return i;
  };
  bool hit = false;
  ptrdiff_t i = Bisect(count, timeAt, t, &hit);
  if (hit) {
    if (mode == kNext) {
      while (i < n && time(i) == t) ++i;
    } else if (mode == kPrevious) {
      while (i >= 0 && time(i) == t) --i;
    } else {
      i = firstOfRun(i);
    }
  } else {
    i -= 1;  // the last event below t
    if (mode == kNext) {
      i += 1;
    } else if (mode == kPrevious) {
      i = firstOfRun(i);
    } else {
      i = HalfSum(time(i), time(i + 1)) > t ? firstOfRun(i) : i + 1;
    }
  }
  if (i < 0 || i >= n) return E_FAIL;
  const KivTime found = time(i);
  if (found < lo || found > hi) return S_FALSE;
  *index = static_cast<int32_t>(i + 1);
  return S_OK;
}

}  // namespace velmar
