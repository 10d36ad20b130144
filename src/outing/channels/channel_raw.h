// One source column as a load read it, kept until a channel is read: the
// sample times in seconds and the values. The first channel that reads it
// splits it into sections (with its unit scaling): the values are scaled in
// place and the sections keep them, the times are let go; only the sections
// remain, shared by every channel object on this column.
//
// Made on a worker thread by a load, then handed over whole: from then on
// client thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "outing/channels/channel_scaling.h"
#include "outing/channels/channel_sections.h"

namespace velmar {

class CRawChannelBase {
 public:
  CRawChannelBase() = default;
  // Copies times and values of equal length, else E_INVALIDARG; E_OUTOFMEMORY.
  [[nodiscard]] static KivResult Make(std::span<const double> times, std::span<const double> values,
                                      std::shared_ptr<CRawChannelBase>* out);
  // Takes over the times of `split` and `count` values without a copy. The
  // split may be shared with other columns on the same times; the values
  // must be this column's own, since the sections keep them and they are
  // scaled in place.
  [[nodiscard]] static KivResult Adopt(std::shared_ptr<TimeSplit> split, std::shared_ptr<double[]> values,
                                       uint32_t count, std::shared_ptr<CRawChannelBase>* out);

  uint32_t count() const { return count_; }
  // Empty once the sections are built.
  std::span<const double> times() const { return split_ ? split_->seconds().first(count_) : std::span<const double>(); }
  std::span<double> values() { return {values_.get(), values_ ? count_ : 0}; }

  // Splits the column once (see channel_sections.h); later calls give the
  // result of the first, whatever their scaling. The raw times are let go on
  // success and the values live on in the sections. Failure is kept too: a
  // column that cannot be read stays so.
  [[nodiscard]] KivResult BuildSections(const ChannelScaling& scaling);
  bool built() const { return built_; }
  // Empty before BuildSections, or when it failed.
  const ChannelSections& sections() const { return sections_; }

 private:
  uint32_t count_ = 0;
  std::shared_ptr<TimeSplit> split_;
  std::shared_ptr<double[]> values_;
  ChannelSections sections_;
  bool built_ = false;
  KivResult buildResult_ = S_OK;
};

}  // namespace velmar
