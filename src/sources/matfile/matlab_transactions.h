// The write access of a MAT-file outing's transaction: the file opened for
// reading and writing with no sharing and its bytes mapped, for the steps'
// jobs; the close job lets the file go.
//
// The jobs run on "Matlab_Thread".
#pragma once

#include <filesystem>
#include <memory>

#include "jobs/job_item.h"
#include "sources/matfile/matlab_file_handles.h"

namespace velmar {

class CMatlabOutingTxnJobItem final : public CJobItemEx {
 public:
  CMatlabOutingTxnJobItem(CStateMachineEx* owner, std::filesystem::path path, TextFileOps* ops)
      : CJobItemEx(owner),
        handles_(std::make_unique<CMatlabFileHandles>(std::move(path), ops ? *ops : DefaultTextFileOps())) {}
  void WTCleanupAfterCancel() override { handles_->Close(); }

  // Worker thread: the open file, for the steps' jobs.
  CMatlabFileHandles& handles() { return *handles_; }

 protected:
  KivResult Run() override {
    const TextStatus st = handles_->Open(/*writable=*/true);
    return st.ok() ? S_OK : st.result();
  }

 private:
  std::unique_ptr<CMatlabFileHandles> handles_;
};

class CMatlabOutingCloseJob final : public CJobItemEx {
 public:
  CMatlabOutingCloseJob(CStateMachineEx* owner, ComPtr<CMatlabOutingTxnJobItem> access)
      : CJobItemEx(owner), access_(std::move(access)) {}
  // The lock must not outlive the commit.
  int CancelJob() override { return 0; }

 protected:
  KivResult Run() override {
    if (!access_) return E_FAIL;
    access_->handles().Close();
    return S_OK;
  }

 private:
  ComPtr<CMatlabOutingTxnJobItem> access_;
};

}  // namespace velmar
