// The machine behind each read of a `.trn` outing: one list (channels, event
// names, blobs, media channels, constants, lap markers, the details record)
// or one item's data (a channel's samples, an event set, a blob, a media
// channel's clips).
//
// CTarnReadStateMachine<Job> runs Job on the store thread, one at a time:
//   Start()    Idle: builds a job with the current connection and queues it.
//              Running or Done: nothing. Sets `requested` either way.
//   done       Done, the job kept: it holds the data (results()).
//   failed     Idle, the job released; the next Start tries again.
//   dropped    (E_JOB_DROPPED) the same job is queued again, without limit.
//   Drop()     Idle, the job (and so the data) released.
//   Reload()   after a write: when the data was ever asked for, drops it
//              and reads it again.
// Its client hears each end through ITarnReadClient<Job>::OnReadDone. The
// last client reference forgets the client and cancels the job.
//
// Client thread only.
#pragma once

#include <functional>
#include <utility>

#include "jobs/job_thread.h"
#include "jobs/state_machine.h"
#include "sources/tarn/tarn_connection.h"

namespace velmar {

template <class Job>
class CTarnReadStateMachine;

template <class Job>
class ITarnReadClient {
 public:
  // The read ended with the job's `status`; on success machine.results()
  // holds the data.
  virtual void OnReadDone(CTarnReadStateMachine<Job>& machine, KivResult status) = 0;

 protected:
  ~ITarnReadClient() = default;
};

template <class Job>
class CTarnReadStateMachine final : public CStateMachine {
 public:
  // Builds the job of a read; `owner` is the machine, the connection the one
  // to use (null when the file is not open: the job then fails).
  using MakeJob = std::function<ComPtr<Job>(CStateMachineEx* owner, ComPtr<COpenFileJobItem> connection)>;

  // `file` is asked for the connection at each start.
  CTarnReadStateMachine(ITarnReadClient<Job>* client, CFileStateMachine* file, MakeJob makeJob)
      : client_(client), file_(file), makeJob_(std::move(makeJob)) {}

  // See the top. E_FAIL when the job can't be queued.
  KivResult Start() {
    requested_ = true;
    if (state() != State::kIdle) return S_OK;
    ComPtr<Job> job = makeJob_(this, file_ ? file_->Connection() : nullptr);
    if (!job) return E_OUTOFMEMORY;
    return Queue(DaeThread(), std::move(job));
  }
  void Drop() { Cancel(); }
  void Reload() {
    if (!requested_) return;
    Drop();
    (void)Start();
  }

  // The finished job, while Done; else null.
  Job* results() const { return state() == State::kDone ? static_cast<Job*>(job()) : nullptr; }
  bool requested() const { return requested_; }

  void OnLastClientRelease() override {
    client_ = nullptr;
    file_ = nullptr;
    CStateMachine::OnLastClientRelease();
  }

 protected:
  void OnJobSucceeded(CJobItem& job) override {
    if (client_) client_->OnReadDone(*this, job.status());
  }
  void OnJobFailed(CJobItem& job) override {
    if (client_) client_->OnReadDone(*this, job.status());
  }

 private:
  ~CTarnReadStateMachine() override = default;

  ITarnReadClient<Job>* client_;
  CFileStateMachine* file_;  // the cache's, which outlives this machine's clients
  MakeJob makeJob_;
  bool requested_ = false;
};

// The usual MakeJob: Job(owner, connection, args...).
template <class Job, class... Args>
typename CTarnReadStateMachine<Job>::MakeJob MakeTarnJob(Args... args) {
  return [args...](CStateMachineEx* owner, ComPtr<COpenFileJobItem> connection) {
    return MakeKiv<Job>(owner, std::move(connection), args...);
  };
}

}  // namespace velmar
