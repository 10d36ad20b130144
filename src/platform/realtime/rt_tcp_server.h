// RtTcpServer: an RtServer on a TCP port. One thread runs the sockets
// (standalone Asio); each connection is a session with its own frame
// decoder and a bounded send queue.
//
// Listens on the address given (tests use 127.0.0.1 and port 0, an
// ephemeral port; port() tells which). Stop (or the destructor) closes the
// listener and every connection and joins the thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "platform/realtime/rt_server.h"

namespace velmar::rt {

// Bytes a session may have queued unsent before it is dropped as a client
// that stopped reading.
inline constexpr size_t kMaxQueuedBytes = 64u << 20;

class RtTcpServer {
 public:
  // `maxQueuedBytes`: what one connection may have unsent before it is dropped.
  explicit RtTcpServer(std::shared_ptr<RtServer> server, size_t maxQueuedBytes = kMaxQueuedBytes);
  ~RtTcpServer();
  RtTcpServer(const RtTcpServer&) = delete;
  RtTcpServer& operator=(const RtTcpServer&) = delete;

  // Binds and starts listening; E_FAIL with `error` set when the address or
  // port can't be had.
  [[nodiscard]] KivResult Start(const std::string& address, uint16_t port, std::string* error);
  void Stop();
  uint16_t port() const { return port_; }
  RtServer& server() { return *server_; }

 private:
  struct Impl;
  std::shared_ptr<RtServer> server_;
  size_t maxQueuedBytes_;
  std::unique_ptr<Impl> impl_;
  std::thread thread_;
  uint16_t port_ = 0;
};

}  // namespace velmar::rt
