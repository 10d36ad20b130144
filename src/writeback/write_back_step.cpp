#include "writeback/write_back_step.h"

#include <utility>

#include "writeback/transaction_state_machine.h"

namespace velmar {

CWriteBackStateMachineBase::~CWriteBackStateMachineBase() { TakeTransaction().Reset(); }

void CWriteBackStateMachineBase::Attach(CTransactionStateMachine* transaction) {
  TakeTransaction().Reset();
  transaction_ = transaction;
  if (transaction_) transaction_->AddRefClient();
}

ClientRef<CTransactionStateMachine> CWriteBackStateMachineBase::TakeTransaction() {
  ClientRef<CTransactionStateMachine> held(std::exchange(transaction_, nullptr));
  if (held) held->ReleaseClient();  // the ClientRef took a second hold
  return held;
}

KivResult CWriteBackStateMachineBase::Start(ComPtr<CWriteBackJobItem> job) {
  job_ = std::move(job);
  running_ = true;
  KivResult r = Async_QueueNewJob(GetJobThread(), job_.Get());
  if (Failed(r)) {
    running_ = false;
    job_ = nullptr;
  }
  return r;
}

void CWriteBackStateMachineBase::Abandon() {
  running_ = false;
  TakeTransaction().Reset();
}

void CWriteBackStateMachineBase::JobCompleted(CJobItem* job) {
  if (!running_ || job != job_.Get()) return;
  // The engine dropped it: the same job again.
  if (job->status() == E_JOB_DROPPED && Succeeded(Async_QueueNewJob(GetJobThread(), job))) return;
  running_ = false;
  ComPtr<CWriteBackJobItem> done = std::move(job_);
  ClientRef<CTransactionStateMachine> transaction = TakeTransaction();
  if (!transaction) return;
  transaction->StepFinished(this);
  const bool succeeded = Succeeded(done->status());
  if (stateChanges_) stateChanges_->WriteFinished(succeeded);
  if (!succeeded) {
    const std::u16string& text = done->GetErrorMessage();
    transaction->NotifyMessage(text.empty() ? std::u16string(u"Failed to write to outing") : text);
  }
}

void CWriteBackStateMachineBase::NotifyMessage(const std::u16string& text) {
  if (transaction_) transaction_->NotifyMessage(text);
}

void CWriteBackStateMachineBase::OnExportsComplete() {
  if (transaction_) transaction_->Pump();
}

}  // namespace velmar
