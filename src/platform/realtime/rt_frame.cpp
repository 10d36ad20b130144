#include "platform/realtime/rt_frame.h"

#include <cstring>

namespace velmar::rt {

namespace {

template <class T>
T Load(const uint8_t* at) {
  T value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

template <class T>
void Put(std::vector<uint8_t>* out, T value) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(&value);
  out->insert(out->end(), bytes, bytes + sizeof value);
}

}  // namespace

bool IsKnownType(uint16_t type) {
  return type == 0x01 || (type >= 0x10 && type <= 0x1F) || type == 0x40 || (type >= 0x80 && type <= 0x89);
}
bool IsRequest(RtType type) { return static_cast<uint16_t>(type) >= 0x10 && static_cast<uint16_t>(type) <= 0x1F; }
bool IsPushed(RtType type) { return static_cast<uint16_t>(type) >= 0x80; }

void AppendFrame(const Frame& frame, std::vector<uint8_t>* out) {
  Put<uint32_t>(out, static_cast<uint32_t>(8 + frame.payload.size()));
  Put<uint16_t>(out, static_cast<uint16_t>(frame.type));
  Put<uint16_t>(out, 0);
  Put<uint32_t>(out, frame.requestId);
  out->insert(out->end(), frame.payload.begin(), frame.payload.end());
}

std::vector<uint8_t> EncodeFrame(const Frame& frame) {
  std::vector<uint8_t> out;
  out.reserve(kFrameHeaderSize + frame.payload.size());
  AppendFrame(frame, &out);
  return out;
}

bool FrameDecoder::Feed(std::span<const uint8_t> bytes) {
  if (error_ != Error::kNone) return false;
  if (at_ > 0 && at_ == buffer_.size()) {
    buffer_.clear();
    at_ = 0;
  } else if (at_ > (1u << 16) && at_ * 2 > buffer_.size()) {  // drop what was handed out
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(at_));
    at_ = 0;
  }
  buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
  // Check the next header at once, so that a lying length is told before
  // its bytes are waited for.
  if (pending() >= 4) {
    const uint32_t length = Load<uint32_t>(buffer_.data() + at_);
    if (length < 8 || length > kMaxFrameLength) error_ = Error::kLength;
  }
  return error_ == Error::kNone;
}

std::optional<Frame> FrameDecoder::Next() {
  if (error_ != Error::kNone || pending() < kFrameHeaderSize) return std::nullopt;
  const uint8_t* head = buffer_.data() + at_;
  const uint32_t length = Load<uint32_t>(head);
  if (length < 8 || length > kMaxFrameLength) {
    error_ = Error::kLength;
    return std::nullopt;
  }
  if (Load<uint16_t>(head + 6) != 0) {
    error_ = Error::kFlags;
    return std::nullopt;
  }
  if (pending() < 4 + static_cast<size_t>(length)) return std::nullopt;
  Frame frame;
  frame.type = static_cast<RtType>(Load<uint16_t>(head + 4));
  frame.requestId = Load<uint32_t>(head + 8);
  frame.payload.assign(head + kFrameHeaderSize, head + 4 + length);
  at_ += 4 + length;
  if (pending() >= 4) {
    const uint32_t next = Load<uint32_t>(buffer_.data() + at_);
    if (next < 8 || next > kMaxFrameLength) error_ = Error::kLength;
  }
  return frame;
}

}  // namespace velmar::rt
