#include "writeback/transaction_state_machine.h"

#include <algorithm>
#include <utility>

#include "velmar/transaction.h"

namespace velmar {

CTransactionStateMachine::~CTransactionStateMachine() = default;

KivResult CTransactionStateMachine::Begin(COutingStateChanges* outing) {
  switch (state_) {
    case State::kIdle:
      total_ = 0;
      state_ = State::kOpen;
      client_->SetOwner(outing);
      return S_OK;
    case State::kOpen:
      return KIV_E_TXN_ALREADY_OPEN;
    default:
      return KIV_E_TXN_COMMITTING;
  }
}

KivResult CTransactionStateMachine::Commit(COutingStateChanges* outing) {
  if (state_ == State::kIdle) return KIV_E_NO_TRANSACTION;
  if (!client_ || client_->owner() != outing) return E_FAIL;
  if (state_ != State::kOpen) return KIV_E_TXN_COMMITTING;
  total_ = static_cast<int32_t>(pending_.size());
  if (total_ < 1) {
    state_ = State::kIdle;
    client_->NotifyTransactionStarted();
    client_->NotifyTransactionFinished();
    return S_OK;
  }
  return StartCommit();
}

KivResult CTransactionStateMachine::StartCommit() {
  done_ = 0;
  ComPtr<CJobItem> job = client_->MakeWriteAccessJob(this);
  if (!job) return E_FAIL;
  client_->AddCacheReference();
  if (KivResult r = Async_QueueNewJob(client_->GetJobThread(), job.Get()); Failed(r)) {
    client_->ReleaseCacheReference();
    return r;
  }
  job_ = std::move(job);
  state_ = State::kAcquiring;
  client_->NotifyTransactionStarted();
  return S_OK;
}

KivResult CTransactionStateMachine::Rollback(COutingStateChanges* outing) {
  if (state_ == State::kIdle) return KIV_E_NO_TRANSACTION;
  if (!client_ || client_->owner() != outing) return E_FAIL;
  if (state_ != State::kOpen) return KIV_E_TXN_COMMITTING;
  Discard();
  client_->SetOwner(nullptr);
  return S_OK;
}

KivResult CTransactionStateMachine::AddWriteBackStep(ComPtr<CWriteBackStateMachineBase> step) {
  if (!step) return E_FAIL;
  switch (state_) {
    case State::kIdle:
      return KIV_E_TXN_NOT_OPEN;
    case State::kOpen:
      pending_.push_back(step.Get());
      liveSteps_.push_back(std::move(step));
      return S_OK;
    default:
      return KIV_E_TXN_EDIT_DURING_COMMIT;
  }
}

void CTransactionStateMachine::OutingGone(COutingStateChanges* outing) {
  if (state_ != State::kOpen || !client_ || client_->owner() != outing) return;
  Discard();
  client_->SetOwner(nullptr);
}

void CTransactionStateMachine::Pump() {
  if (state_ != State::kWriting) return;
  if (pending_.empty()) {
    QueueClose();
    return;
  }
  ComPtr<CTransactionStateMachine> keep(this);
  while (state_ == State::kWriting && !pending_.empty()) {
    ComPtr<CWriteBackStateMachineBase> step(pending_.front());
    if (!step->attached()) step->Attach(this);
    ComPtr<CWriteBackJobItem> job;
    KivResult r = step->CreateJob(writeAccess_.Get(), &job);
    if (Succeeded(r)) {
      if (job) {
        step->PrepareJob(*job);
        r = step->Start(std::move(job));
      } else {
        r = E_FAIL;
      }
    }
    if (r == KIV_E_PENDING) return;
    pending_.pop_front();
    if (Failed(r)) {
      step->Abandon();
      StepFinished(step.Get());
    }
  }
}

void CTransactionStateMachine::StepFinished(CWriteBackStateMachineBase* step) {
  if (state_ != State::kWriting) return;
  auto it = std::find_if(liveSteps_.begin(), liveSteps_.end(),
                         [step](const ComPtr<CWriteBackStateMachineBase>& s) { return s.Get() == step; });
  if (it == liveSteps_.end()) return;
  ComPtr<CWriteBackStateMachineBase> keep = std::move(*it);
  liveSteps_.erase(it);
  ++done_;
  client_->NotifyTransactionProgress(static_cast<uint32_t>(total_), done_);
  if (liveSteps_.empty()) QueueClose();
}

void CTransactionStateMachine::NotifyMessage(const std::u16string& text) {
  if (client_) client_->NotifyTransactionMessage(text);
}

void CTransactionStateMachine::QueueClose() {
  ComPtr<CJobItem> job = client_->MakeCloseJob(this, writeAccess_.Get());
  state_ = State::kClosing;
  if (job && Succeeded(Async_QueueNewJob(client_->GetJobThread(), job.Get()))) {
    job_ = std::move(job);
    return;
  }
  // No close job can run: the access goes with its job, and the commit ends here.
  client_->NotifyTransactionMessage(std::u16string(kWriteCloseFailed));
  Finish(/*lost=*/true);
}

void CTransactionStateMachine::JobCompleted(CJobItem* job) {
  if (!job || job != job_.Get()) return;
  const KivResult status = job->status();
  if (state_ == State::kAcquiring) {
    OnAccessEnded(status);
  } else if (state_ == State::kClosing) {
    if (status == E_JOB_DROPPED && Succeeded(Async_QueueNewJob(client_->GetJobThread(), job))) return;
    if (Failed(status)) client_->NotifyTransactionMessage(std::u16string(kWriteCloseFailed));
    Finish(Failed(status));
  }
}

void CTransactionStateMachine::OnAccessEnded(KivResult status) {
  ComPtr<CJobItem> job = std::move(job_);
  if (Succeeded(status)) {
    writeAccess_ = std::move(job);
    state_ = State::kWriting;
    Pump();
    return;
  }
  if (status == E_JOB_DROPPED) {
    // Ask again, from the start of the commit; the new attempt holds the cache itself.
    state_ = State::kOpen;
    if (Succeeded(StartCommit())) {
      client_->ReleaseCacheReference();
      return;
    }
  }
  Discard();
  client_->NotifyTransactionMessage(std::u16string(kWriteAccessFailed));
  client_->NotifyTransactionFinished();
  client_->ReleaseCacheReference();
}

void CTransactionStateMachine::Finish(bool lost) {
  state_ = State::kIdle;
  job_ = nullptr;
  writeAccess_ = nullptr;
  CTransactionBase* client = client_;
  client->NotifyTransactionFinished();
  if (lost) client->OnWriteLost();
  client->ReleaseCacheReference();
}

void CTransactionStateMachine::Discard() {
  std::vector<ComPtr<CWriteBackStateMachineBase>> steps = std::move(liveSteps_);
  liveSteps_.clear();
  pending_.clear();
  state_ = State::kIdle;
  for (const ComPtr<CWriteBackStateMachineBase>& step : steps) step->Abandon();
}

void CTransactionStateMachine::OnLastClientRelease() {
  if (state_ == State::kOpen) {
    Discard();
    if (client_) client_->SetOwner(nullptr);
  }
  if (state_ == State::kIdle) client_ = nullptr;
}

}  // namespace velmar
