// RtLiveEventSet: one event set of a live outing: what is pending (a range
// the server said has new events that no read has fetched yet) and the
// events held, in time order.
//
// A set no client opened only remembers that all is pending; an opened one
// widens its pending range with each message and tells just the part that
// is new, so a client reads each event once.
//
// Client thread only.
#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "platform/realtime/rt_messages.h"

namespace velmar {

class RtLiveEventSet {
 public:
  using Range = std::pair<KivTime, KivTime>;
  // Reads the set's events from `from` to `to`.
  using Reader = std::function<KivResult(KivTime from, KivTime to, std::vector<rt::WireEvent>* events)>;

  // A data message for (from, to): the range to tell as changed, if any.
  std::optional<Range> OnData(KivTime from, KivTime to);
  // Reads what is pending: S_OK with events held, KIV_E_PENDING with none
  // (everything is then asked for), or the server's failure. A record that
  // can't be read (fixed data neither 32 bytes nor none) ends the read with
  // nothing added.
  KivResult Read(const Reader& reader);
  // Drops the events before `time`; true when any went.
  bool Discard(KivTime time);

  const std::vector<rt::WireEvent>& events() const { return events_; }

 private:
  bool pending() const { return pendingFrom_ <= pendingTo_; }
  void PendAll() {
    pendingFrom_ = kTimeMin;
    pendingTo_ = kTimeMax;
  }

  std::vector<rt::WireEvent> events_;
  KivTime pendingFrom_ = kTimeMax;
  KivTime pendingTo_ = kTimeMin;
  bool opened_ = false;
  bool noDataRead_ = false;
};

}  // namespace velmar
