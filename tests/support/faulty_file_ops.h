// A FileOps that forwards to the real one and makes one chosen step fail,
// for tests of write paths that must leave the old file intact.
#pragma once

#include <string>

#include "platform/file_ops.h"

namespace velmar::testing {

class FaultyFileOps : public FileOpsWrapper {
 public:
  enum class Step { kNone, kRead, kWrite, kShortWrite, kSyncFile, kRename, kSyncDir, kLock };

  FaultyFileOps() : FileOpsWrapper(DefaultFileOps()) {}

  // The next call of `step` (after `skip` successful ones) fails with `code`.
  // kShortWrite writes half the bytes before failing, as a full disk would.
  void FailAt(Step step, KivResult code = STG_E_WRITEFAULT, int skip = 0) {
    step_ = step;
    code_ = code;
    skip_ = skip;
  }
  void Heal() { step_ = Step::kNone; }
  int failures() const { return failures_; }

  KivResult ReadAll(const std::filesystem::path& f, std::string* out) override {
    if (Trip(Step::kRead)) return code_;
    return FileOpsWrapper::ReadAll(f, out);
  }
  KivResult WriteNew(const std::filesystem::path& f, std::string_view b) override {
    if (Trip(Step::kWrite)) return code_;
    if (Trip(Step::kShortWrite)) {
      (void)FileOpsWrapper::WriteNew(f, b.substr(0, b.size() / 2));
      return code_;
    }
    return FileOpsWrapper::WriteNew(f, b);
  }
  KivResult SyncFile(const std::filesystem::path& f) override {
    if (Trip(Step::kSyncFile)) return code_;
    return FileOpsWrapper::SyncFile(f);
  }
  KivResult Rename(const std::filesystem::path& a, const std::filesystem::path& b) override {
    if (Trip(Step::kRename)) return code_;
    return FileOpsWrapper::Rename(a, b);
  }
  KivResult SyncDir(const std::filesystem::path& d) override {
    if (Trip(Step::kSyncDir)) return code_;
    return FileOpsWrapper::SyncDir(d);
  }
  KivResult LockExclusive(const std::filesystem::path& f, std::unique_ptr<FileLock>* out) override {
    if (Trip(Step::kLock)) return code_;
    return FileOpsWrapper::LockExclusive(f, out);
  }

 private:
  bool Trip(Step s) {
    if (s != step_) return false;
    if (skip_ > 0) {
      --skip_;
      return false;
    }
    step_ = Step::kNone;
    ++failures_;
    return true;
  }

  Step step_ = Step::kNone;
  KivResult code_ = STG_E_WRITEFAULT;
  int skip_ = 0;
  int failures_ = 0;
};

}  // namespace velmar::testing
