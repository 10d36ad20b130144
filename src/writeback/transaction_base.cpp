#include "writeback/transaction_base.h"

#include <utility>

namespace velmar {

CTransactionBase::~CTransactionBase() = default;

void CTransactionBase::NotifyTransactionStarted() {
  ownerHold_ = owner_;
  if (owner_) owner_->OnTransactionBegin();
}

void CTransactionBase::NotifyTransactionFinished() {
  // The owner goes first, so that a client may begin anew from the notification.
  ComPtr<COutingStateChanges> owner = std::move(ownerHold_);
  COutingStateChanges* told = std::exchange(owner_, nullptr);
  if (told) told->OnTransactionEnd();
}

void CTransactionBase::NotifyTransactionProgress(uint32_t total, uint32_t done) {
  if (owner_) owner_->OnTransactionProgress(done, total);
}

void CTransactionBase::NotifyTransactionMessage(const std::u16string& text) {
  if (owner_) owner_->OnTransactionStatus(text);
}

}  // namespace velmar
