// The module's one entry: the codecs object the library asks for.
#include "media/ffmpeg/ffmpeg_media.h"

namespace velmar {
namespace {

class FfmpegCodecs final : public MediaCodecs {
 public:
  std::unique_ptr<ClipDecoder> OpenClip(const std::string& path, ClipOpenError* error, std::string* log) override {
    return OpenFfmpegClip(path, error, log);
  }
  std::unique_ptr<AudioTrack> OpenAudio(const std::string& path) override { return OpenFfmpegAudio(path); }
  std::string EncodePng(const KivVideoFrame& frame) override { return EncodeFfmpegPng(frame); }
  KivResult WriteSampleClip(const std::string& path, const KivSampleClipOptions& options) override {
    return WriteFfmpegSampleClip(path, options);
  }
};

}  // namespace
}  // namespace velmar

extern "C" __attribute__((visibility("default"))) velmar::MediaCodecs* VelmarMediaCodecs() {
  static velmar::FfmpegCodecs codecs;
  return &codecs;
}
