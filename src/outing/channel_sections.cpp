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

// A column's times in ticks, each rounded when the split reaches it; a time
// with no tick (not finite, beyond the range) spoils the whole split.
class Ticks {
 public:
  explicit Ticks(std::span<const double> seconds) : seconds_(seconds) {}
  size_t size() const { return seconds_.size(); }
  KivTime operator[](size_t i) {
    const std::optional<KivTime> t = TicksFromSeconds(seconds_[i]);
    if (t) return *t;
    bad_ = true;
    return 0;
  }
  bool bad() const { return bad_; }

 private:
  std::span<const double> seconds_;
  bool bad_ = false;
};

class Splitter {
 public:
  explicit Splitter(Ticks& ticks) : ticks_(ticks) {}

  // The runs, in order; nothing when a spacing leaves the tick range or a
  // time has no tick. Every time is rounded at least once on the way.
  std::optional<std::vector<Run>> Split() {
    std::vector<Run> runs;
    const size_t n = ticks_.size();
    size_t i = 0;
    while (i < n) {
      const size_t rem = n - i;
      if (rem < 3) {
        for (size_t k = i; k < n; ++k) (void)ticks_[k];
        runs.push_back({i, rem, rem != 1});
        break;
      }
      std::optional<Run> run = NextRun(i);
      if (!run) return std::nullopt;
      runs.push_back(*run);
      i = run->first + run->count;
    }
    if (ticks_.bad()) return std::nullopt;
    return runs;
  }

 private:
  // The run from `i`, with at least 3 samples left.
  std::optional<Run> NextRun(size_t i) {
    const size_t n = ticks_.size();
    KivTime prev = ticks_[i + 1];
    const std::optional<KivTime> dt = Difference(prev, ticks_[i]);
    if (!dt) return std::nullopt;
    size_t j = i + 2;
    size_t count = 2;
    for (; j < n; ++j, ++count) {
      const KivTime cur = ticks_[j];
      if (Difference(cur, prev) != dt) break;
      prev = cur;
    }
    if (j == n || count > 2) return Run{i, count, true};
    // The first spacing did not repeat: an aperiodic run, which ends where
    // two equal spacings in a row begin.
    std::optional<KivTime> d;
    bool first = true;
    while (j < n) {
      const KivTime cur = ticks_[j];
      const std::optional<KivTime> delta = Difference(cur, prev);
      if (!delta) return std::nullopt;
      if (delta == d && !first) {
        j -= 2;
        count -= 2;
        break;
      }
      first = false;
      ++j;
      ++count;
      prev = cur;
      d = delta;
    }
    return Run{i, count, false};
  }

  Ticks& ticks_;
};

// Where a section's values come from: a copy made per section, or slices of
// one buffer that the sections keep.
class ValueSource {
 public:
  virtual ~ValueSource() = default;
  virtual LockedArray<double> Take(size_t first, size_t count) = 0;
};

class CopiedValues : public ValueSource {
 public:
  CopiedValues(std::span<const double> values, const ChannelScaling& scaling) : values_(values), scaling_(scaling) {}
  LockedArray<double> Take(size_t first, size_t count) override {
    LockedArray<double> out = LockedArray<double>::Uninitialized(count);
    ApplyScaling(scaling_, values_.subspan(first, count), out.Writable());
    return out;
  }

 private:
  std::span<const double> values_;
  const ChannelScaling& scaling_;
};

class BorrowedValues : public ValueSource {
 public:
  explicit BorrowedValues(std::shared_ptr<double[]> values) : values_(std::move(values)) {}
  LockedArray<double> Take(size_t first, size_t count) override {
    return LockedArray<double>::Borrow({values_.get() + first, count}, values_);
  }

 private:
  std::shared_ptr<double[]> values_;
};

KivResult MakeSection(const Run& run, std::span<const double> seconds, Ticks& ticks, ValueSource& values,
                      std::shared_ptr<const DataSection>* out) {
  LockedArray<double> taken = values.Take(run.first, run.count);
  const KivTime first = ticks[run.first];
  if (run.periodic) {
    const std::optional<KivTime> interval = TicksFromSeconds(seconds[run.first + 1] - seconds[run.first]);
    if (!interval) return E_INVALIDARG;
    if (*interval > 0) return DataSection::MakePeriodic(std::move(taken), first, *interval, out);
    if (*interval < 0) return E_INVALIDARG;
    // Samples on one tick: equal times, off the path that divides by the interval.
    return DataSection::MakeAperiodic(std::move(taken),
                                      LockedArray<KivTime>::FromVector(std::vector<KivTime>(run.count, first)), out);
  }
  LockedArray<KivTime> times = LockedArray<KivTime>::Uninitialized(run.count);
  std::span<KivTime> writable = times.Writable();
  for (size_t k = 0; k < run.count; ++k) writable[k] = ticks[run.first + k];
  return DataSection::MakeAperiodic(std::move(taken), std::move(times), out);
}

KivResult Split(std::span<const double> times, ValueSource& values, ChannelSections* sections) {
  if (!sections) return E_POINTER;
  try {
    Ticks ticks(times);
    const std::optional<std::vector<Run>> runs = Splitter(ticks).Split();
    if (!runs) return E_INVALIDARG;
    ChannelSections made;
    made.reserve(runs->size());
    for (const Run& run : *runs) {
      std::shared_ptr<const DataSection> section;
      const KivResult hr = MakeSection(run, times, ticks, values, &section);
      if (Failed(hr)) return hr;
      made.push_back({std::move(section), false});
    }
    *sections = std::move(made);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace

KivResult SplitIntoSections(std::span<const double> times, std::span<const double> values,
                            const ChannelScaling& scaling, ChannelSections* sections) {
  if (!sections) return E_POINTER;
  if (times.size() != values.size()) return E_INVALIDARG;
  CopiedValues copied(values, scaling);
  return Split(times, copied, sections);
}

KivResult SplitColumn(std::span<const double> times, const std::shared_ptr<double[]>& values, size_t count,
                      const ChannelScaling& scaling, ChannelSections* sections) {
  if (!sections) return E_POINTER;
  if (times.size() != count || (count > 0 && !values)) return E_INVALIDARG;
  BorrowedValues borrowed(values);
  ChannelSections made;
  const KivResult hr = Split(times, borrowed, &made);
  if (Failed(hr)) return hr;
  // Scaled once nothing can fail any more, so a failed split leaves the
  // values as they were.
  if (!scaling.IsIdentity()) {
    std::span<double> all(values.get(), count);
    ApplyScaling(scaling, all, all);
  }
  *sections = std::move(made);
  return hr;
}

}  // namespace velmar
