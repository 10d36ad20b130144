#include "media/dynamic_timestamp.h"

#include <algorithm>

namespace velmar {
namespace {

// Index of the entry at or before `time` in a list whose front is <= time.
size_t EntryAtOrBefore(const std::vector<KivTime>& list, KivTime time) {
  return static_cast<size_t>(std::upper_bound(list.begin(), list.end(), time) - list.begin()) - 1;
}

}  // namespace

CDynamicTimestamp::CDynamicTimestamp(std::vector<KivTime> adjusted, std::vector<KivTime> source, uint32_t firstFrame)
    : adjusted_(std::move(adjusted)),
      source_(source.size() == adjusted_.size() ? std::move(source) : std::vector<KivTime>{}),
      firstFrame_(firstFrame),
      lastFrame_(firstFrame + static_cast<uint32_t>(adjusted_.empty() ? 0 : adjusted_.size() - 1)) {}

KivResult CDynamicTimestamp::IsEnabled(KivBool* enabled) const {
  if (!enabled) return E_POINTER;
  *enabled = ToKivBool(this->enabled());
  return S_OK;
}

KivResult CDynamicTimestamp::TimeToFrame(KivTime time, uint32_t* frame) const {
  if (!frame) return E_POINTER;
  if (!enabled() || time < adjusted_.front() || time > adjusted_.back()) return E_FAIL;
  if (time == adjusted_.back()) {
    *frame = lastFrame_;
  } else {
    *frame = firstFrame_ + static_cast<uint32_t>(EntryAtOrBefore(adjusted_, time));
  }
  return S_OK;
}

KivResult CDynamicTimestamp::FrameToTimes(int32_t frame, KivTime* start, KivTime* end) const {
  if (!start || !end) return E_POINTER;
  if (!enabled() || frame < static_cast<int64_t>(firstFrame_) || frame > static_cast<int64_t>(lastFrame_)) {
    return E_FAIL;
  }
  const size_t i = static_cast<size_t>(frame) - firstFrame_;
  *start = adjusted_[i];
  *end = i + 1 < adjusted_.size() ? adjusted_[i + 1] - 1 : adjusted_[i];
  return S_OK;
}

KivResult CDynamicTimestamp::AdjustedToSource(KivTime time, KivTime* source) const {
  if (!source) return E_POINTER;
  if (source_.empty() || adjusted_.empty()) {
    *source = time;
    return S_OK;
  }
  if (time <= adjusted_.front()) {
    *source = source_.front();
  } else if (time >= adjusted_.back()) {
    *source = source_.back();
  } else {
    const size_t i = EntryAtOrBefore(adjusted_, time);
    const KivTime span = adjusted_[i + 1] - adjusted_[i];
    const double fraction = span > 0 ? static_cast<double>(time - adjusted_[i]) / static_cast<double>(span) : 0.0;
    *source = source_[i] + static_cast<KivTime>(fraction * static_cast<double>(source_[i + 1] - source_[i]));
  }
  return S_OK;
}

KivResult CDynamicTimestamp::SourceToFrameTimes(KivTime time, KivTime* start, KivTime* end) const {
  if (!start || !end) return E_POINTER;
  const std::vector<KivTime>& list = source_.empty() ? adjusted_ : source_;
  if (list.empty() || time < list.front() || time > list.back()) return E_INVALIDARG;
  const size_t i = EntryAtOrBefore(list, time);
  *start = list[i];
  *end = i + 1 < list.size() ? list[i + 1] - 1 : list[i];
  return S_OK;
}

KivResult CDynamicTimestamp::GetRange(KivTime* end, KivTime* length) const {
  if (!end || !length) return E_POINTER;
  *end = adjusted_.empty() ? 0 : adjusted_.back();
  *length = adjusted_.empty() ? 0 : adjusted_.back() - adjusted_.front();
  return S_OK;
}

uint32_t CDynamicTimestamp::SourceFrame(KivTime source) const {
  const std::vector<KivTime>& list = source_.empty() ? adjusted_ : source_;
  if (source <= list.front()) return firstFrame_;
  if (source >= list.back()) return lastFrame_;
  return firstFrame_ + static_cast<uint32_t>(EntryAtOrBefore(list, source));
}

}  // namespace velmar
