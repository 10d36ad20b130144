// One worker of the job engine: a named std::thread and its queue. Internal to
// the engine (job_engine.cpp hands out pointers to it as AsyncThread).
//
// A queued job becomes a Ticket, which holds the job's one engine reference
// and where its Completed goes. A ticket moves waiting -> running ->
// delivering (Completed posted, not run yet) -> gone, or into `cleanups_` when
// cancelled; whoever takes it out of the last of those lists releases the job.
// All moves happen under `mu_`.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "platform/async/dispatcher.h"
#include "platform/async/job_engine.h"
#include "velmar/unknown.h"

namespace velmar {

struct AsyncThreadImpl {
 public:
  // Asked on the worker before each job; a negative answer is the job's status
  // instead of running it.
  using FaultCheck = std::function<KivResult(AsyncThreadImpl*, IAsyncJob*)>;

  AsyncThreadImpl(std::u16string name, FaultCheck fault_check);
  ~AsyncThreadImpl();  // stops and joins
  AsyncThreadImpl(const AsyncThreadImpl&) = delete;
  AsyncThreadImpl& operator=(const AsyncThreadImpl&) = delete;

  const std::u16string& name() const { return name_; }

  [[nodiscard]] KivResult Queue(IAsyncJob* job, Dispatcher::Target home);
  KivResult Cancel(IAsyncJob* job);
  // Drops waiting jobs (delivered as E_JOB_DROPPED), lets the running one
  // finish, joins unless called on the worker.
  void Stop();
  bool stopped();
  bool WaitIdle(std::chrono::steady_clock::time_point deadline);

  void set_busy_mask(uint32_t mask);
  uint32_t busy_mask();
  void DropNext(uint32_t count);

  // Where the completion of a job queued now should go: the client of the job
  // running on this thread when called from a worker, else the calling
  // thread's dispatcher.
  static Dispatcher::Target CurrentHome();

 private:
  struct Ticket {
    ComPtr<IAsyncJob> job;
    Dispatcher::Target home;
    bool cancelled = false;  // guarded by mu_
  };
  using TicketPtr = std::shared_ptr<Ticket>;
  class Delivery;

  void Loop();
  void Run(const TicketPtr& t, bool drop);
  void Deliver(const TicketPtr& t);
  void FinishDelivery(const TicketPtr& t, bool run);
  void CleanUp(const TicketPtr& t);  // REQUIRES: mu_ not held.
  // REQUIRES: mu_ held.
  bool IdleLocked() const;
  void EraseDeliveringLocked(const TicketPtr& t);

  const std::u16string name_;
  const FaultCheck fault_check_;

  std::mutex mu_;
  std::condition_variable work_cv_;  // something for the worker to do
  std::condition_variable idle_cv_;  // the worker became idle
  std::deque<TicketPtr> waiting_;
  std::deque<TicketPtr> cleanups_;
  std::vector<TicketPtr> delivering_;
  TicketPtr running_;
  uint32_t drop_next_ = 0;
  uint32_t busy_mask_ = 0;
  bool stopping_ = false;
  bool worker_done_ = false;

  std::mutex join_mu_;  // one joiner at a time
  std::thread thread_;
};

}  // namespace velmar
