#include "platform/async/worker_thread.h"

#include <pthread.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <utility>

#include "velmar/text.h"

namespace velmar {
namespace {

// The client of the job running on this worker, while it runs.
thread_local const Dispatcher::Target* t_running_home = nullptr;

// Linux keeps 15 bytes of a thread name; cut at a character boundary.
std::string ThreadNameFor(std::u16string_view name) {
  std::string utf8 = WideToUtf8(name);
  if (utf8.size() <= 15) return utf8;
  size_t n = 15;
  while (n > 0 && (static_cast<unsigned char>(utf8[n]) & 0xC0) == 0x80) --n;
  return utf8.substr(0, n);
}

template <class Fn>
void Guarded(const char* what, Fn&& fn) {
  try {
    fn();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "velmar: job %s threw: %s\n", what, e.what());
  } catch (...) {
    std::fprintf(stderr, "velmar: job %s threw a non-standard exception\n", what);
  }
}

}  // namespace

// The task posted to the client for one ticket. If the dispatcher is
// destroyed with the task unrun, the destructor gives the job up instead.
class AsyncThreadImpl::Delivery {
 public:
  Delivery(AsyncThreadImpl* thread, TicketPtr ticket) : thread_(thread), ticket_(std::move(ticket)) {}
  ~Delivery() {
    if (!ran_) thread_->FinishDelivery(ticket_, false);
  }
  void Run() {
    ran_ = true;
    thread_->FinishDelivery(ticket_, true);
  }

 private:
  AsyncThreadImpl* thread_;  // threads are never freed (see job_engine.cpp)
  TicketPtr ticket_;
  bool ran_ = false;
};

AsyncThreadImpl::AsyncThreadImpl(std::u16string name, FaultCheck fault_check)
    : name_(std::move(name)), fault_check_(std::move(fault_check)) {
  thread_ = std::thread([this] { Loop(); });
}

AsyncThreadImpl::~AsyncThreadImpl() { Stop(); }

Dispatcher::Target AsyncThreadImpl::CurrentHome() {
  if (t_running_home) return *t_running_home;
  return Dispatcher::CurrentTarget();
}

KivResult AsyncThreadImpl::Queue(IAsyncJob* job, Dispatcher::Target home) {
  if (!job) return E_POINTER;
  auto t = std::make_shared<Ticket>(Ticket{ComPtr<IAsyncJob>(job), std::move(home)});
  bool accepted;
  {
    std::lock_guard lock(mu_);
    accepted = !stopping_;
    if (accepted) waiting_.push_back(t);
  }
  if (!accepted) return E_UNEXPECTED;  // our reference goes with `t`
  work_cv_.notify_one();
  return S_OK;
}

KivResult AsyncThreadImpl::Cancel(IAsyncJob* job) {
  if (!job) return E_POINTER;
  if (job->CancelJob() == 0) return S_FALSE;
  std::vector<TicketPtr> clean_here;  // when no worker is left to do it
  bool found = false;
  {
    std::lock_guard lock(mu_);
    auto take = [&](const TicketPtr& t) {
      t->cancelled = true;
      found = true;
      if (worker_done_) {
        clean_here.push_back(t);
      } else {
        cleanups_.push_back(t);
      }
    };
    for (auto it = waiting_.begin(); it != waiting_.end();) {
      if ((*it)->job.Get() != job) { ++it; continue; }
      take(*it);
      it = waiting_.erase(it);
    }
    for (auto it = delivering_.begin(); it != delivering_.end();) {
      if ((*it)->job.Get() != job) { ++it; continue; }
      take(*it);
      it = delivering_.erase(it);
    }
    // A running job is cleaned up by the worker once WTRun returns.
    if (running_ && running_->job.Get() == job && !running_->cancelled) {
      running_->cancelled = true;
      found = true;
    }
  }
  work_cv_.notify_one();
  for (const TicketPtr& t : clean_here) CleanUp(t);
  return found ? S_OK : S_FALSE;
}

void AsyncThreadImpl::Stop() {
  std::deque<TicketPtr> dropped;
  {
    std::lock_guard lock(mu_);
    stopping_ = true;
    dropped.swap(waiting_);
    // Delivered below; counted as delivering from now so WaitIdle stays true.
    for (const TicketPtr& t : dropped) delivering_.push_back(t);
  }
  work_cv_.notify_one();
  for (const TicketPtr& t : dropped) {
    t->job->SetStatus(E_JOB_DROPPED);
    auto delivery = std::make_shared<Delivery>(this, t);
    if (!t->home.Post([delivery] { delivery->Run(); })) delivery.reset();
  }
  if (std::this_thread::get_id() == thread_.get_id()) return;  // the loop ends after this job
  std::lock_guard join_lock(join_mu_);
  if (thread_.joinable()) thread_.join();
}

