// Splitting a source column (times in seconds, values) into sections: runs of
// samples under one spacing rule. A run whose ticks are evenly spaced
// becomes one periodic section, with no time array; anything else becomes an
// aperiodic section with a time per sample. Values are scaled on the way.
//
// The split, with n samples and tick(x) the rounding of seconds to ticks:
//  - fewer than 3 samples left: one section of them, periodic unless it is
//    a single sample;
//  - otherwise the first spacing is followed as long as it repeats; a run
//    longer than 2 samples (or reaching the end) is periodic;
//  - otherwise an aperiodic run goes on until two equal spacings in a row
//    appear, and ends before the two samples that open that equal run.
// A periodic section's interval is tick(t[1] - t[0]), the difference in
// seconds rounded. One whose interval rounds to 0 (samples on one tick)
// would make every lookup divide by zero: it is kept as an aperiodic
// section with equal times instead.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "outing/channels/channel_scaling.h"
#include "outing/blocks/data_block_section.h"

namespace velmar {

struct ChannelSection {
  std::shared_ptr<const DataSection> data;
  // This section continues the one before it without a break (native store).
  bool continuous = false;
};
using ChannelSections = std::vector<ChannelSection>;

// Splits `times` (seconds) and `values` (as many) into `sections`, values
// scaled. E_INVALIDARG for lengths that differ, a time that is not finite or
// outside the tick range, or times that run backwards; E_OUTOFMEMORY.
// Nothing is given on failure. No samples: S_OK and no section.
[[nodiscard]] KivResult SplitIntoSections(std::span<const double> times, std::span<const double> values,
                                          const ChannelScaling& scaling, ChannelSections* sections);

// A column's times in seconds and their split, made once and kept for every
// column on those times: the columns of one table share their times, and so
// the work of the split. Client thread only, as the raw channels sharing it.
class TimeSplit {
 public:
  // `count` times; `seconds` kept alive by the split.
  TimeSplit(std::shared_ptr<const double[]> seconds, size_t count)
      : seconds_(std::move(seconds)), count_(count) {}

  std::span<const double> seconds() const { return {seconds_.get(), count_}; }

  // The sections of `values` (as many as the times) on this split, without a
  // copy: they keep slices of `values`, which are scaled in place once all of
  // them are made; on failure the values are left as they were. Failures as
  // SplitIntoSections; the split itself is made on the first call, and kept
  // unless the failure was E_OUTOFMEMORY.
  [[nodiscard]] KivResult MakeSections(const std::shared_ptr<double[]>& values, const ChannelScaling& scaling,
                                       ChannelSections* sections);

  // One section of the split: where it lies, and its times.
  struct Piece {
    size_t first = 0;
    size_t count = 0;
    bool periodic = false;      // then `interval` above 0 ...
    KivTime firstTime = 0;
    KivTime lastTime = 0;
    KivTime interval = 0;
    LockedArray<KivTime> times;  // ... else the times, shared by every column
  };
  // Makes the split; nothing to do once made.
  [[nodiscard]] KivResult Plan();
  const std::vector<Piece>& pieces() const { return pieces_; }

 private:
  std::shared_ptr<const double[]> seconds_;
  size_t count_;
  std::vector<Piece> pieces_;
  bool planned_ = false;
  KivResult planResult_ = S_OK;
};

}  // namespace velmar
