// The folder watch's jobs and machines.
//
// CAutoupdateStateMachine owns a private job thread (named by a new GUID,
// busy mask 1, so waits for idle threads pass it by) and the one
// CAutoupdateJob that scans on it from start to stop: a first scan, then
// one each second, or each quarter second while a file waits to be free.
// Stop cancels the job (which sets its stop event) and ends the thread.
//
// Each file taken up goes to the task's thread as a CAutoupdateNotifyJob,
// handed over as completed; CAutoupdateNotifyStateMachine acts on it there
// (autoupdate_notify.h).
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

#include "jobs/job_item.h"
#include "jobs/state_machine.h"
#include "sources/autoupdate/autoupdate_scan.h"

namespace velmar {

inline constexpr std::chrono::milliseconds kScanPeriod{1000};
inline constexpr std::chrono::milliseconds kPendingScanPeriod{250};

// An auto-reset event: a wait that sees it set clears it.
class StopEvent {
 public:
  void Set();
  // True when set within `timeout`.
  bool Wait(std::chrono::milliseconds timeout);

 private:
  std::mutex mu_;
  std::condition_variable cv_;
  bool set_ = false;
};

class CAutoupdateJob final : public CJobItemEx {
 public:
  CAutoupdateJob(CStateMachineEx* owner, std::u16string folder, uint32_t mode, CAutoupdate::FoundFn found);
  // Any thread: sets the stop event; the scan loop ends at its next wait.
  int CancelJob() override;
  // Any thread.
  uint64_t scans() const { return scans_.load(std::memory_order_acquire); }

 private:
  KivResult Run() override;

  CAutoupdate autoupdate_;
  StopEvent stop_;
  std::atomic<uint64_t> scans_{0};
};

// A file taken up: its name, without the folder. Its body only succeeds.
class CAutoupdateNotifyJob final : public CJobItemEx {
 public:
  CAutoupdateNotifyJob(CStateMachineEx* owner, std::u16string name) : CJobItemEx(owner), name_(std::move(name)) {}
  const std::u16string& name() const { return name_; }

 private:
  KivResult Run() override { return S_OK; }

  const std::u16string name_;
};

class CAutoupdateStateMachine final : public CStateMachineEx {
 public:
  CAutoupdateStateMachine() = default;

  // Makes the private thread and queues the scanning job on it; each file
  // found goes to `notify` on the calling thread.
  [[nodiscard]] KivResult Start(const std::u16string& folder, uint32_t mode, CStateMachineEx* notify);
  // Cancels the job and ends the thread; returns once it has ended.
  void Stop();
  bool running() const { return running_; }
  // Scans made by the job; 0 once stopped.
  uint64_t scans() const { return job_ ? job_->scans() : 0; }

  // The job ended by itself (it threw): the watch is over.
  void JobCompleted(CJobItem* job) override;

 private:
  ~CAutoupdateStateMachine() override = default;

  AsyncThread thread_ = nullptr;
  ComPtr<CAutoupdateJob> job_;
  bool running_ = false;
};

}  // namespace velmar
