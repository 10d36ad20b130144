#include "sources/text/byte_source.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

#include "sources/text/large_buffer.h"

namespace velmar {

TextStatus MemoryByteSource::ReadAt(uint64_t offset, char* out, size_t size, size_t* got) {
  *got = 0;
  if (offset >= bytes_.size()) return {};
  *got = std::min<uint64_t>(size, bytes_.size() - offset);
  std::memcpy(out, bytes_.data() + offset, *got);
  return {};
}

TextStatus FileByteSource::Open(TextFileOps& ops, int fd, std::unique_ptr<FileByteSource>* out) {
  uint64_t size = 0;
  if (auto st = ops.Size(fd, &size); !st.ok()) return st;
  out->reset(new FileByteSource(ops, fd, size));
  return {};
}

TextStatus FileByteSource::ReadAt(uint64_t offset, char* out, size_t size, size_t* got) {
  return ops_.ReadAt(fd_, offset, out, size, got);
}

TextStatus SourceBytes::Load(ByteSource& source, SourceBytes* out) {
  out->storage_.reset();
  out->mapping_.reset();
  out->view_ = {};
  if (auto view = source.View()) {
    out->view_ = *view;
    return {};
  }
  std::unique_ptr<FileMapping> mapping;
  if (source.Map(&mapping).ok()) {
    // The file may have been cut between taking its size and mapping it.
    if (auto st = mapping->Intact(); !st.ok()) return st;
    out->view_ = mapping->view();
    out->mapping_ = std::move(mapping);
    return {};
  }
  uint64_t size = source.Size();
  if (size > std::string_view().max_size() / 2) return {TextCode::kOutOfMemory, "file too large"};
  std::unique_ptr<char[]> buffer(new (std::nothrow) char[size == 0 ? 1 : size]);
  if (!buffer) return {TextCode::kOutOfMemory, "no memory for " + std::to_string(size) + " bytes"};
  AdviseHugePages(buffer.get(), size);
  // In pieces, so a file that shrinks under the read is seen as such.
  constexpr size_t kPiece = size_t{16} << 20;
  uint64_t done = 0;
  while (done < size) {
    size_t want = static_cast<size_t>(std::min<uint64_t>(kPiece, size - done));
    size_t got = 0;
    if (auto st = source.ReadAt(done, buffer.get() + done, want, &got); !st.ok()) return st;
    if (got == 0)
      return {TextCode::kFileChanged, "the file ended at byte " + std::to_string(done) + " of " +
                                          std::to_string(size) + " while it was read"};
    done += got;
  }
  out->storage_ = std::move(buffer);
  out->view_ = std::string_view(out->storage_.get(), size);
  return {};
}

}  // namespace velmar
