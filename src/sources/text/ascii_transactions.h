// The write access of a text outing's transaction: the file opened for
// reading and writing with no sharing, its bytes and index held in memory.
// Each step's job edits through the held file (a rewrite goes to a new file
// renamed over the old one, so a failed write leaves the old file whole);
// the close job lets the file go.
//
// The jobs run on "Ascii_Thread".
#pragma once

#include <filesystem>
#include <memory>

#include "jobs/job_item.h"
#include "sources/text/ascii_file_handles.h"

namespace velmar {

class CAsciiOutingTxnJobItem final : public CJobItemEx {
 public:
  CAsciiOutingTxnJobItem(CStateMachineEx* owner, std::filesystem::path path, TextFileOps* ops);
  void WTCleanupAfterCancel() override { handles_->Close(); }

  // Worker thread: the open file, for the steps' jobs.
  CAsciiFileHandles& handles() { return *handles_; }
  // The result of the open, on the client thread once completed.
  const TextStatus& open_status() const { return status_; }

 protected:
  KivResult Run() override;

 private:
  std::unique_ptr<CAsciiFileHandles> handles_;
  TextStatus status_;
};

class CAsciiOutingCloseJob final : public CJobItemEx {
 public:
  CAsciiOutingCloseJob(CStateMachineEx* owner, ComPtr<CAsciiOutingTxnJobItem> access)
      : CJobItemEx(owner), access_(std::move(access)) {}
  // The lock must not outlive the commit.
  int CancelJob() override { return 0; }

 protected:
  KivResult Run() override;

 private:
  ComPtr<CAsciiOutingTxnJobItem> access_;
};

}  // namespace velmar
