// State machines: the client-thread side of slow work.
//
// CStateMachineEx is the base of every machine. It counts two kinds of
// reference:
//  - owners (AddRef/Release, atomic): whoever keeps the object alive, jobs
//    included. The last Release deletes it, possibly on a worker thread when a
//    cancelled job was the last owner, so destructors only free memory.
//  - clients (AddRefClient/ReleaseClient, client thread only): whoever wants
//    its results. Each client reference also holds an owner reference. When
//    the last client reference goes, OnLastClientRelease runs: the machine
//    forgets its callback, so a late completion reaches nobody, and stops.
// Hold owners in ComPtr<T>, clients in ClientRef<T>; MakeClient<T>(...) makes a
// machine held by its first client.
//
// CStateMachine runs one job at a time:
//  1. Queue(thread, job) keeps the job, sets Running and queues it.
//  2. JobCompleted ignores a job that is not the kept one, and any state but
//     Running.
//  3. Status >= 0: Done, the job stays kept, OnJobSucceeded (take the results,
//     tell the client). Negative: Idle, the job is released, OnJobFailed.
//  4. E_JOB_DROPPED (the engine dropped it): OnJobDropped, which by default
//     queues the same job again on the same thread.
//  5. Cancel(): Async_CancelJob when Running, then Idle, the job released.
// A machine that needs its job across runs (a load machine made once with
// its job) keeps its own reference and queues it again each time; the kept
// job here is only the one the machine waits for.
//
// Mapping of the source machines onto this one: a load machine's Start is
// Queue (guarded by its `hold`), Stop is Cancel (or only notes restartWanted
// while held), EnsureLoaded reads state(). A create machine is Queue, with the
// callback told in both hooks and ReleaseJob on success. Machines with
// several jobs in flight (transactions, write-back steps) derive from
// CStateMachineEx and override JobCompleted.
//
// Threads: everything here but AddRef/Release belongs to the client thread,
// the one whose dispatcher receives the completions.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "jobs/job_item.h"
#include "platform/async/job_engine.h"
#include "velmar/unknown.h"

namespace velmar {

class CStateMachineEx : private KivLiveCounted {
 protected:
  CStateMachineEx() = default;
  virtual ~CStateMachineEx();

 public:
  uint32_t AddRef();
  uint32_t Release();
  // Client thread only.
  uint32_t AddRefClient();
  uint32_t ReleaseClient();
  uint32_t client_count() const { return clients_; }

  // Client thread. A completed job of this machine.
  virtual void JobCompleted(CJobItem* job);
  // Client thread. The last client reference went; the machine is still alive.
  virtual void OnLastClientRelease();

 private:
  std::atomic<uint32_t> refs_{0};
  uint32_t clients_ = 0;
};

class CStateMachine : public CStateMachineEx {
 public:
  enum class State : int32_t { kIdle = 0, kRunning = 1, kDone = 2 };

  State state() const { return state_; }
  // The kept job: the one queued, or the one whose results are held.
  CJobItem* job() const { return job_.Get(); }
  // The thread of the last Queue.
  AsyncThread thread() const { return thread_; }

  void JobCompleted(CJobItem* job) final;
  // Stops the work: Cancel().
  void OnLastClientRelease() override;

 protected:
  CStateMachine() = default;
  ~CStateMachine() override;

  // Keeps `job`, sets Running and queues it on `thread`. E_UNEXPECTED when a
  // job is running already; E_POINTER for a null job; a failure of the engine
  // is returned as it stands and leaves the machine Idle without a job.
  [[nodiscard]] KivResult Queue(AsyncThread thread, ComPtr<CJobItem> job);
  // Running: asks the engine to cancel the job. Then, in any state: Idle, the
  // kept job released. A job that refuses cancelling still completes, and is
  // ignored as not kept.
  void Cancel();
  // Done: gives up the kept job (its results taken) and stays Done.
  void ReleaseJob();

  // Client thread, from JobCompleted. The state is already the new one; the
  // hooks may Queue again.
  virtual void OnJobSucceeded(CJobItem& job);
  virtual void OnJobFailed(CJobItem& job);
  // Still Running. By default queues `job` again on thread(); when the engine
  // refuses, the job fails with E_JOB_DROPPED.
  virtual void OnJobDropped(CJobItem& job);

  // Idle, the kept job released, OnJobFailed(job). For OnJobDropped overrides.
  void Fail(CJobItem& job);

 private:
  State state_ = State::kIdle;
  ComPtr<CJobItem> job_;
  AsyncThread thread_ = nullptr;
};

// One client reference on a machine, released when this goes.
template <class T>
class ClientRef {
 public:
  ClientRef() = default;
  explicit ClientRef(T* p) : p_(p) {
    if (p_) p_->AddRefClient();
  }
  ClientRef(ClientRef&& o) noexcept : p_(std::exchange(o.p_, nullptr)) {}
  ClientRef& operator=(ClientRef&& o) noexcept {
    if (this != &o) {
      Reset();
      p_ = std::exchange(o.p_, nullptr);
    }
    return *this;
  }
  ClientRef(const ClientRef&) = delete;
  ClientRef& operator=(const ClientRef&) = delete;
  ~ClientRef() { Reset(); }

  void Reset() {
    if (T* p = std::exchange(p_, nullptr)) p->ReleaseClient();
  }
  T* Get() const { return p_; }
  T* operator->() const { return p_; }
  explicit operator bool() const { return p_ != nullptr; }

 private:
  T* p_ = nullptr;
};

// Makes a machine whose only reference is the returned client's.
template <class T, class... Args>
ClientRef<T> MakeClient(Args&&... args) {
  return ClientRef<T>(new T(std::forward<Args>(args)...));
}

}  // namespace velmar
