// KivWriteVideoFramePng: a frame to a PNG file, encoded by the FFmpeg
// module and written through the file seam.
#include <filesystem>

#include "media/media_codecs.h"
#include "platform/file_ops.h"
#include "velmar/clip_player.h"
#include "velmar/text.h"

namespace velmar {

KivResult KivWriteVideoFramePng(const KivVideoFrame& frame, const std::u16string& path) {
  if (frame.width <= 0 || frame.height <= 0 || !frame.pixels || frame.stride < frame.width * 3) return E_INVALIDARG;
  MediaCodecs* codecs = LoadMediaCodecs();
  if (!codecs) return E_MOD_NOT_FOUND;
  const std::string bytes = codecs->EncodePng(frame);
  if (bytes.empty()) return E_FAIL;
  const std::filesystem::path file(WideToUtf8(path));
  return Failed(ReplaceFileAtomically(DefaultFileOps(), file, bytes)) ? E_FAIL : S_OK;
}

}  // namespace velmar
