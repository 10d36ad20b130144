#include "sources/tarn/tarn_transactions.h"

#include <utility>
#include <vector>

namespace velmar {

CTarnOutingTransactionJobItem::CTarnOutingTransactionJobItem(CStateMachineEx* owner,
                                                             ComPtr<COpenFileJobItem> connection)
    : CJobItemEx(owner), connection_(std::move(connection)) {}

CTarnOutingTransactionJobItem::~CTarnOutingTransactionJobItem() {
  // A commit that never reached its close: the handle ends where it lives.
  if (handle_) ReleaseOnStoreThread({ComPtr<IKivUnknown>(std::move(handle_))});
}

KivResult CTarnOutingTransactionJobItem::Run() {
  TarnConnection* store = connection();
  if (!store || !store->writeAccess) return E_FAIL;
  return store->writeAccess->GetWriteHandle(kTarnWriteWaitLimit, IKivTarnWriteHandle::iid,
                                            handle_.PutVoid());
}

KivResult CTarnOutingTransactionJobItem::CommitAndRelease() {
  if (!handle_) return E_FAIL;
  ComPtr<IKivTarnWriteHandle> handle = std::move(handle_);
  return handle->Commit();
}

KivResult CTarnOutingCloseJob::Run() { return access_ ? access_->CommitAndRelease() : E_FAIL; }

}  // namespace velmar
