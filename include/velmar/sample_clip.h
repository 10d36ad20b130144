// A generated video clip to try media channels on: every frame carries its
// own number as a bar of 16 black and white blocks across the top, above a
// moving colour gradient, so a decoded picture tells which frame it is.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/clip_player.h"

namespace velmar {

struct KivSampleClipOptions {
  double seconds = 10.0;
  int32_t width = 320;
  int32_t height = 180;
  int32_t framesPerSecond = 25;
  double keyframeSeconds = 2.0;  // the distance between keyframes
  double toneHz = 0.0;           // above 0: an AAC sound track, a sine of this pitch
};

// Writes the clip (H.264 when the encoder is there, else MPEG-4 Part 2, in
// an MP4 file; the sound, when asked for, in AAC at 48 kHz stereo). E_INVALIDARG for sizes or rates out of reason, E_FAIL when
// the file can't be written.
[[nodiscard]] KivResult KivWriteSampleClip(const std::u16string& path, const KivSampleClipOptions& options);

// The frame number a picture of such a clip carries; -1 when the bar can't
// be read (a blank, or another picture).
int32_t KivSampleClipFrameNumber(const KivVideoFrame& frame);

}  // namespace velmar
