// The write access of a `.trn` outing's transaction: the store's write
// handle, taken on the store thread and given back there.
//
// CTarnOutingTransactionJobItem asks the store for the handle; the finished
// job holds it, and every step's job of the commit writes through it.
// CTarnOutingCloseJob commits the handle and releases it: only then do other
// readers of the file see the commit's writes.
#pragma once

#include "jobs/job_item.h"
#include "sources/tarn/tarn_connection.h"
#include "velmar/tarn_store.h"

namespace velmar {

// How long a commit waits for another writer of the file before it gives up.
inline constexpr uint32_t kTarnWriteWaitLimit = 1000;
// Reads inside a write job wait as long as it takes.
inline constexpr uint32_t kTarnWaitForever = 0xFFFFFFFF;

class CTarnOutingTransactionJobItem final : public CJobItemEx {
 public:
  // `connection` null: the cache has no open store, and the job fails.
  CTarnOutingTransactionJobItem(CStateMachineEx* owner, ComPtr<COpenFileJobItem> connection);
  ~CTarnOutingTransactionJobItem() override;
  void WTCleanupAfterCancel() override { handle_ = nullptr; }

  // Store thread: the store's interfaces and the handle (null once closed).
  TarnConnection* connection() const { return connection_ ? &connection_->connection() : nullptr; }
  IKivTarnWriteHandle* handle() const { return handle_.Get(); }
  // Store thread: the writer interface `W` of the handle; null when closed.
  template <class W>
  ComPtr<W> Writer() const {
    return handle_ ? QueryAs<W>(handle_.Get()) : nullptr;
  }
  // Store thread: commits and ends the handle.
  KivResult CommitAndRelease();

 protected:
  KivResult Run() override;

 private:
  ComPtr<COpenFileJobItem> connection_;
  ComPtr<IKivTarnWriteHandle> handle_;
};

class CTarnOutingCloseJob final : public CJobItemEx {
 public:
  CTarnOutingCloseJob(CStateMachineEx* owner, ComPtr<CTarnOutingTransactionJobItem> access)
      : CJobItemEx(owner), access_(std::move(access)) {}
  // The handle must not be left open.
  int CancelJob() override { return 0; }

 protected:
  KivResult Run() override;

 private:
  ComPtr<CTarnOutingTransactionJobItem> access_;
};

}  // namespace velmar
