#include "media/clip_list.h"

#include <algorithm>
#include <cstdio>

#include "velmar/text.h"

namespace velmar {
namespace {

// The frame of a clip's table that shows at `time` of the timeline.
uint32_t TableFrame(const ClipEntry& clip, KivTime time) {
  const CDynamicTimestamp& ts = *clip.timestamp;
  const KivTime adjusted = time - clip.position + ts.first_time();
  if (ts.has_source()) {
    KivTime source = 0;
    (void)ts.AdjustedToSource(adjusted, &source);
    return ts.SourceFrame(source);
  }
  uint32_t frame = 0;
  if (Failed(ts.TimeToFrame(adjusted, &frame))) frame = adjusted < ts.first_time() ? ts.first_frame() : ts.last_frame();
  return frame;
}

bool HasTable(const ClipEntry& clip) { return clip.timestamp && clip.timestamp->enabled(); }

// Where frame `index` of a file is looked for: a quarter into it, so that
// rounding of the stream's timestamps can't land on the frame before.
KivTime FrameFileTime(int64_t index, KivTime interval) { return index * interval + interval / 4; }

}  // namespace

std::string ClipBuildLog(const ClipDecoder& decoder, bool frameTable) {
  std::string log = "Using FFmpeg decoder \"" + decoder.decoder_name() + "\".\r\n";
  if (!frameTable) {
    if (decoder.frame_interval() > 0) {
      char line[64];
      std::snprintf(line, sizeof line, "Frame Rate (via FFmpeg): %g\r\n",
                    static_cast<double>(kTicksPerSecond) / static_cast<double>(decoder.frame_interval()));
      log += line;
    } else {
      log += "Failed to determine frame rate.\r\n";
    }
    log += "Time adjustment is not enabled.\r\n";
  }
  return log;
}

KivResult CClipList::Add(ClipEntry entry, std::string* failure) {
  ClipOpenError why = ClipOpenError::kNone;
  std::string text;
  entry.decoder = ClipDecoder::Open(WideToUtf8(entry.path), &why, &text);
  if (!entry.decoder) {
    *failure = "Failed to load file \"" + WideToUtf8(entry.path) + "\": " + text + "\r\n";
    return E_FAIL;
  }
  entry.log = ClipBuildLog(*entry.decoder, HasTable(entry));
  if (entry.decoder->has_audio()) entry.audio = AudioTrack::Open(WideToUtf8(entry.path));
  if (entry.audio) entry.log += "Using FFmpeg audio decoder \"" + entry.audio->codec_name() + "\".\r\n";
  const KivTime position = entry.position;
  auto at = std::find_if(clips_.begin(), clips_.end(), [&](const auto& c) { return c->position > position; });
  clips_.insert(at, std::make_unique<ClipEntry>(std::move(entry)));
  return S_OK;
}

KivTime CClipList::end() const {
  KivTime end = 0;
  for (const auto& c : clips_) end = std::max(end, c->position + c->length);
  return end;
}

ClipSpot CClipList::Locate(KivTime time) {
  for (const auto& c : clips_) {
    if (time < c->position || time > c->position + c->length) continue;
    ClipSpot spot{c.get(), 0};
    const KivTime interval = c->decoder->frame_interval();
    if (HasTable(*c) && interval > 0) {
      spot.fileTime = FrameFileTime(TableFrame(*c, time), interval);
    } else {
      spot.fileTime = c->start + (time - c->position);
    }
    return spot;
  }
  return {};
}

KivTime CClipList::StepFrom(KivTime time, int32_t frames, KivTime fallback) {
  ClipSpot spot = Locate(time);
  if (!spot.clip) return time + frames * fallback;
  const ClipEntry& c = *spot.clip;
  const KivTime interval = c.decoder->frame_interval() > 0 ? c.decoder->frame_interval() : fallback;
  if (HasTable(c)) {
    const CDynamicTimestamp& ts = *c.timestamp;
    const int64_t target = std::clamp<int64_t>(int64_t{TableFrame(c, time)} + frames, ts.first_frame(),
                                               ts.last_frame());
    KivTime start = 0, end = 0;
    (void)ts.FrameToTimes(static_cast<int32_t>(target), &start, &end);
    return c.position + (start - ts.first_time());
  }
  const int64_t index = (spot.fileTime - (spot.fileTime < 0 ? interval - 1 : 0)) / interval;
  return c.position + (index + frames) * interval - c.start;
}

}  // namespace velmar
