// The one seam between the platform layer and the file system. Compound
// files and the registry reach files only through FileOps, so a test can
// wrap the real one and make a single step fail (a write, an fsync, a
// rename) to check that the old file survives.
//
// Thread-safety: DefaultFileOps() may be used from any thread.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "velmar/result.h"

namespace velmar {

// What tells one version of a file from the next without reading it.
struct FileStamp {
  bool exists = false;
  uint64_t size = 0;
  int64_t mtime_ns = 0;
  uint64_t inode = 0;
  friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

// An advisory lock held for as long as the object lives.
class FileLock {
 public:
  virtual ~FileLock() = default;
};

class FileOps {
 public:
  virtual ~FileOps() = default;

  // The whole file. STG_E_FILENOTFOUND when it does not exist.
  [[nodiscard]] virtual KivResult ReadAll(const std::filesystem::path& file, std::string* out) = 0;
  // Creates or truncates `file` and writes `bytes`; nothing is synced.
  [[nodiscard]] virtual KivResult WriteNew(const std::filesystem::path& file,
                                           std::string_view bytes) = 0;
  // Flushes the file's data to the disk.
  [[nodiscard]] virtual KivResult SyncFile(const std::filesystem::path& file) = 0;
  // Replaces `to` by `from` in one step.
  [[nodiscard]] virtual KivResult Rename(const std::filesystem::path& from,
                                         const std::filesystem::path& to) = 0;
  // Makes a rename inside `dir` durable.
  [[nodiscard]] virtual KivResult SyncDir(const std::filesystem::path& dir) = 0;
  [[nodiscard]] virtual KivResult Remove(const std::filesystem::path& file) = 0;
  // A missing file is S_OK with exists = false.
  [[nodiscard]] virtual KivResult Stat(const std::filesystem::path& file, FileStamp* out) = 0;
  [[nodiscard]] virtual KivResult CreateDirs(const std::filesystem::path& dir) = 0;
  // Waits for an exclusive advisory lock on `lockFile`, creating it if needed.
  [[nodiscard]] virtual KivResult LockExclusive(const std::filesystem::path& lockFile,
                                                std::unique_ptr<FileLock>* out) = 0;
};

// The real file system (POSIX calls; errno mapped to STG_E_* codes).
FileOps& DefaultFileOps();

// Forwards every call to another FileOps; derive from it to change one call.
class FileOpsWrapper : public FileOps {
 public:
  explicit FileOpsWrapper(FileOps& target) : target_(target) {}
  KivResult ReadAll(const std::filesystem::path& f, std::string* out) override {
    return target_.ReadAll(f, out);
  }
  KivResult WriteNew(const std::filesystem::path& f, std::string_view b) override {
    return target_.WriteNew(f, b);
  }
  KivResult SyncFile(const std::filesystem::path& f) override { return target_.SyncFile(f); }
  KivResult Rename(const std::filesystem::path& a, const std::filesystem::path& b) override {
    return target_.Rename(a, b);
  }
  KivResult SyncDir(const std::filesystem::path& d) override { return target_.SyncDir(d); }
  KivResult Remove(const std::filesystem::path& f) override { return target_.Remove(f); }
  KivResult Stat(const std::filesystem::path& f, FileStamp* out) override {
    return target_.Stat(f, out);
  }
  KivResult CreateDirs(const std::filesystem::path& d) override { return target_.CreateDirs(d); }
  KivResult LockExclusive(const std::filesystem::path& f, std::unique_ptr<FileLock>* out) override {
    return target_.LockExclusive(f, out);
  }

 protected:
  FileOps& target() { return target_; }

 private:
  FileOps& target_;
};

// Writes `bytes` to a new file beside `target`, syncs it, renames it over
// `target` and syncs the folder: a crash leaves the old file or the new one,
// never a mix. On failure the temporary file is removed and `target` is as
// it was.
[[nodiscard]] KivResult ReplaceFileAtomically(FileOps& ops, const std::filesystem::path& target,
                                              std::string_view bytes);

}  // namespace velmar
