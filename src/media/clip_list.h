// CClipList: a player's clips in position order on its timeline, each with
// its decoder. A position no clip covers is a gap, shown blank.
//
// Not thread-safe: the player's lock guards it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "media/audio_track.h"
#include "media/clip_decoder.h"
#include "media/dynamic_timestamp.h"

namespace velmar {

struct ClipEntry {
  std::u16string path;
  KivTime position = 0;  // where the clip starts on the timeline
  KivTime length = 0;
  KivTime start = 0;     // time in the file at which it starts
  ComPtr<CDynamicTimestamp> timestamp;  // null: the file's own timing
  std::unique_ptr<ClipDecoder> decoder;
  std::string log;
  std::unique_ptr<AudioTrack> audio;  // null: the file has no sound we can play
};

// What a time of the timeline shows: a clip and the time in its file, or a gap.
struct ClipSpot {
  ClipEntry* clip = nullptr;
  KivTime fileTime = 0;
};

class CClipList {
 public:
  // Opens the clip's file and inserts it after every clip at the same or an
  // earlier position. The log lines of its build go to `entry.log`; on a
  // failure the clip is not added and its log goes to `failure`.
  [[nodiscard]] KivResult Add(ClipEntry entry, std::string* failure);

  ClipSpot Locate(KivTime time);
  // The timeline time of the frame `frames` frames from the one at `time`;
  // in a gap, frames of `fallback` ticks.
  KivTime StepFrom(KivTime time, int32_t frames, KivTime fallback);

  bool empty() const { return clips_.empty(); }
  size_t size() const { return clips_.size(); }
  const ClipEntry& at(size_t i) const { return *clips_[i]; }
  KivTime start() const { return clips_.empty() ? 0 : clips_.front()->position; }
  KivTime end() const;

 private:
  std::vector<std::unique_ptr<ClipEntry>> clips_;
};

// The build's log lines for a clip whose decoder opened.
std::string ClipBuildLog(const ClipDecoder& decoder, bool frameTable);

}  // namespace velmar
