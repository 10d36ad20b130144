// RtServer: the real-time server's own work, apart from any transport. It
// answers the requests of its sessions from LiveData and sends the pushed
// messages to every session that has created an outing.
//
// A session is what a transport makes per client (a TCP connection, an
// in-process link). It hands the session's request frames to Handle and
// gives frames to send through the session's sink. The sink bounds what it
// queues: a client that stops reading is dropped, never waited for.
//
// Thread-safe: the feed pushes from its thread, transports handle requests
// on theirs.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/realtime/rt_live_data.h"

namespace velmar::rt {

// The results a server reports in its status messages.
inline constexpr KivResult kRtConnected = S_OK;
inline constexpr KivResult kRtOutingNotCreated = static_cast<KivResult>(0x80000105);
inline constexpr KivResult kRtDecodeFile = static_cast<KivResult>(0x80000106);
inline constexpr KivResult kRtConnectionLost = static_cast<KivResult>(0x80000107);
inline constexpr KivResult kRtUnknownServer = static_cast<KivResult>(0x8000010D);

class RtSession {
 public:
  virtual ~RtSession() = default;
  // Queues a whole frame; false when the session is (now) closed.
  virtual bool Send(std::vector<uint8_t> frame) = 0;
  virtual void Close() = 0;

  // Set by the transport's thread, read by the feed's.
  std::atomic<bool> hello = false;
  std::atomic<bool> connected = false;
  std::atomic<bool> outing = false;
};

class RtServer {
 public:
  // `name`: what a connect address must name (any name when empty).
  explicit RtServer(std::u16string name) : name_(std::move(name)) {}

  LiveData& data() { return data_; }
  const std::u16string& name() const { return name_; }

  void Attach(const std::shared_ptr<RtSession>& session);
  void Detach(const RtSession* session);
  // One request frame of `session`; its reply goes to the session. A frame
  // out of order (no hello first, a read before an outing) or one that does
  // not decode closes the session.
  void Handle(const std::shared_ptr<RtSession>& session, const Frame& request);

  // --- Pushed to every session with an outing ---------------------------------
  void PushReset();
  void PushStatus(KivResult result, const std::u16string& text);
  void PushInformation();
  void PushChannelsChanged();
  void PushTimeRange(KivTime start, KivTime end);
  void PushChannelData(const std::vector<DataRange>& ranges);
  void PushEventData(const std::vector<DataRange>& ranges);
  void PushLapMarker(uint32_t id, int64_t value);
  void PushChannelsDiscarded(KivTime time);
  void PushEventsDiscarded(KivTime time);
  size_t session_count() const;

 private:
  // The reply body of a request, or a failure that closes the session.
  bool Answer(RtSession& session, const Frame& request, std::vector<uint8_t>* reply);
  bool AnswerRead(const Frame& request, std::vector<uint8_t>* reply);
  void Push(RtType type, std::vector<uint8_t> payload);
  // What a new outing is told first: a reset, then where the data stands.
  void Welcome(RtSession& session);

  std::u16string name_;
  LiveData data_;
  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<RtSession>> sessions_;
};

}  // namespace velmar::rt
