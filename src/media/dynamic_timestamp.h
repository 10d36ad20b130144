// CDynamicTimestamp: the frame table of a clip. Frame `first + i` starts
// showing at adjusted time `adjusted[i]`; with the distance adjustment a
// second list gives each frame's source time (its time in the recording
// that the clip came with). Adjusted times never fall.
//
// Immutable once made; any thread.
#pragma once

#include <cstdint>
#include <vector>

#include "velmar/result.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

class CDynamicTimestamp final : public KivObject<IKivUnknown> {
 public:
  // `source` empty, or as long as `adjusted`. Enabled when `adjusted` holds
  // at least one time.
  CDynamicTimestamp(std::vector<KivTime> adjusted, std::vector<KivTime> source, uint32_t firstFrame);

  KivResult IsEnabled(KivBool* enabled) const;
  // E_FAIL when not enabled or outside the adjusted range.
  KivResult TimeToFrame(KivTime time, uint32_t* frame) const;
  // E_FAIL outside the frame range; the last frame is an instant.
  KivResult FrameToTimes(int32_t frame, KivTime* start, KivTime* end) const;
  // The ends give the ends; between two entries the same fraction of the
  // source interval, truncated. Without source times, `time` itself.
  KivResult AdjustedToSource(KivTime time, KivTime* source) const;
  // The interval of the entry round `time` in the source list (the adjusted
  // one without sources), less one tick. E_INVALIDARG when not enabled or
  // outside the range.
  KivResult SourceToFrameTimes(KivTime time, KivTime* start, KivTime* end) const;
  // The last adjusted time, and the span from first to last.
  KivResult GetRange(KivTime* end, KivTime* length) const;

  bool enabled() const { return !adjusted_.empty(); }
  uint32_t first_frame() const { return firstFrame_; }
  uint32_t last_frame() const { return lastFrame_; }
  KivTime first_time() const { return adjusted_.empty() ? 0 : adjusted_.front(); }
  bool has_source() const { return !source_.empty(); }
  // The frame whose source time covers `source` (the ends held to the
  // ends); the table must be enabled.
  uint32_t SourceFrame(KivTime source) const;

 private:
  const std::vector<KivTime> adjusted_;
  const std::vector<KivTime> source_;
  const uint32_t firstFrame_;
  const uint32_t lastFrame_;
};

}  // namespace velmar
