// One registry hive kept in one JSON file.
//
// Reads use a cached tree, re-read first when the file's stamp (size, mtime,
// inode) changed. Writes take an advisory lock on "<file>.lock", re-read the
// file, apply the change to what is on disk and replace the file atomically,
// so writers in other processes never lose each other's changes. A file that
// does not parse reads as empty; a write first moves it aside to
// "<file>.bad" (or .bad.N), so nothing is lost silently.
//
// Thread-safety: all members may be called from any thread.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>

#include "platform/file_ops.h"
#include "platform/registry/registry_tree.h"
#include "velmar/registry.h"

namespace velmar {

class RegistryFile {
 public:
  explicit RegistryFile(std::filesystem::path file, FileOps& ops = DefaultFileOps());
  RegistryFile(const RegistryFile&) = delete;
  RegistryFile& operator=(const RegistryFile&) = delete;

  // Runs `fn` on the current tree. The read of the file itself never fails
  // the call: a missing or unreadable file is an empty tree.
  [[nodiscard]] KivResult Read(const std::function<KivResult(const RegNode& root)>& fn);

  // Runs `fn` on the tree as it is on disk now, under the lock. `fn`
  // returning S_OK means "write the tree"; S_FALSE, nothing changed; a
  // failure, nothing is written and the code is returned. A failed write
  // returns its code and leaves the file and the cached tree as they were.
  [[nodiscard]] KivResult Update(const std::function<KivResult(RegNode& root)>& fn);

  const std::filesystem::path& file() const { return file_; }

  // The file of a hive from the environment (see velmar/registry.h).
  static std::filesystem::path HivePath(RegHive hive);
  // The process-wide object for a hive's current file.
  static std::shared_ptr<RegistryFile> ForHive(RegHive hive);

 private:
  // REQUIRES: mu_ held. Loads the file if its stamp differs from the cached one.
  void RefreshLocked(bool force);
  // REQUIRES: mu_ held and the file lock taken.
  [[nodiscard]] KivResult MoveCorruptAsideLocked();

  const std::filesystem::path file_;
  FileOps& ops_;
  std::mutex mu_;
  RegNode root_;           // GUARDED_BY(mu_)
  FileStamp stamp_;        // GUARDED_BY(mu_)
  bool loaded_ = false;    // GUARDED_BY(mu_)
  bool corrupt_ = false;   // GUARDED_BY(mu_): the file exists and does not parse
  KivResult read_error_ = S_OK;  // GUARDED_BY(mu_): the file exists and cannot be read
};

// Points a hive at another file (or file operations) until destroyed, for
// tests that check how callers deal with a failing registry. Not nestable
// per hive.
class ScopedHiveOverride {
 public:
  ScopedHiveOverride(RegHive hive, std::shared_ptr<RegistryFile> file);
  ~ScopedHiveOverride();
  ScopedHiveOverride(const ScopedHiveOverride&) = delete;
  ScopedHiveOverride& operator=(const ScopedHiveOverride&) = delete;

 private:
  RegHive hive_;
};

}  // namespace velmar
