#include "outing/channels/channel_sections.h"

#include <new>
#include <optional>

#include "outing/time/time.h"

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

// The piece of one run: its first tick and interval, or its times.
KivResult MakePiece(const Run& run, std::span<const double> seconds, Ticks& ticks, TimeSplit::Piece* out) {
  out->first = run.first;
  out->count = run.count;
  out->firstTime = ticks[run.first];
  out->lastTime = ticks[run.first + run.count - 1];
  if (run.periodic) {
    const std::optional<KivTime> interval = TicksFromSeconds(seconds[run.first + 1] - seconds[run.first]);
    if (!interval || *interval < 0) return E_INVALIDARG;
    if (*interval > 0) {
      out->periodic = true;
      out->interval = *interval;
      return S_OK;
    }
    // Samples on one tick: equal times, off the path that divides by the interval.
    out->times = LockedArray<KivTime>::FromVector(std::vector<KivTime>(run.count, out->firstTime));
    return S_OK;
  }
  out->times = LockedArray<KivTime>::Uninitialized(run.count);
  std::span<KivTime> writable = out->times.Writable();
  for (size_t k = 0; k < run.count; ++k) writable[k] = ticks[run.first + k];
  return S_OK;
}

KivResult SectionsOf(const std::vector<TimeSplit::Piece>& pieces, ValueSource& values, ChannelSections* out) {
  try {
    ChannelSections made;
    made.reserve(pieces.size());
    for (const TimeSplit::Piece& piece : pieces) {
      std::shared_ptr<const DataSection> section;
      LockedArray<double> taken = values.Take(piece.first, piece.count);
      const KivResult hr = piece.periodic
                               ? DataSection::MakePeriodic(std::move(taken), piece.firstTime, piece.interval, &section,
                                                           piece.lastTime)
                               : DataSection::MakeAperiodic(std::move(taken), piece.times, &section);
      if (Failed(hr)) return hr;
      made.push_back({std::move(section), false});
    }
    *out = std::move(made);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace

KivResult TimeSplit::Plan() {
  if (planned_) return planResult_;
  try {
    Ticks ticks(seconds());
    const std::optional<std::vector<Run>> runs = Splitter(ticks).Split();
    KivResult hr = runs ? S_OK : E_INVALIDARG;
    std::vector<Piece> pieces(runs ? runs->size() : 0);
    for (size_t i = 0; i < pieces.size() && Succeeded(hr); ++i) {
      hr = MakePiece((*runs)[i], seconds(), ticks, &pieces[i]);
    }
    planned_ = true;
    planResult_ = hr;
    if (Succeeded(hr)) pieces_ = std::move(pieces);
    return hr;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;  // not kept: a later call may have the memory
  }
}

KivResult TimeSplit::MakeSections(const std::shared_ptr<double[]>& values, const ChannelScaling& scaling,
                                  ChannelSections* sections) {
  if (!sections) return E_POINTER;
  if (count_ > 0 && !values) return E_INVALIDARG;
  if (KivResult hr = Plan(); Failed(hr)) return hr;
  BorrowedValues borrowed(values);
  ChannelSections made;
  if (KivResult hr = SectionsOf(pieces_, borrowed, &made); Failed(hr)) return hr;
  // Scaled once nothing can fail any more, so a failed call leaves the
  // values as they were.
  if (!scaling.IsIdentity()) {
    std::span<double> all(values.get(), count_);
    ApplyScaling(scaling, all, all);
  }
  *sections = std::move(made);
  return S_OK;
}

KivResult SplitIntoSections(std::span<const double> times, std::span<const double> values,
                            const ChannelScaling& scaling, ChannelSections* sections) {
  if (!sections) return E_POINTER;
  if (times.size() != values.size()) return E_INVALIDARG;
  // The times are only borrowed for the call.
  TimeSplit split(std::shared_ptr<const double[]>(std::shared_ptr<void>(), times.data()), times.size());
  if (KivResult hr = split.Plan(); Failed(hr)) return hr;
  CopiedValues copied(values, scaling);
  return SectionsOf(split.pieces(), copied, sections);
}

}  // namespace velmar
