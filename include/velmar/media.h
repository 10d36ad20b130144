// Media channels: named sequences of video clips that belong to a native
// store outing. The outing's media channel factory (IKivMediaChannelFactory)
// lists them; a channel's clips are read the first time a client asks for
// its status, and it is pending (3) until they are in: then available (1),
// or not available (2) when the store's clips can't be used.
#pragma once

#include "velmar/channel.h"

namespace velmar {

// Type of a media channel that a user added from a video file; any other
// type came with the car's recording.
inline constexpr uint32_t kMediaChannelAddedByUser = 3;

struct IKivMediaChannel : IKivData {
  static constexpr Guid iid = Guid::Literal("{9216E61C-6A69-4A6B-9254-56B213187717}");
  using Parent = IKivData;
};

}  // namespace velmar
