// CDiscardAfterCommit<Cache>: a file cache's data discard that waits for the
// commit holding the file. A discard asked for while the commit writes runs
// when it ends, and a step that wrote asks for one, so the next read loads
// the file again.
//
// Client thread only.
#pragma once

#include <utility>

#include "writeback/write_back_job_item.h"

namespace velmar {

template <class Cache>
class CDiscardAfterCommit final : public CWriteBackStateChanges {
 public:
  explicit CDiscardAfterCommit(Cache* cache) : cache_(cache) {}

  void CloseData() {
    if (writing_) {
      noted_ = true;
      return;
    }
    cache_->Discard();
  }
  void CommitStarted() { writing_ = true; }
  // The discard noted during the commit runs now.
  void CommitFinished() {
    writing_ = false;
    if (std::exchange(noted_, false)) cache_->Discard();
  }
  bool writing() const { return writing_; }

 protected:
  void ReloadAfterWrite() override { CloseData(); }

 private:
  Cache* cache_;
  bool writing_ = false;  // a commit holds the file
  bool noted_ = false;    // a discard came while writing
};

}  // namespace velmar
