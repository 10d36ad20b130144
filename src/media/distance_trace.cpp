#include "media/distance_trace.h"

#include <algorithm>
#include <cmath>

namespace velmar {

DistanceTrace::DistanceTrace(std::vector<KivTime> times, std::vector<double> values) {
  const size_t n = std::min(times.size(), values.size());
  times_.reserve(n);
  values_.reserve(n);
  runningMax_.reserve(n);
  for (size_t i = 0; i < n; ++i) {
    if (std::isnan(values[i]) || (!times_.empty() && times[i] < times_.back())) continue;
    times_.push_back(times[i]);
    values_.push_back(values[i]);
    runningMax_.push_back(runningMax_.empty() ? values[i] : std::max(runningMax_.back(), values[i]));
  }
}

KivResult DistanceTrace::Read(IKivChannelIterator* data, DistanceTrace* trace) {
  if (!data || !trace) return E_POINTER;
  ComPtr<IKivDataBlocks> blocks;
  if (KivResult r = data->GetDataBlocks(blocks.Put()); Failed(r)) return r;
  uint32_t count = 0;
  if (KivResult r = blocks->GetCount(&count); Failed(r)) return r;
  std::vector<KivTime> times;
  std::vector<double> values;
  for (uint32_t i = 1; i <= count; ++i) {
    ComPtr<IKivDataBlock> block;
    std::vector<KivTime> t;
    std::vector<double> v;
    if (Failed(blocks->GetBlock(i, block.Put())) || Failed(block->GetTimes(&t)) || Failed(block->GetValues(&v))) {
      return E_FAIL;
    }
    times.insert(times.end(), t.begin(), t.end());
    values.insert(values.end(), v.begin(), v.end());
  }
  *trace = DistanceTrace(std::move(times), std::move(values));
  return trace->empty() ? E_FAIL : S_OK;
}

bool DistanceTrace::ValueAt(KivTime time, double* value) const {
  if (empty() || time < times_.front() || time > times_.back()) return false;
  const size_t hi = static_cast<size_t>(std::lower_bound(times_.begin(), times_.end(), time) - times_.begin());
  if (times_[hi] == time) {
    *value = values_[hi];
    return true;
  }
  const size_t lo = hi - 1;
  const double fraction = static_cast<double>(time - times_[lo]) / static_cast<double>(times_[hi] - times_[lo]);
  *value = values_[lo] + fraction * (values_[hi] - values_[lo]);
  return true;
}

bool DistanceTrace::SampleValue(KivTime time, int32_t mode, double* value) const {
  if (empty()) return false;
  const auto after = std::upper_bound(times_.begin(), times_.end(), time);
  const auto before = std::lower_bound(times_.begin(), times_.end(), time);  // first at or after
  size_t at = 0;
  if (mode == kFindNextAfter) {
    if (after == times_.end()) return false;
    at = static_cast<size_t>(after - times_.begin());
  } else if (mode == kFindLastBefore) {
    if (before == times_.begin()) return false;
    at = static_cast<size_t>(before - times_.begin()) - 1;
  } else {
    if (before == times_.end()) {
      at = times_.size() - 1;
    } else {
      at = static_cast<size_t>(before - times_.begin());
      // Half way goes to the later sample.
      if (at > 0 && time - times_[at - 1] < times_[at] - time) --at;
    }
  }
  *value = values_[at];
  return true;
}

bool DistanceTrace::ValueOrNearest(KivTime time, double* value) const {
  return ValueAt(time, value) || SampleValue(time, kFindNearest, value);
}

bool DistanceTrace::TimeOf(double distance, KivTime* time) const {
  if (empty() || std::isnan(distance)) return false;
  const auto it = std::lower_bound(runningMax_.begin(), runningMax_.end(), distance);
  if (it == runningMax_.end()) return false;
  const size_t i = static_cast<size_t>(it - runningMax_.begin());
  if (values_[i] == distance || i == 0) {
    if (values_[i] != distance) return false;  // already beyond at the first sample: never crossed
    *time = times_[i];
    return true;
  }
  // values_[i - 1] < distance < values_[i]: the crossing lies between.
  const double fraction = (distance - values_[i - 1]) / (values_[i] - values_[i - 1]);
  *time = times_[i - 1] + static_cast<KivTime>(fraction * static_cast<double>(times_[i] - times_[i - 1]));
  return true;
}

}  // namespace velmar
