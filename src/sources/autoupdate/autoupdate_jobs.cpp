#include "sources/autoupdate/autoupdate_jobs.h"

#include "jobs/job_thread.h"

namespace velmar {

void StopEvent::Set() {
  {
    std::lock_guard lock(mu_);
    set_ = true;
  }
  cv_.notify_all();
}

bool StopEvent::Wait(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mu_);
  const bool set = cv_.wait_for(lock, timeout, [this] { return set_; });
  set_ = false;
  return set;
}

CAutoupdateJob::CAutoupdateJob(CStateMachineEx* owner, std::u16string folder, uint32_t mode,
                               CAutoupdate::FoundFn found)
    : CJobItemEx(owner), autoupdate_(std::move(folder), mode, std::move(found)) {}

int CAutoupdateJob::CancelJob() {
  stop_.Set();
  return 1;
}

KivResult CAutoupdateJob::Run() {
  autoupdate_.Scan(true);
  scans_.fetch_add(1, std::memory_order_release);
  while (!stop_.Wait(autoupdate_.has_pending() ? kPendingScanPeriod : kScanPeriod)) {
    autoupdate_.Scan(false);
    scans_.fetch_add(1, std::memory_order_release);
  }
  return S_OK;
}

KivResult CAutoupdateStateMachine::Start(const std::u16string& folder, uint32_t mode, CStateMachineEx* notify) {
  if (running_) return E_UNEXPECTED;
  thread_ = NewPrivateJobThread();
  if (!thread_) return E_FAIL;
  // The notify jobs come back to this thread's client: the found files are
  // handed over from inside the running job.
  AsyncThread notifyThread = thread_;
  ComPtr<CStateMachineEx> target(notify);
  job_ = MakeKiv<CAutoupdateJob>(this, folder, mode, [target, notifyThread](const std::u16string& name) {
    auto job = MakeKiv<CAutoupdateNotifyJob>(target.Get(), name);
    (void)Async_QueueCompletedJob(notifyThread, job.Get());
  });
  running_ = true;
  if (KivResult r = Async_QueueNewJob(thread_, job_.Get()); Failed(r)) {
    running_ = false;
    job_ = nullptr;
    Stop();
    return r;
  }
  return S_OK;
}

void CAutoupdateStateMachine::Stop() {
  if (running_ && job_) (void)Async_CancelJob(thread_, job_.Get());
  running_ = false;
  if (thread_) (void)Async_StopThread(thread_);
  thread_ = nullptr;
  job_ = nullptr;
}

void CAutoupdateStateMachine::JobCompleted(CJobItem* job) {
  if (job == job_.Get()) running_ = false;
}

}  // namespace velmar
