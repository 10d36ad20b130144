#include "jobs/state_machine.h"

namespace velmar {

CStateMachineEx::~CStateMachineEx() = default;

uint32_t CStateMachineEx::AddRef() { return refs_.fetch_add(1, std::memory_order_relaxed) + 1; }

uint32_t CStateMachineEx::Release() {
  uint32_t n = refs_.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (n == 0) delete this;
  return n;
}

uint32_t CStateMachineEx::AddRefClient() {
  AddRef();
  return ++clients_;
}

uint32_t CStateMachineEx::ReleaseClient() {
  uint32_t n = --clients_;
  if (n == 0) OnLastClientRelease();
  Release();  // after the hook: the machine lives through it
  return n;
}

void CStateMachineEx::JobCompleted(CJobItem*) {}

void CStateMachineEx::OnLastClientRelease() {}

CStateMachine::~CStateMachine() = default;

KivResult CStateMachine::Queue(AsyncThread thread, ComPtr<CJobItem> job) {
  if (!job) return E_POINTER;
  if (state_ == State::kRunning) return E_UNEXPECTED;
  job_ = std::move(job);
  thread_ = thread;
  state_ = State::kRunning;
  KivResult r = Async_QueueNewJob(thread_, job_.Get());
  if (Failed(r)) {
    state_ = State::kIdle;
    job_ = nullptr;
  }
  return r;
}

void CStateMachine::Cancel() {
  if (state_ == State::kRunning && job_) (void)Async_CancelJob(thread_, job_.Get());
  state_ = State::kIdle;
  job_ = nullptr;
}

void CStateMachine::ReleaseJob() {
  if (state_ != State::kRunning) job_ = nullptr;
}

void CStateMachine::OnLastClientRelease() { Cancel(); }

void CStateMachine::JobCompleted(CJobItem* job) {
  if (!job || job != job_.Get() || state_ != State::kRunning) return;
  KivResult status = job->status();
  if (status == E_JOB_DROPPED) {
    OnJobDropped(*job);
  } else if (Succeeded(status)) {
    state_ = State::kDone;
    OnJobSucceeded(*job);
  } else {
    Fail(*job);
  }
}

void CStateMachine::Fail(CJobItem& job) {
  ComPtr<CJobItem> hold(&job);  // alive through the hook though no longer kept
  state_ = State::kIdle;
  job_ = nullptr;
  OnJobFailed(job);
}

void CStateMachine::OnJobSucceeded(CJobItem&) {}

void CStateMachine::OnJobFailed(CJobItem&) {}

void CStateMachine::OnJobDropped(CJobItem& job) {
  if (Failed(Async_QueueNewJob(thread_, &job))) Fail(job);
}

}  // namespace velmar
