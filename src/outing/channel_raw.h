// One source column as a load read it, kept until a channel is read: the
// sample times in seconds and the values, in one allocation of two halves.
// The first channel that reads it splits it into sections (with its unit
// scaling), and the doubles are freed: only the sections remain, shared by
// every channel object on this column.
//
// Made on a worker thread by a load, then handed over whole: from then on
// client thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "outing/channel_scaling.h"
#include "outing/channel_sections.h"

namespace velmar {

class CRawChannelBase {
 public:
  CRawChannelBase() = default;
  // `count` samples, no times or values yet (all 0).
  explicit CRawChannelBase(uint32_t count) : count_(count), data_(2 * static_cast<size_t>(count), 0.0) {}
  // Times and values of equal length, else E_INVALIDARG; E_OUTOFMEMORY.
  [[nodiscard]] static KivResult Make(std::span<const double> times, std::span<const double> values,
                                      std::shared_ptr<CRawChannelBase>* out);

  uint32_t count() const { return count_; }
  // Empty once the sections are built.
  std::span<double> times() { return std::span<double>(data_).first(data_.empty() ? 0 : count_); }
  std::span<double> values() { return std::span<double>(data_).subspan(data_.empty() ? 0 : count_); }

  // Splits the column once (see channel_sections.h); later calls give the
  // result of the first, whatever their scaling. The raw doubles are freed
  // on success. Failure is kept too: a column that cannot be read stays so.
  [[nodiscard]] KivResult BuildSections(const ChannelScaling& scaling);
  bool built() const { return built_; }
  // Empty before BuildSections, or when it failed.
  const ChannelSections& sections() const { return sections_; }

 private:
  uint32_t count_ = 0;
  std::vector<double> data_;
  ChannelSections sections_;
  bool built_ = false;
  KivResult buildResult_ = S_OK;
};

}  // namespace velmar
