#include "sources/realtime/rt_connection_state.h"

#include <array>
#include <cstdio>

namespace velmar {

std::u16string RtStateCaption(RtConnectionState state) {
  static constexpr std::array<const char16_t*, 10> kCaptions = {
      u"Failed to initialize connection", u"Failed to obtain real-time settings", u"Connecting...",
      u"Failed to connect",              u"Failed to read decode file",          u"Failed to create outing",
      u"Failed to create watch socket",  u"Failed to create data socket",        u"Failed to create info socket",
      u"Unknown server"};
  const auto index = static_cast<size_t>(state);
  return index < kCaptions.size() ? kCaptions[index] : u"";
}

RtConnectionState RtStateOfStatus(KivResult result) {
  switch (static_cast<uint32_t>(result)) {
    case 0x80000105:
    case 0x80000107: return RtConnectionState::kOutingNotCreated;
    case 0x80000106: return RtConnectionState::kDecodeFile;
    case 0x8000010A: return RtConnectionState::kWatchSocket;
    case 0x8000010B: return RtConnectionState::kDataSocket;
    case 0x8000010C: return RtConnectionState::kInfoSocket;
    case 0x8000010D: return RtConnectionState::kServerUnknown;
    default: return RtConnectionState::kWorking;
  }
}

std::u16string RtCaptionNumber(int64_t value) {
  char text[8];
  if (value >= 0 && value <= 999) {
    std::snprintf(text, sizeof text, "%03d", static_cast<int>(value));
  } else if (value >= -99 && value <= -1) {
    std::snprintf(text, sizeof text, "-%02d", static_cast<int>(-value));
  } else {
    return u"###";
  }
  return std::u16string(text, text + 3);
}

}  // namespace velmar
