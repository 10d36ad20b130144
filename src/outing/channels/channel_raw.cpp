#include "outing/channels/channel_raw.h"

#include <algorithm>
#include <limits>
#include <new>

namespace velmar {

KivResult CRawChannelBase::Make(std::span<const double> times, std::span<const double> values,
                                std::shared_ptr<CRawChannelBase>* out) {
  if (!out) return E_POINTER;
  if (times.size() != values.size() || times.size() > std::numeric_limits<uint32_t>::max()) return E_INVALIDARG;
  try {
    const size_t n = times.size();
    std::shared_ptr<double[]> t = std::make_shared_for_overwrite<double[]>(n);
    std::shared_ptr<double[]> v = std::make_shared_for_overwrite<double[]>(n);
    std::copy(times.begin(), times.end(), t.get());
    std::copy(values.begin(), values.end(), v.get());
    return Adopt(std::make_shared<TimeSplit>(std::move(t), n), std::move(v), static_cast<uint32_t>(n), out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

KivResult CRawChannelBase::Adopt(std::shared_ptr<TimeSplit> split, std::shared_ptr<double[]> values,
                                 uint32_t count, std::shared_ptr<CRawChannelBase>* out) {
  if (!out) return E_POINTER;
  if (!split || split->seconds().size() != count || (count > 0 && !values)) return E_INVALIDARG;
  try {
    auto raw = std::make_shared<CRawChannelBase>();
    raw->count_ = count;
    raw->split_ = std::move(split);
    raw->values_ = std::move(values);
    *out = std::move(raw);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

KivResult CRawChannelBase::BuildSections(const ChannelScaling& scaling) {
  if (built_) return buildResult_;
  buildResult_ = split_ ? split_->MakeSections(values_, scaling, &sections_) : S_OK;
  // Out of memory may pass; anything else is the column's own fault.
  if (buildResult_ == E_OUTOFMEMORY) return buildResult_;
  built_ = true;
  if (Succeeded(buildResult_)) {
    split_.reset();
    values_.reset();
  }
  return buildResult_;
}

}  // namespace velmar
