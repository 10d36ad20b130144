#include "outing/channel_sections.h"

#include <new>
#include <optional>

#include "outing/time.h"

namespace velmar {

namespace {

// One run found by the split: [first, first + count), periodic or not.
struct Run {
  size_t first = 0;
  size_t count = 0;
  bool periodic = false;
};

// a - b, or nothing when it leaves the tick range.
std::optional<KivTime> Difference(KivTime a, KivTime b) {
  KivTime d = 0;
  if (__builtin_sub_overflow(a, b, &d)) return std::nullopt;
  return d;
}

class Splitter {
 public:
  explicit Splitter(std::span<const KivTime> ticks) : ticks_(ticks) {}

  // The runs, in order; nothing when a spacing leaves the tick range.
  std::optional<std::vector<Run>> Split() {
    std::vector<Run> runs;
    const size_t n = ticks_.size();
    size_t i = 0;
    while (i < n) {
      const size_t rem = n - i;
      if (rem < 3) {
        runs.push_back({i, rem, rem != 1});
        break;
      }
      std::optional<Run> run = NextRun(i);
      if (!run) return std::nullopt;
      runs.push_back(*run);
      i = run->first + run->count;
    }
    return runs;
  }

 private:
  // The run from `i`, with at least 3 samples left.
  std::optional<Run> NextRun(size_t i) {
    const size_t n = ticks_.size();
    const std::optional<KivTime> dt = Difference(ticks_[i + 1], ticks_[i]);
    if (!dt) return std::nullopt;
    size_t j = i + 2;
    KivTime prev = ticks_[i + 1];
    size_t count = 2;
    while (j < n && Difference(ticks_[j], prev) == dt) {
      prev = ticks_[j];
      ++count;
      ++j;
    }
    if (j == n || count > 2) return Run{i, count, true};
    // The first spacing did not repeat: an aperiodic run, which ends where
    // two equal spacings in a row begin.
    std::optional<KivTime> d;
    bool first = true;
    while (j < n) {
      const std::optional<KivTime> delta = Difference(ticks_[j], prev);
      if (!delta) return std::nullopt;
      if (delta == d && !first) {
        j -= 2;
        count -= 2;
        break;
      }
      first = false;
      ++j;
      ++count;
      prev = ticks_[j - 1];
      d = delta;
    }
    return Run{i, count, false};
  }

  std::span<const KivTime> ticks_;
};

LockedArray<double> ScaledValues(std::span<const double> values, const ChannelScaling& scaling) {
  LockedArray<double> out = LockedArray<double>::Uninitialized(values.size());
  ApplyScaling(scaling, values, out.Writable());
  return out;
}

KivResult MakeSection(const Run& run, std::span<const double> seconds, std::span<const KivTime> ticks,
                      std::span<const double> values, const ChannelScaling& scaling,
                      std::shared_ptr<const DataSection>* out) {
  LockedArray<double> scaled = ScaledValues(values.subspan(run.first, run.count), scaling);
  if (run.periodic) {
    const std::optional<KivTime> interval = TicksFromSeconds(seconds[run.first + 1] - seconds[run.first]);
    if (!interval) return E_INVALIDARG;
    if (*interval > 0) return DataSection::MakePeriodic(std::move(scaled), ticks[run.first], *interval, out);
    if (*interval < 0) return E_INVALIDARG;
    // Samples on one tick: equal times, off the path that divides by the interval.
    return DataSection::MakeAperiodic(std::move(scaled),
                                      LockedArray<KivTime>::FromVector(std::vector<KivTime>(run.count, ticks[run.first])),
                                      out);
  }
  return DataSection::MakeAperiodic(std::move(scaled), LockedArray<KivTime>::Copy(ticks.subspan(run.first, run.count)),
                                    out);
}

}  // namespace

KivResult SplitIntoSections(std::span<const double> times, std::span<const double> values,
                            const ChannelScaling& scaling, ChannelSections* sections) {
  if (!sections) return E_POINTER;
  if (times.size() != values.size()) return E_INVALIDARG;
  try {
    std::vector<KivTime> ticks;
    ticks.reserve(times.size());
    for (double t : times) {
      const std::optional<KivTime> tick = TicksFromSeconds(t);
      if (!tick) return E_INVALIDARG;
      ticks.push_back(*tick);
    }
    const std::optional<std::vector<Run>> runs = Splitter(ticks).Split();
    if (!runs) return E_INVALIDARG;
    ChannelSections made;
    made.reserve(runs->size());
    for (const Run& run : *runs) {
      std::shared_ptr<const DataSection> section;
      const KivResult hr = MakeSection(run, times, ticks, values, scaling, &section);
      if (Failed(hr)) return hr;
      made.push_back({std::move(section), false});
    }
    *sections = std::move(made);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace velmar
