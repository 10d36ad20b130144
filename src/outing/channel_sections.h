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

#include "outing/channel_scaling.h"
#include "outing/data_block_section.h"

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

// The same without a copy: the sections keep slices of `values` (`count` of
// them, as many as `times`), which are scaled in place once the split has
// succeeded; on failure they are left as they were.
[[nodiscard]] KivResult SplitColumn(std::span<const double> times, const std::shared_ptr<double[]>& values,
                                    size_t count, const ChannelScaling& scaling, ChannelSections* sections);

}  // namespace velmar
