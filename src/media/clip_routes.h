// Which clips of a media channel play over a span, and where: the plain
// route (clips by outing time) and the frame times of a clip inside a span.
//
// Times: a clip's start and end and its frame records are outing times as
// the store holds them; `timeOffset` is the outing's offset, added to each.
// Positions come out relative to the span's start.
//
// Pure functions; any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "media/dynamic_timestamp.h"
#include "velmar/tarn_store.h"

namespace velmar {

// A clip as a media channel holds it.
struct ClipSource {
  std::u16string path;
  KivTime start = 0;
  KivTime end = 0;
  std::vector<TarnMediaFrame> frames;  // fewer than two: no frame table
};

// A clip's frame times inside a span, relative to the clip's start, and the
// number of the first frame; no times when no frame falls inside.
struct FrameTimes {
  std::vector<KivTime> times;
  uint32_t firstFrame = 0;
};

// `base`: the clip's start in outing time (offset applied).
FrameTimes FrameTimesInRegion(const ClipSource& clip, KivTime base, KivTime spanStart, KivTime spanEnd);

// A clip to add to a player.
struct PlannedClip {
  std::u16string path;
  ComPtr<CDynamicTimestamp> timestamp;  // null: the file's own timing
  KivTime position = 0;
  KivTime length = 0;
};

// The clips with a path that overlap the span, each placed on the span's
// timeline; a clip whose frame table leaves no frame inside is skipped.
std::vector<PlannedClip> PlainRoute(const std::vector<ClipSource>& clips, KivTime timeOffset, KivTime spanStart,
                                    KivTime spanEnd);

// Walks a clip's frame table: every frame, the first record's and each one
// between and up to the later records, as (frame number, store time, whether
// it is the clip's first frame). The walk stops where time or frame number
// stops rising, where frames lie closer than a frame table allows, or when
// `visit` returns false. Frames before `from` (store time) pass unseen.
void WalkFrameTable(const ClipSource& clip, KivTime from,
                    const std::function<bool(uint32_t frame, KivTime time, bool first)>& visit);

// A clip overlaps the span (offset applied).
bool ClipInSpan(const ClipSource& clip, KivTime timeOffset, KivTime spanStart, KivTime spanEnd);

}  // namespace velmar
