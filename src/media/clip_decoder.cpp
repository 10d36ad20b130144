#include "media/clip_decoder.h"

#include "media/media_codecs.h"
#include "platform/file_ops.h"

namespace velmar {

std::unique_ptr<ClipDecoder> ClipDecoder::Open(const std::string& path, ClipOpenError* error, std::string* log) {
  MediaCodecs* codecs = LoadMediaCodecs(log);
  if (!codecs) {
    *error = ClipOpenError::kBroken;
    return nullptr;
  }
  std::unique_ptr<ClipDecoder> d = codecs->OpenClip(path, error, log);
  if (!d) return nullptr;
  FileStamp stamp;
  if (Succeeded(DefaultFileOps().Stat(path, &stamp)) && stamp.exists) d->inode_ = stamp.inode;
  d->path_ = path;
  return d;
}

bool ClipDecoder::FileStillThere() const {
  FileStamp stamp;
  return Succeeded(DefaultFileOps().Stat(path_, &stamp)) && stamp.exists && stamp.inode == inode_;
}

}  // namespace velmar
