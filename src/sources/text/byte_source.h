// Where the reader's bytes come from: a tiny read-at-offset interface, so
// tests and the fuzzer feed memory and the load job feeds a file through the
// same path.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "sources/text/file_mapping.h"
#include "sources/text/text_file_ops.h"
#include "sources/text/text_status.h"

namespace velmar {

class ByteSource {
 public:
  virtual ~ByteSource() = default;
  // The size the source had when it was opened.
  virtual uint64_t Size() const = 0;
  // Reads up to size bytes at offset; *got < size only at the end.
  virtual TextStatus ReadAt(uint64_t offset, char* out, size_t size, size_t* got) = 0;
  // All bytes in place, for a source that holds them in memory already.
  virtual std::optional<std::string_view> View() const { return std::nullopt; }
  // All bytes mapped, for a source that can be; fails where it cannot.
  virtual TextStatus Map(std::unique_ptr<FileMapping>*) { return {TextCode::kReadFailed, "not mappable"}; }
};

// Bytes the caller keeps alive.
class MemoryByteSource : public ByteSource {
 public:
  explicit MemoryByteSource(std::string_view bytes) : bytes_(bytes) {}
  uint64_t Size() const override { return bytes_.size(); }
  TextStatus ReadAt(uint64_t offset, char* out, size_t size, size_t* got) override;
  std::optional<std::string_view> View() const override { return bytes_; }

 private:
  std::string_view bytes_;
};

// An open file; the size is taken once, so a file that shrinks afterwards
// reads short and is told apart from a whole one.
class FileByteSource : public ByteSource {
 public:
  // fd stays owned by the caller.
  static TextStatus Open(TextFileOps& ops, int fd, std::unique_ptr<FileByteSource>* out);
  uint64_t Size() const override { return size_; }
  TextStatus ReadAt(uint64_t offset, char* out, size_t size, size_t* got) override;
  TextStatus Map(std::unique_ptr<FileMapping>* out) override { return ops_.Map(fd_, size_, out); }

 private:
  FileByteSource(TextFileOps& ops, int fd, uint64_t size) : ops_(ops), fd_(fd), size_(size) {}
  TextFileOps& ops_;
  int fd_;
  uint64_t size_;
};

// The whole contents of a source: viewed in place, mapped, or copied once.
class SourceBytes {
 public:
  // Fails with kFileChanged when the source ends before its size, kOutOfMemory
  // when no buffer can be had, or the source's own read failure.
  static TextStatus Load(ByteSource& source, SourceBytes* out);
  std::string_view view() const { return view_; }
  // For mapped bytes, whether they are still the file's (see FileMapping):
  // asked once a read is done, while the file is open. Always ok otherwise.
  TextStatus Intact() const { return mapping_ ? mapping_->Intact() : TextStatus(); }
  // For mapped bytes, lets the pages inside [begin, end) go (see FileMapping);
  // nothing otherwise.
  void Release(size_t begin, size_t end) const {
    if (mapping_) mapping_->Release(begin, end);
  }

 private:
  std::unique_ptr<char[]> storage_;
  std::unique_ptr<FileMapping> mapping_;
  std::string_view view_;
};

}  // namespace velmar
