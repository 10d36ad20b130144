#include "sources/realtime/rt_live_event_set.h"

#include <algorithm>

#include "velmar/tarn_store.h"

namespace velmar {

std::optional<RtLiveEventSet::Range> RtLiveEventSet::OnData(KivTime from, KivTime to) {
  if (!opened_) {
    if (!noDataRead_) {
      PendAll();
      noDataRead_ = true;
    }
    return std::nullopt;
  }
  if (noDataRead_) {
    if (pending()) return std::nullopt;
    PendAll();
    return Range{kTimeMin, kTimeMax};
  }
  KivTime s = kTimeMax, e = kTimeMin;
  if (from < pendingFrom_) {
    s = from;
    e = pendingFrom_ == kTimeMax ? to : pendingFrom_ - 1;
    pendingFrom_ = from;
  }
  if (to > pendingTo_) {
    e = to;
    if (s > pendingTo_) s = pendingTo_ == kTimeMin ? from : pendingTo_ + 1;
    pendingTo_ = to;
  }
  if (s <= e) return Range{s, e};
  return std::nullopt;
}

KivResult RtLiveEventSet::Read(const Reader& reader) {
  opened_ = true;
  if (pending()) {
    std::vector<rt::WireEvent> read;
    const KivResult r = reader(pendingFrom_, pendingTo_, &read);
    if (Failed(r)) return r;
    const bool readable = std::all_of(read.begin(), read.end(), [](const rt::WireEvent& e) {
      return e.fixedData.empty() || e.fixedData.size() == kTarnEventFixedDataSize;
    });
    if (readable) {
      for (auto& event : read) {  // what was held in the range is replaced
        std::erase_if(events_, [&](const rt::WireEvent& held) { return held.id == event.id; });
        events_.push_back(std::move(event));
      }
      std::stable_sort(events_.begin(), events_.end(),
                       [](const rt::WireEvent& a, const rt::WireEvent& b) { return a.time < b.time; });
      noDataRead_ = false;
    }
    pendingFrom_ = kTimeMax;
    pendingTo_ = kTimeMin;
  }
  if (!events_.empty()) return S_OK;
  PendAll();
  noDataRead_ = true;
  return KIV_E_PENDING;
}

bool RtLiveEventSet::Discard(KivTime time) {
  const auto kept = std::find_if(events_.begin(), events_.end(), [&](const rt::WireEvent& e) { return e.time >= time; });
  const bool any = kept != events_.begin();
  events_.erase(events_.begin(), kept);
  return any;
}

}  // namespace velmar
