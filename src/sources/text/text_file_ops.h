// The narrow seam between the text data set and the file system. Every file
// call of the reader and writer goes through TextFileOps, so a test can replace
// one call (a write that finds the disk full, a read that comes up short)
// and check what is left on disk.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>

#include "sources/text/file_mapping.h"
#include "sources/text/text_status.h"

namespace velmar {

enum class FileOpenMode {
  kRead,       // existing file, read only
  kReadWrite,  // existing file, read and write
  kCreateNew,  // a new file, read and write; fails when it exists
};

class TextFileOps {
 public:
  virtual ~TextFileOps() = default;
  virtual TextStatus Open(const std::filesystem::path& path, FileOpenMode mode, int* fd) = 0;
  // Exclusive and without waiting: a file held by another handle fails with
  // kFileLocked.
  virtual TextStatus Lock(int fd) = 0;
  virtual TextStatus Size(int fd, uint64_t* size) = 0;
  // Reads up to out.size() bytes; *got < size only at the end of the file.
  virtual TextStatus ReadAt(int fd, uint64_t offset, char* out, size_t size, size_t* got) = 0;
  // Writes all of data at offset, or fails.
  virtual TextStatus WriteAt(int fd, uint64_t offset, std::string_view data) = 0;
  virtual TextStatus Truncate(int fd, uint64_t size) = 0;
  virtual TextStatus Sync(int fd) = 0;
  virtual TextStatus Close(int fd) = 0;
  virtual TextStatus Rename(const std::filesystem::path& from, const std::filesystem::path& to) = 0;
  virtual TextStatus SyncDirectory(const std::filesystem::path& dir) = 0;
  virtual TextStatus Remove(const std::filesystem::path& path) = 0;
  // Maps `size` bytes of the file read-only (see FileMapping). Where this
  // fails the reader reads the file into memory instead.
  virtual TextStatus Map(int, uint64_t, std::unique_ptr<FileMapping>*) {
    return {TextCode::kReadFailed, "files are not mapped here"};
  }
};

// The real file system (POSIX calls).
class PosixTextFileOps : public TextFileOps {
 public:
  TextStatus Open(const std::filesystem::path& path, FileOpenMode mode, int* fd) override;
  TextStatus Lock(int fd) override;
  TextStatus Size(int fd, uint64_t* size) override;
  TextStatus ReadAt(int fd, uint64_t offset, char* out, size_t size, size_t* got) override;
  TextStatus WriteAt(int fd, uint64_t offset, std::string_view data) override;
  TextStatus Truncate(int fd, uint64_t size) override;
  TextStatus Sync(int fd) override;
  TextStatus Close(int fd) override;
  TextStatus Rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
  TextStatus SyncDirectory(const std::filesystem::path& dir) override;
  TextStatus Remove(const std::filesystem::path& path) override;
  TextStatus Map(int fd, uint64_t size, std::unique_ptr<FileMapping>* out) override;
};

// One process-wide PosixTextFileOps.
TextFileOps& DefaultTextFileOps();

// An open file descriptor, closed when the handle goes.
class FileHandle {
 public:
  FileHandle() = default;
  FileHandle(TextFileOps* ops, int fd) : ops_(ops), fd_(fd) {}
  FileHandle(FileHandle&& other) noexcept;
  FileHandle& operator=(FileHandle&& other) noexcept;
  ~FileHandle() { Reset(); }

  bool valid() const { return fd_ >= 0; }
  int fd() const { return fd_; }
  void Reset();
  // Gives up the descriptor without closing it.
  int Release();

 private:
  TextFileOps* ops_ = nullptr;
  int fd_ = -1;
};

// Opens `path` (for writing too when `writable`) and takes its exclusive
// lock, so no other writer shares it; on any failure `file` is left empty.
TextStatus OpenLockedFile(TextFileOps& ops, const std::filesystem::path& path, bool writable, FileHandle* file);

// Replaces the file at target with bytes: writes a temporary file beside it,
// syncs it, renames it over the target and syncs the folder, so a failure at
// any step leaves the old file as it was. With held set, the new file is
// locked before the rename and its handle given out, so the exclusive hold
// on the path never lapses.
TextStatus ReplaceFile(TextFileOps& ops, const std::filesystem::path& target, std::string_view bytes,
                       FileHandle* held = nullptr);

// Appends bytes at oldSize and syncs; a failure cuts the file back to oldSize.
TextStatus AppendToFile(TextFileOps& ops, int fd, uint64_t oldSize, std::string_view bytes);

}  // namespace velmar
