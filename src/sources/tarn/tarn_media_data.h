// The media channels of a `.trn` outing and their clips as the outing keeps
// them, copied out of the store's records.
//
// Pure functions; any thread (the store thread runs them).
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "velmar/tarn_store.h"

namespace velmar {

// What the outing keeps of a media channel record, under its name.
struct TarnMediaChannelEntry {
  uint64_t id = 0;
  uint32_t type = 0;        // kMediaChannelAddedByUser, or a recorded channel
  uint32_t fileNumber = 0;  // of a user's file
  uint64_t last = 0;        // the record's last field, kept as read
};
using TarnMediaChannelMap = std::map<std::u16string, TarnMediaChannelEntry>;

// The channels with a name, by name; of two with one name the first counts.
TarnMediaChannelMap MediaChannelMap(std::span<const TarnMediaChannelRecord> records);

struct TarnMediaClip {
  uint64_t id = 0;
  std::u16string path;  // the video file
  KivTime start = 0;
  KivTime end = 0;
  std::vector<TarnMediaFrame> frames;  // rising time and frame number
};

// The clips of the records, all or nothing: false (and `clips` empty) when
// a clip has no path, no frame records, or ends before it starts.
[[nodiscard]] bool TakeMediaClips(std::span<const TarnMediaClipRecord> records, std::vector<TarnMediaClip>* clips);

}  // namespace velmar
