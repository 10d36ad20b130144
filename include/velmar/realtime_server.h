// A real-time server that replays a recorded outing as live telemetry, so a
// host (or `velmar follow`) can follow "rt://127.0.0.1:<port>/<name>" away
// from the track. docs/realtime-protocol.md gives its wire protocol.
//
// The replay sends the channels in blocks as their time passes (at `speed`
// times real time), events and lap markers at their times, the time range
// as it widens, and discards data older than `cacheSeconds`. With `loop`
// it begins again (a reset) after the end; otherwise it keeps serving what
// it holds.
//
// Threads: the server runs on two threads of its own (sockets, replay);
// Start and Stop from one thread.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "velmar/result.h"

namespace velmar {

struct KivReplayOptions {
  std::string address = "127.0.0.1";
  uint16_t port = 0;  // 0: an ephemeral port; port() tells which
  std::u16string name = u"Replay";
  double speed = 1.0;
  bool loop = false;
  double cacheSeconds = 600.0;
  double stepSeconds = 0.05;  // wall time between two sends
};

class KivReplayServer {
 public:
  // Reads the native store file `trnPath` whole, then listens and replays.
  // E_INVALIDARG for bad options; the store's failure for a file it can't
  // read; E_FAIL with `error` set when the address or port can't be had.
  [[nodiscard]] static KivResult Start(const std::u16string& trnPath, const KivReplayOptions& options,
                                       std::unique_ptr<KivReplayServer>* server, std::string* error);
  virtual ~KivReplayServer() = default;

  virtual uint16_t port() const = 0;
  // "rt://address:port/name".
  virtual std::u16string address() const = 0;
  // The replay reached the end of the outing (never with `loop`).
  virtual bool finished() const = 0;
  // Samples sent so far, and samples held now (after discards).
  virtual uint64_t samples_sent() const = 0;
  virtual uint64_t samples_held() const = 0;
  // Stops replaying, closes every connection; also done by the destructor.
  virtual void Stop() = 0;
};

}  // namespace velmar
