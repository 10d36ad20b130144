// The create machine of a file cache: writes the format's empty data set on
// the source's worker thread and tells the cache how it went.
//
// CCreateOutingStateMachine<StateChanges, JobItem>: JobItem derives from
// CJobItemEx and is made as JobItem(owner, path, extra...). StateChanges is
// the cache's callback: OnCreated(bool), AddRef(), Release(); not counted,
// held for the length of the call, forgotten when the last client reference
// of the machine goes.
//
// States: Idle 0, Running 1, Done 2. One creation per machine: a Create
// while Running or Done answers false.
//
// Client thread only.
#pragma once

#include <string>
#include <utility>

#include "jobs/state_machine.h"
#include "platform/async/job_engine.h"
#include "velmar/unknown.h"

namespace velmar {

template <class StateChanges, class JobItem>
class CCreateOutingStateMachine : public CStateMachine {
 public:
  using ThreadFn = AsyncThread (*)();

  CCreateOutingStateMachine(StateChanges* client, ThreadFn thread) : client_(client), thread_(thread) {}

  // Queues the creation of `path`. False when the machine is not Idle or
  // holds a job, or the engine refuses.
  template <class... JobArgs>
  bool Create(const std::u16string& path, JobArgs&&... jobArgs) {
    if (state() != State::kIdle || job()) return false;
    return Succeeded(Queue(thread_(), MakeKiv<JobItem>(this, path, std::forward<JobArgs>(jobArgs)...)));
  }

  // Running: the job is cancelled. Then Idle, the job released.
  void CancelCreate() { Cancel(); }

  void OnLastClientRelease() override {
    client_ = nullptr;
    Cancel();
  }

 protected:
  void OnJobSucceeded(CJobItem&) override {
    ReleaseJob();
    Tell(true);
  }
  void OnJobFailed(CJobItem&) override { Tell(false); }

 private:
  void Tell(bool success) {
    if (!client_) return;
    ComPtr<StateChanges> client(client_);
    client->OnCreated(success);
  }

  StateChanges* client_;
  const ThreadFn thread_;
};

}  // namespace velmar
