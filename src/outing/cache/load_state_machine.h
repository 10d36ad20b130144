// The load machine of a file cache: reads the whole data set once, on the
// source's worker thread, when a client first asks for data.
//
// COutingLoadStateMachine<StateChanges, JobItem> runs one job item, made
// once with the machine and queued again for each load. JobItem derives from
// CJobItemEx and is made as JobItem(owner, path, extra...). StateChanges is
// the cache's callback: OnLoaded(JobItem&), OnChannelsReady(), AddRef(),
// Release(); it is not counted but held for the length of each call, and
// forgotten when the last client reference of the machine goes.
//
// States (CStateMachine::State): Idle 0 (nothing in memory, or discarded),
// Running 1 (job queued or running), Done 2 (the job's data is readable).
// `hold` is set by the transaction that owns the file: a Stop meanwhile only
// notes `restartWanted`, and ReleaseHold then stops and starts again.
//
// Client thread only, except what the job does on its worker.
#pragma once

#include <string>
#include <utility>

#include "jobs/state_machine.h"
#include "platform/async/job_engine.h"
#include "velmar/unknown.h"

namespace velmar {

template <class StateChanges, class JobItem>
class COutingLoadStateMachine : public CStateMachine {
 public:
  using ThreadFn = AsyncThread (*)();

  // `thread` gives the source's worker thread at each Start.
  template <class... JobArgs>
  COutingLoadStateMachine(StateChanges* client, std::u16string path, ThreadFn thread, JobArgs&&... jobArgs)
      : client_(client), path_(std::move(path)), thread_(thread) {
    job_ = MakeKiv<JobItem>(this, path_, std::forward<JobArgs>(jobArgs)...);
  }

  // Held: S_OK when loading or loaded, else E_FAIL. Otherwise from Idle with
  // a path: queues the load (Running), S_OK, or the engine's refusal.
  // Anything else: E_FAIL.
  [[nodiscard]] KivResult Start() {
    if (hold_) return state() == State::kIdle ? E_FAIL : S_OK;
    if (state() != State::kIdle || path_.empty() || !job_) return E_FAIL;
    return Queue(thread_(), job_);
  }

  // Held: only notes that a restart is wanted. Otherwise a queued or running
  // job is cancelled, loaded data is given up, and the state is Idle.
  void Stop() {
    if (hold_) {
      restartWanted_ = true;
      return;
    }
    Cancel();
  }

  // True when loaded. From Idle starts the load; while loading does nothing.
  bool EnsureLoaded() {
    switch (state()) {
      case State::kDone:
        return true;
      case State::kIdle:
        (void)Start();
        return false;
      case State::kRunning:
        return false;
    }
    return false;
  }

  // The transaction that owns the file begins and ends.
  void SetHold() { hold_ = true; }
  // Clears the hold; a Stop asked for meanwhile now runs, then Start, so the
  // file is read again.
  void ReleaseHold() {
    hold_ = false;
    if (!std::exchange(restartWanted_, false)) return;
    Stop();
    (void)Start();
  }
  bool hold() const { return hold_; }
  bool restart_wanted() const { return restartWanted_; }

  const std::u16string& path() const { return path_; }
  // The job item; its results are readable while Done.
  JobItem* load_job() const { return job_.Get(); }
  // The finished load; null unless Done.
  JobItem* loaded() const { return state() == State::kDone ? job_.Get() : nullptr; }

  // Nobody is left to tell: a late completion reaches nobody, the work stops
  // whatever the hold, and the job item goes.
  void OnLastClientRelease() override {
    client_ = nullptr;
    hold_ = false;
    restartWanted_ = false;
    Cancel();
    job_ = nullptr;
  }

 protected:
  // Done. S_FALSE (no channels, no events): OnLoaded only. Otherwise
  // OnLoaded, then OnChannelsReady while the data is still there.
  void OnJobSucceeded(CJobItem& job) override {
    if (!client_) return;
    ComPtr<StateChanges> client(client_);
    const bool channels = job.status() != S_FALSE;
    client->OnLoaded(static_cast<JobItem&>(job));
    if (channels && client_ && state() == State::kDone) client->OnChannelsReady();
  }
  // A failed load is silent: Idle, and the next demand tries again.
  void OnJobFailed(CJobItem&) override {}

 private:
  StateChanges* client_;
  const std::u16string path_;
  const ThreadFn thread_;
  ComPtr<JobItem> job_;
  bool hold_ = false;
  bool restartWanted_ = false;
};

}  // namespace velmar
