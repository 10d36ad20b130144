// A recorded outing read whole from a native store file, in wire records:
// what a replay sends as time passes.
//
// Read on the caller's thread (the store's objects live and die there).
#pragma once

#include <string>
#include <vector>

#include "platform/realtime/rt_messages.h"

namespace velmar::rt {

struct Recording {
  WireDetails details;
  std::vector<WireChannel> channels;
  std::vector<WireBlock> blocks;  // every channel's, each channel's in time order
  std::vector<WireNamed> eventNames;
  std::vector<WireEvent> events;  // by time
  std::vector<WireLapMarker> laps;
  std::vector<WireConstant> constants;
  std::vector<WireBlob> blobs;
  KivTime start = 0, end = 0;  // of every sample, event and marker
  bool hasMovement = false;
  KivTime firstMovement = 0, lastMovement = 0;
};

// The store's failure as it stands (STG_E_FILENOTFOUND, ...).
[[nodiscard]] KivResult ReadRecording(const std::u16string& trnPath, Recording* recording);

}  // namespace velmar::rt
