// Frames of the real-time wire protocol (docs/realtime-protocol.md).
//
// Every message in either direction is one frame:
//   u32 length     bytes that follow this field: 8 + payload, at most kMaxFrameLength
//   u16 type       RtType
//   u16 flags      0; any other value is a bad frame
//   u32 requestId  a request's number, echoed by its reply; 0 for pushed messages
//   payload
// All little-endian. FrameDecoder takes bytes as they come off a socket and
// gives whole frames; a length that lies (below 8 or above the limit) or a
// set flag poisons it, and the connection is closed.
//
// Any thread; one decoder per connection.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace velmar::rt {

inline constexpr uint32_t kFrameHeaderSize = 12;
inline constexpr uint32_t kMaxFrameLength = 8u << 20;
// "VRT1" as the handshake's first word, then the protocol version.
inline constexpr uint32_t kHelloMagic = 0x31545256;
inline constexpr uint32_t kProtocolVersion = 1;

enum class RtType : uint16_t {
  kHello = 0x01,
  // Requests, answered by one kReply with the same requestId.
  kConnect = 0x10,
  kConnectList = 0x11,
  kCreateOuting = 0x12,
  kGetDetails = 0x13,
  kGetChannelList = 0x14,
  kGetChannelData = 0x15,
  kGetEventNames = 0x16,
  kGetEventData = 0x17,
  kGetLapMarkers = 0x18,
  kGetConstants = 0x19,
  kGetBlobList = 0x1A,
  kGetBlobData = 0x1B,
  kGetMovementRange = 0x1C,
  kGetHistoryMode = 0x1D,
  kSetHistoryMode = 0x1E,
  kGetOutingRange = 0x1F,
  kReply = 0x40,
  // Pushed by the server once an outing is created.
  kReset = 0x80,
  kStatus = 0x81,
  kInformation = 0x82,
  kChannelsChanged = 0x83,
  kTimeRange = 0x84,
  kChannelData = 0x85,
  kEventData = 0x86,
  kLapMarker = 0x87,
  kChannelsDiscarded = 0x88,
  kEventsDiscarded = 0x89,
};

bool IsKnownType(uint16_t type);
bool IsRequest(RtType type);
bool IsPushed(RtType type);

struct Frame {
  RtType type = RtType::kHello;
  uint32_t requestId = 0;
  std::vector<uint8_t> payload;
};

// The bytes of one frame; a payload above the limit is the caller's error
// (the encoders never make one).
std::vector<uint8_t> EncodeFrame(const Frame& frame);
void AppendFrame(const Frame& frame, std::vector<uint8_t>* out);

class FrameDecoder {
 public:
  enum class Error { kNone, kLength, kFlags };

  // Takes the next bytes of the stream; false once the stream is bad.
  bool Feed(std::span<const uint8_t> bytes);
  // The next whole frame, if any. A frame of an unknown type is given as it
  // is; the message layer refuses it.
  std::optional<Frame> Next();
  Error error() const { return error_; }
  // Bytes held that make no whole frame yet.
  size_t pending() const { return buffer_.size() - at_; }

 private:
  std::vector<uint8_t> buffer_;
  size_t at_ = 0;
  Error error_ = Error::kNone;
};

}  // namespace velmar::rt
