// Job items: the unit of slow work. A machine (state_machine.h) builds a job
// on the client thread, hands it to the job engine, and gets it back in
// JobCompleted on the client thread.
//
// Ownership: counted (AddRef/Release, atomic); hold jobs in ComPtr and make
// them with MakeKiv<T>(...). The engine holds a reference while the job is
// queued, running or being delivered, so the last reference may go on a
// worker thread: destructors must only free what the job owns.
//
// Threads: the constructor, Completed and the reading of results belong to
// the client thread; Run and WTCleanupAfterCancel to the worker. Between
// queueing and completion the job touches only what it owns, so a job copies
// what it needs from client objects when it is built.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/async/job_engine.h"
#include "velmar/result.h"
#include "velmar/unknown.h"

namespace velmar {

class CStateMachineEx;

class CJobItem : public IAsyncJob, private KivLiveCounted {
 public:
  // Cancellable unless a job says otherwise (close jobs give 0).
  int CancelJob() override { return 1; }
  void ResetStatus() override { status_ = S_OK; }
  // Nobody to tell; CJobItemEx passes the job to its machine.
  void Completed() override {}
  bool SupportsAggregation() override { return false; }
  void Aggregate(IAsyncJob*) override {}
  // Frees results that nobody will fetch; reading jobs override it.
  void WTCleanupAfterCancel() override {}
  // Runs Run() and keeps its result as the status. An exception from Run is
  // written to stderr and gives E_FAIL.
  void WTRun() final;
  uint32_t AddRef() final;
  uint32_t Release() final;
  void SetStatus(KivResult status) final { status_ = status; }

  // The result of the last run (or the engine's verdict): S_OK before any.
  // Read it on the client thread, in or after Completed.
  KivResult status() const { return status_; }

 protected:
  CJobItem() = default;
  ~CJobItem() override = default;

  // The work, on the worker thread. Its result becomes the status: 0 or
  // above is success, S_FALSE a success with nothing found.
  virtual KivResult Run() = 0;

 private:
  std::atomic<uint32_t> refs_{0};
  KivResult status_ = S_OK;
};

// A job with an owning machine: holds an owner reference on it for its whole
// life, and its Completed calls the machine's JobCompleted.
class CJobItemEx : public CJobItem {
 public:
  void Completed() override;
  CStateMachineEx* owner() const { return owner_.Get(); }

 protected:
  explicit CJobItemEx(CStateMachineEx* owner);
  ~CJobItemEx() override;

 private:
  ComPtr<CStateMachineEx> owner_;
};

}  // namespace velmar
