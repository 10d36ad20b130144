// RtLink: the client's end of a real-time server, by TCP or in process.
//
// Call sends one request and waits for its reply (the read of a live outing
// is a plain call; `wait` bounds it). Pushed messages go to the push
// handler on the link's own thread (TCP) or the feed's (in process); the
// live outing posts them on to its client thread. When the link breaks the
// handler hears one status frame with kRtConnectionLost, and every call
// from then on fails with it.
//
// Thread-safe: Call from one thread at a time; the handler may run at once.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/realtime/rt_server.h"

namespace velmar::rt {

using PushHandler = std::function<void(Frame frame)>;

class RtLink {
 public:
  virtual ~RtLink() = default;
  // Sends a request without waiting: its number for Finish, 0 when the
  // link is lost. Several may be in flight (a client reading many channels
  // pays one round trip, not one each).
  virtual uint32_t Begin(RtType type, std::vector<uint8_t> payload) = 0;
  // The reply's payload of a request Begin sent, or a failure of the link
  // (kRtConnectionLost, or E_FAIL when `wait` ran out).
  [[nodiscard]] virtual KivResult Finish(uint32_t id, std::vector<uint8_t>* reply, std::chrono::milliseconds wait) = 0;
  // Both at once.
  [[nodiscard]] KivResult Call(RtType type, std::vector<uint8_t> payload, std::vector<uint8_t>* reply,
                               std::chrono::milliseconds wait) {
    const uint32_t id = Begin(type, std::move(payload));
    return id == 0 ? kRtConnectionLost : Finish(id, reply, wait);
  }
  // Set before the outing is created; never called after Close returns.
  virtual void SetPushHandler(PushHandler handler) = 0;
  virtual void Close() = 0;
};

// A link to `host`:`port` over TCP with the hello exchanged, or a failure
// (the server refused, no one listens, another protocol version).
[[nodiscard]] KivResult ConnectTcpLink(const std::string& host, uint16_t port, std::chrono::milliseconds wait,
                                       std::unique_ptr<RtLink>* link);
// A link to a server in this process, the hello exchanged: requests and
// pushes still go through the frame and message codec.
std::unique_ptr<RtLink> ConnectInProcessLink(std::shared_ptr<RtServer> server);

}  // namespace velmar::rt
