// What the FFmpeg module (libvelmar_ffmpeg.so, built from media/ffmpeg)
// offers the library: opening clips and their sound, a picture as PNG
// bytes, the generated sample clip. The library reaches FFmpeg only through
// this, so FFmpeg and the codecs it pulls in are mapped only once media is
// first used. The module calls nothing of the library back.
//
// Thread-safety: MediaCodecs() any thread; the codecs object is stateless.
#pragma once

#include <memory>
#include <string>

#include "media/audio_track.h"
#include "media/clip_decoder.h"
#include "velmar/clip_player.h"
#include "velmar/sample_clip.h"

namespace velmar {

class MediaCodecs {
 public:
  virtual std::unique_ptr<ClipDecoder> OpenClip(const std::string& path, ClipOpenError* error, std::string* log) = 0;
  virtual std::unique_ptr<AudioTrack> OpenAudio(const std::string& path) = 0;
  // Empty on a failure of the encoder.
  virtual std::string EncodePng(const KivVideoFrame& frame) = 0;
  // Options already checked; E_FAIL when the file can't be written.
  [[nodiscard]] virtual KivResult WriteSampleClip(const std::string& path, const KivSampleClipOptions& options) = 0;

 protected:
  ~MediaCodecs() = default;
};

// The sample clip's frame number: this many blocks across the top.
inline constexpr int kSampleClipBarBits = 16;

inline constexpr char kMediaCodecsModule[] = "libvelmar_ffmpeg.so";
inline constexpr char kMediaCodecsEntry[] = "VelmarMediaCodecs";
using MediaCodecsEntry = MediaCodecs* (*)();

// The module's codecs, loaded on the first call; null when it does not
// load, `error` (when given) then says why.
MediaCodecs* LoadMediaCodecs(std::string* error = nullptr);

}  // namespace velmar
