// The real file system with one call made to fail on demand.
#pragma once

#include <fstream>
#include <iterator>
#include <string>

#include "sources/text/text_file_ops.h"

namespace velmar::testing {

class FaultyTextFileOps : public PosixTextFileOps {
 public:
  enum class Fault { kNone, kWriteDiskFull, kWriteHalfThenFull, kSync, kRename, kSyncDirectory };
  Fault fault = Fault::kNone;
  int writes = 0;

  TextStatus WriteAt(int fd, uint64_t offset, std::string_view data) override {
    ++writes;
    if (fault == Fault::kWriteDiskFull) return {TextCode::kDiskFull, "write failed: No space left on device"};
    if (fault == Fault::kWriteHalfThenFull) {
      // Some bytes reach the disk before it fills up.
      (void)PosixTextFileOps::WriteAt(fd, offset, data.substr(0, data.size() / 2));
      return {TextCode::kDiskFull, "write failed: No space left on device"};
    }
    return PosixTextFileOps::WriteAt(fd, offset, data);
  }
  TextStatus Sync(int fd) override {
    if (fault == Fault::kSync) return {TextCode::kWriteFailed, "fsync failed: Input/output error"};
    return PosixTextFileOps::Sync(fd);
  }
  TextStatus Rename(const std::filesystem::path& from, const std::filesystem::path& to) override {
    if (fault == Fault::kRename) return {TextCode::kWriteFailed, "rename failed: Permission denied"};
    return PosixTextFileOps::Rename(from, to);
  }
  TextStatus SyncDirectory(const std::filesystem::path& dir) override {
    if (fault == Fault::kSyncDirectory) return {TextCode::kWriteFailed, "folder fsync failed"};
    return PosixTextFileOps::SyncDirectory(dir);
  }
};

inline std::string ReadWhole(const std::filesystem::path& p) {
  std::ifstream in(p, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void WriteWhole(const std::filesystem::path& p, std::string_view bytes) { std::ofstream(p, std::ios::binary) << bytes; }

// Files in a folder other than those named.
inline size_t CountFiles(const std::filesystem::path& dir) {
  size_t n = 0;
  for (const auto& e : std::filesystem::directory_iterator(dir)) n += e.is_regular_file();
  return n;
}

}  // namespace velmar::testing
