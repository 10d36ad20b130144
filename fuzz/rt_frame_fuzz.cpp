// The real-time wire: bytes as a socket gives them, cut into reads of the
// sizes the first byte picks, then every frame through the message decoders.
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/realtime/rt_frame.h"
#include "platform/realtime/rt_messages.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const size_t step = 1 + data[0] % 64;
  const std::span<const uint8_t> bytes(data + 1, size - 1);
  velmar::rt::FrameDecoder decoder;
  for (size_t at = 0; at < bytes.size(); at += step) {
    if (!decoder.Feed(bytes.subspan(at, std::min(step, bytes.size() - at)))) break;
    while (auto frame = decoder.Next()) (void)velmar::rt::DecodeAnyFrame(*frame);
  }
  return 0;
}
