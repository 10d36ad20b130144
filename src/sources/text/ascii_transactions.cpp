#include "sources/text/ascii_transactions.h"

#include <utility>

namespace velmar {

CAsciiOutingTxnJobItem::CAsciiOutingTxnJobItem(CStateMachineEx* owner, std::filesystem::path path, TextFileOps* ops)
    : CJobItemEx(owner),
      handles_(std::make_unique<CAsciiFileHandles>(std::move(path), ops ? *ops : DefaultTextFileOps())) {}

KivResult CAsciiOutingTxnJobItem::Run() {
  status_ = handles_->Open(/*writable=*/true);
  return status_.ok() ? S_OK : status_.result();
}

KivResult CAsciiOutingCloseJob::Run() {
  if (!access_) return E_FAIL;
  access_->handles().Close();
  return S_OK;
}

}  // namespace velmar
