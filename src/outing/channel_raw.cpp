#include "outing/channel_raw.h"

#include <algorithm>
#include <limits>
#include <new>

namespace velmar {

KivResult CRawChannelBase::Make(std::span<const double> times, std::span<const double> values,
                                std::shared_ptr<CRawChannelBase>* out) {
  if (!out) return E_POINTER;
  if (times.size() != values.size() || times.size() > std::numeric_limits<uint32_t>::max()) return E_INVALIDARG;
  try {
    auto raw = std::make_shared<CRawChannelBase>(static_cast<uint32_t>(times.size()));
    std::copy(times.begin(), times.end(), raw->times().begin());
    std::copy(values.begin(), values.end(), raw->values().begin());
    *out = std::move(raw);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

KivResult CRawChannelBase::BuildSections(const ChannelScaling& scaling) {
  if (built_) return buildResult_;
  buildResult_ = SplitIntoSections(times(), values(), scaling, &sections_);
  // Out of memory may pass; anything else is the column's own fault.
  if (buildResult_ == E_OUTOFMEMORY) return buildResult_;
  built_ = true;
  if (Succeeded(buildResult_)) std::vector<double>().swap(data_);
  return buildResult_;
}

}  // namespace velmar
