// ClipDecoder: one video file read through FFmpeg, answering "which picture
// shows at this time of the file". The file's kind is found by its content
// (libavformat's probe), not by its name; the best video stream is decoded,
// an audio stream is only noted.
//
// Seeking is frame-accurate: the demuxer jumps to the keyframe at or before
// the time asked, and frames are decoded forward until the one that covers
// the time. A time a little ahead of the last answer decodes forward without
// a jump, so playback reads the file once.
//
// Times are ticks of 100 ns from the file's first frame.
//
// The decoding itself lives in the FFmpeg module (media/ffmpeg), loaded on
// the first Open; this interface is all the library sees of it.
//
// Not thread-safe: one thread at a time (a player's lock guards it).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "velmar/result.h"
#include "velmar/types.h"

namespace velmar {

// A decoded picture as packed RGB24.
struct DecodedFrame {
  int32_t width = 0;
  int32_t height = 0;
  std::vector<uint8_t> rgb;  // height rows of width * 3 bytes
  KivTime time = 0;          // when it starts showing, in the file
  int64_t index = 0;         // frame number from 0, by its time and the rate
};

// Why a file could not be opened, for the media channel's diagnostics.
enum class ClipOpenError {
  kNone,
  kNotMedia,   // the content is no container the demuxer knows
  kNoDecoder,  // no video stream, or no decoder for it
  kBroken,     // anything else: the file went, or its stream can't be read
};

class ClipDecoder {
 public:
  virtual ~ClipDecoder() = default;
  ClipDecoder(const ClipDecoder&) = delete;
  ClipDecoder& operator=(const ClipDecoder&) = delete;

  // Opens `path` (UTF-8). On failure `error` says why and `log` holds
  // FFmpeg's text (or why the media module did not load: kBroken).
  static std::unique_ptr<ClipDecoder> Open(const std::string& path, ClipOpenError* error, std::string* log);

  // The frame that shows at `time` of the file: before the first frame the
  // first, past the last the last. E_FAIL when nothing can be decoded.
  [[nodiscard]] virtual KivResult FrameAt(KivTime time, DecodedFrame* frame) = 0;

  // The file is still the one opened: not deleted, moved away or replaced.
  // An open file reads on after its name is gone, so this asks by name.
  bool FileStillThere() const;

  KivTime duration() const { return duration_; }
  // The time between frames by the stream's average rate; 0 when unknown.
  KivTime frame_interval() const { return frameInterval_; }
  bool has_audio() const { return hasAudio_; }
  // For the player's log: the decoder and the pixel format it gives.
  const std::string& decoder_name() const { return decoderName_; }
  const std::string& pixel_format() const { return pixelFormat_; }
  int32_t width() const { return width_; }
  int32_t height() const { return height_; }

 protected:
  ClipDecoder() = default;

  KivTime duration_ = 0;
  KivTime frameInterval_ = 0;
  bool hasAudio_ = false;
  std::string decoderName_;
  std::string pixelFormat_;
  int32_t width_ = 0;
  int32_t height_ = 0;

 private:
  std::string path_;
  uint64_t inode_ = 0;
};

}  // namespace velmar
