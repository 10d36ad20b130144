// Following live telemetry: a host's view of "rt://host:port/name" (or a
// host list), as the live outing sees it: caption, connection, time range,
// channels with their newest samples, and laps as their markers arrive.
//
// Made and used on the host's client thread; the server's messages come in
// only while the host runs its KivClientThread (RunFor, RunUntil...). The
// first question connects; every answer after it reads only what changed.
// It uses the user's real-time settings (registry and defaults).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "velmar/result.h"
#include "velmar/types.h"

namespace velmar {

class KivLiveFollower {
 public:
  // E_INVALIDARG for an address that is neither form; nothing connects yet.
  [[nodiscard]] static KivResult Open(const std::u16string& address, std::unique_ptr<KivLiveFollower>* follower);
  virtual ~KivLiveFollower() = default;

  // "<---:---:--->" until the outing's information is in, then
  // "<session:outing:first lap>"; a failure's text ("Failed to connect").
  virtual std::u16string Caption() = 0;
  // 0 to 9: a failure or "connecting" (2); 10 working.
  virtual int32_t ConnectionState() const = 0;
  // The last status the server sent was not a failure.
  virtual bool IsConnected() const = 0;
  // E_FAIL while no data has arrived.
  virtual KivResult TimeRange(KivTime* start, KivTime* end) const = 0;
  virtual std::vector<std::u16string> ChannelNames() = 0;
  // The channel's newest sample: KIV_E_PENDING while it has none, E_FAIL for
  // an unknown name.
  virtual KivResult LatestValue(const std::u16string& channel, KivTime* time, double* value) = 0;
  // The lap markers' times, in order.
  virtual KivResult LapTimes(std::vector<KivTime>* times) = 0;
};

}  // namespace velmar
