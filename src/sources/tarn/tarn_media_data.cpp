#include "sources/tarn/tarn_media_data.h"

#include <algorithm>

namespace velmar {

TarnMediaChannelMap MediaChannelMap(std::span<const TarnMediaChannelRecord> records) {
  TarnMediaChannelMap channels;
  for (const TarnMediaChannelRecord& r : records) {
    if (!r.name || !*r.name) continue;
    channels.try_emplace(r.name, TarnMediaChannelEntry{r.id, r.type, r.fileNumber, r.reserved40});
  }
  return channels;
}

bool TakeMediaClips(std::span<const TarnMediaClipRecord> records, std::vector<TarnMediaClip>* clips) {
  clips->clear();
  const bool usable = std::all_of(records.begin(), records.end(), [](const TarnMediaClipRecord& r) {
    return r.path && *r.path && r.frameCount > 0 && r.frames && r.end >= r.start;
  });
  if (!usable) return false;
  clips->reserve(records.size());
  for (const TarnMediaClipRecord& r : records) {
    clips->push_back({r.id, r.path, r.start, r.end, {r.frames, r.frames + r.frameCount}});
  }
  return true;
}

}  // namespace velmar
