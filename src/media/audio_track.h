// AudioTrack: the sound of one video file, decoded with FFmpeg and converted
// to the players' one format (16-bit, 48 kHz, stereo), read by file time.
// It opens the file on its own, so reading sound never moves the picture's
// decoder. Reading on from where the last read ended decodes forward; any
// other time seeks to the packet before it and drops what comes first.
//
// Times are ticks from the audio stream's first sample.
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
  ~AudioTrack();
  AudioTrack(const AudioTrack&) = delete;
  AudioTrack& operator=(const AudioTrack&) = delete;

  // The file's best audio stream; null when it has none or none decodes.
  static std::unique_ptr<AudioTrack> Open(const std::string& path);

  // `frames` frames from `time` into `out` (interleaved, two a frame);
  // silence where the file has no sound there.
  void Read(KivTime time, int32_t frames, int16_t* out);

  const std::string& codec_name() const { return codecName_; }

 private:
  struct Av;
  AudioTrack();

  void Seek(KivTime time);
  // Decodes and converts the next frame onto `pending_`; false at the end.
  bool DecodeMore();

  std::unique_ptr<Av> av_;
  std::vector<int16_t> pending_;  // converted and not handed out yet
  KivTime pendingAt_ = 0;         // the time of pending_'s first frame
  KivTime next_ = -1;             // where the last read ended
  bool ended_ = false;
  std::string codecName_;
};

}  // namespace velmar
