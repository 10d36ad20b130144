// AudioTrack: the sound of one video file, decoded with FFmpeg and converted
// to the players' one format (16-bit, 48 kHz, stereo), read by file time.
// It opens the file on its own, so reading sound never moves the picture's
// decoder. Reading on from where the last read ended decodes forward; any
// other time seeks to the packet before it and drops what comes first.
//
// Times are ticks from the audio stream's first sample.
//
// The decoding lives in the FFmpeg module (media/ffmpeg), loaded on first
// need.
//
// Not thread-safe: the player's render lock guards it.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "velmar/types.h"

namespace velmar {

class AudioTrack {
 public:
  virtual ~AudioTrack() = default;
  AudioTrack(const AudioTrack&) = delete;
  AudioTrack& operator=(const AudioTrack&) = delete;

  // The file's best audio stream; null when it has none or none decodes.
  static std::unique_ptr<AudioTrack> Open(const std::string& path);

  // `frames` frames from `time` into `out` (interleaved, two a frame);
  // silence where the file has no sound there.
  virtual void Read(KivTime time, int32_t frames, int16_t* out) = 0;

  const std::string& codec_name() const { return codecName_; }

 protected:
  AudioTrack() = default;

  std::string codecName_;
};

}  // namespace velmar
