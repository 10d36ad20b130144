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
    const size_t n = times.size();
    std::shared_ptr<double[]> t = std::make_shared_for_overwrite<double[]>(n);
    std::shared_ptr<double[]> v = std::make_shared_for_overwrite<double[]>(n);
    std::copy(times.begin(), times.end(), t.get());
    std::copy(values.begin(), values.end(), v.get());
    return Adopt(std::move(t), std::move(v), static_cast<uint32_t>(n), out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

KivResult CRawChannelBase::Adopt(std::shared_ptr<const double[]> times, std::shared_ptr<double[]> values,
                                 uint32_t count, std::shared_ptr<CRawChannelBase>* out) {
  if (!out) return E_POINTER;
  if (count > 0 && (!times || !values)) return E_INVALIDARG;
  try {
    auto raw = std::make_shared<CRawChannelBase>();
    raw->count_ = count;
    raw->times_ = std::move(times);
    raw->values_ = std::move(values);
    *out = std::move(raw);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

KivResult CRawChannelBase::BuildSections(const ChannelScaling& scaling) {
  if (built_) return buildResult_;
  buildResult_ = SplitColumn(times(), values_, count_, scaling, &sections_);
  // Out of memory may pass; anything else is the column's own fault.
  if (buildResult_ == E_OUTOFMEMORY) return buildResult_;
  built_ = true;
  if (Succeeded(buildResult_)) {
    times_.reset();
    values_.reset();
  }
  return buildResult_;
}

}  // namespace velmar
