// The generated sample clip: options checked here, the encoding in the
// FFmpeg module; reading a frame's number back needs no codec.
#include "velmar/sample_clip.h"

#include "media/media_codecs.h"
#include "velmar/text.h"

namespace velmar {

KivResult KivWriteSampleClip(const std::u16string& path, const KivSampleClipOptions& options) {
  if (options.width < 32 || options.height < 32 || options.width % 2 || options.height % 2 ||
      options.framesPerSecond < 1 || options.framesPerSecond > 240 || !(options.seconds > 0.0) ||
      !(options.keyframeSeconds > 0.0)) {
    return E_INVALIDARG;
  }
  MediaCodecs* codecs = LoadMediaCodecs();
  if (!codecs) return E_MOD_NOT_FOUND;
  return codecs->WriteSampleClip(WideToUtf8(path), options);
}

int32_t KivSampleClipFrameNumber(const KivVideoFrame& frame) {
  constexpr int kBits = kSampleClipBarBits;
  if (FromKivBool(frame.blank) || !frame.pixels || frame.width < kBits || frame.height < 8) return -1;
  const int y = frame.height / 8;  // the middle of the bar
  int32_t n = 0;
  for (int bit = 0; bit < kBits; ++bit) {
    const int x = (2 * bit + 1) * frame.width / (2 * kBits);
    const uint8_t* px = frame.pixels + static_cast<ptrdiff_t>(y) * frame.stride + x * 3;
    const int level = (px[0] + px[1] + px[2]) / 3;
    if (level > 100 && level < 160) return -1;  // neither black nor white
    n = (n << 1) | (level >= 160 ? 1 : 0);
  }
  return n;
}

}  // namespace velmar