bool AsyncThreadImpl::stopped() {
  std::lock_guard lock(mu_);
  return stopping_;
}

bool AsyncThreadImpl::IdleLocked() const { return waiting_.empty() && cleanups_.empty() && !running_; }

bool AsyncThreadImpl::WaitIdle(std::chrono::steady_clock::time_point deadline) {
  if (std::this_thread::get_id() == thread_.get_id()) return false;
  std::unique_lock lock(mu_);
  return idle_cv_.wait_until(lock, deadline, [&] { return IdleLocked(); });
}

void AsyncThreadImpl::set_busy_mask(uint32_t mask) {
  std::lock_guard lock(mu_);
  busy_mask_ = mask;
}

uint32_t AsyncThreadImpl::busy_mask() {
  std::lock_guard lock(mu_);
  return busy_mask_;
}

void AsyncThreadImpl::DropNext(uint32_t count) {
  std::lock_guard lock(mu_);
  drop_next_ = count;
}

void AsyncThreadImpl::Loop() {
  (void)pthread_setname_np(pthread_self(), ThreadNameFor(name_).c_str());
  std::unique_lock lock(mu_);
  for (;;) {
    work_cv_.wait(lock, [&] { return stopping_ || !waiting_.empty() || !cleanups_.empty(); });
    TicketPtr t;
    bool cleanup = !cleanups_.empty();
    bool drop = false;
    if (cleanup) {
      t = std::move(cleanups_.front());
      cleanups_.pop_front();
    } else if (!waiting_.empty()) {
      t = std::move(waiting_.front());
      waiting_.pop_front();
      drop = drop_next_ > 0;
      if (drop) --drop_next_;
    } else {
      break;  // stopping, nothing left
    }
    running_ = t;
    lock.unlock();
    if (cleanup) {
      CleanUp(t);
    } else {
      Run(t, drop);
    }
    t.reset();
    lock.lock();
    running_.reset();
    if (IdleLocked()) idle_cv_.notify_all();
  }
  worker_done_ = true;
  idle_cv_.notify_all();
}

void AsyncThreadImpl::Run(const TicketPtr& t, bool drop) {
  IAsyncJob* job = t->job.Get();
  KivResult fault = drop ? E_JOB_DROPPED : S_OK;
  if (!drop && fault_check_) Guarded("fault check", [&] { fault = fault_check_(this, job); });
  if (Failed(fault)) {
    job->SetStatus(fault);
  } else {
    t_running_home = &t->home;
    job->ResetStatus();
    try {
      job->WTRun();
    } catch (const std::exception& e) {
      std::fprintf(stderr, "velmar: WTRun on \"%s\" threw: %s\n", WideToUtf8(name_).c_str(), e.what());
      job->SetStatus(E_FAIL);
    } catch (...) {
      std::fprintf(stderr, "velmar: WTRun on \"%s\" threw\n", WideToUtf8(name_).c_str());
      job->SetStatus(E_FAIL);
    }
    t_running_home = nullptr;
  }
  bool cancelled;
  {
    std::lock_guard lock(mu_);
    cancelled = t->cancelled;
    if (!cancelled) delivering_.push_back(t);
  }
  if (cancelled) {
    CleanUp(t);
  } else {
    Deliver(t);
  }
}

void AsyncThreadImpl::Deliver(const TicketPtr& t) {
  auto delivery = std::make_shared<Delivery>(this, t);
  // A refused post destroys the task, and with it `delivery` gives up the job.
  (void)t->home.Post([delivery] { delivery->Run(); });
}

void AsyncThreadImpl::FinishDelivery(const TicketPtr& t, bool run) {
  ComPtr<IAsyncJob> job;
  {
    std::lock_guard lock(mu_);
    if (t->cancelled) return;  // the cleanup path owns it now
    EraseDeliveringLocked(t);
    job = std::move(t->job);
  }
  if (run) job->Completed();  // an exception here reaches the dispatcher, which logs it
}

void AsyncThreadImpl::CleanUp(const TicketPtr& t) {
  Guarded("cleanup", [&] { t->job->WTCleanupAfterCancel(); });
  ComPtr<IAsyncJob> job;
  {
    // Cancel compares the running ticket's job under the lock.
    std::lock_guard lock(mu_);
    job = std::move(t->job);
  }
}  // the job goes outside the lock: its last release may queue or cancel

void AsyncThreadImpl::EraseDeliveringLocked(const TicketPtr& t) {
  auto it = std::find(delivering_.begin(), delivering_.end(), t);
  if (it != delivering_.end()) delivering_.erase(it);
}

}  // namespace velmar
