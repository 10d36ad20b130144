#include "platform/async/dispatcher.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <deque>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

namespace velmar {

// Shared by the dispatcher and every Target handed out, so a worker that
// outlives the dispatcher posts into a closed queue instead of freed memory.
struct Dispatcher::Target::Queue {
  Queue() : fd(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (fd < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  }
  ~Queue() { ::close(fd); }

  bool Push(Task fn) {
    {
      std::lock_guard lock(mu);
      if (!closed) {
        tasks.push_back(std::move(fn));
        fn = nullptr;
      }
    }
    if (fn) return false;  // closed: `fn` dies here, outside the lock
    uint64_t one = 1;
    (void)!::write(fd, &one, sizeof one);
    return true;
  }

  // Clears the wake-up first, so a Push racing with us leaves Fd readable.
  std::deque<Task> TakeAll() {
    uint64_t count;
    (void)!::read(fd, &count, sizeof count);
    std::lock_guard lock(mu);
    return std::exchange(tasks, {});
  }

  std::deque<Task> Close() {
    std::lock_guard lock(mu);
    closed = true;
    return std::exchange(tasks, {});
  }

  const int fd;
  std::mutex mu;
  std::deque<Task> tasks;  // guarded by mu
  bool closed = false;     // guarded by mu
};

namespace {

thread_local Dispatcher* t_current = nullptr;
// Trivially destructible, so still readable while the thread's other
// thread_locals are being destroyed.
thread_local bool t_own_gone = false;

// The thread's own dispatcher, made on first use. Null once the thread has
// begun to end and it has been destroyed.
Dispatcher* OwnDispatcher() {
  if (t_own_gone) return nullptr;
  struct Own {
    std::unique_ptr<Dispatcher> d = std::make_unique<Dispatcher>();
    ~Own() {
      d.reset();
      t_own_gone = true;
    }
  };
  thread_local Own own;
  return own.d.get();
}

}  // namespace

bool Dispatcher::Target::Post(Task fn) const {
  return queue_ && queue_->Push(std::move(fn));
}

Dispatcher::Dispatcher(Clock* clock)
    : clock_(clock ? clock : SystemClock()), queue_(std::make_shared<Target::Queue>()) {}

Dispatcher::~Dispatcher() {
  // Destroyed outside the queue's lock: a task's captures may post or release.
  std::deque<Task> unrun = queue_->Close();
  unrun.clear();
  timers_.clear();
}

Dispatcher& Dispatcher::ForThisThread() {
  if (t_current) return *t_current;
  if (Dispatcher* own = OwnDispatcher()) return *own;
  // Asked from a destructor after the thread's own dispatcher has gone: a
  // dispatcher nobody will run, kept so that late posts stay harmless.
  static Dispatcher* orphan = new Dispatcher;
  return *orphan;
}

Dispatcher::Target Dispatcher::CurrentTarget() {
  if (t_current) return t_current->GetTarget();
  if (Dispatcher* own = OwnDispatcher()) return own->GetTarget();
  return Target();
}

Dispatcher::ScopedCurrent::ScopedCurrent(Dispatcher& d) : previous_(t_current) { t_current = &d; }

Dispatcher::ScopedCurrent::~ScopedCurrent() { t_current = previous_; }

void Dispatcher::Post(Task fn) { (void)queue_->Push(std::move(fn)); }

Dispatcher::TimerId Dispatcher::SetTimer(std::chrono::milliseconds period, Task fn) {
  period = std::max(period, std::chrono::milliseconds(1));
  while (next_timer_id_ == 0 || timers_.count(next_timer_id_)) ++next_timer_id_;
  TimerId id = next_timer_id_++;
  timers_[id] = Timer{period, clock_->Now() + period, std::make_shared<Task>(std::move(fn))};
  return id;
}

bool Dispatcher::KillTimer(TimerId id) { return timers_.erase(id) > 0; }

void Dispatcher::RunGuarded(const Task& fn, const char* what) {
  try {
    fn();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "velmar: %s threw: %s\n", what, e.what());
  } catch (...) {
    std::fprintf(stderr, "velmar: %s threw a non-standard exception\n", what);
  }
}

size_t Dispatcher::RunPosted() {
  std::deque<Task> batch = queue_->TakeAll();
  for (Task& fn : batch) {
    RunGuarded(fn, "posted task");
    fn = nullptr;  // release its captures now, in order
  }
  return batch.size();
}

size_t Dispatcher::RunTimersDueBy(Clock::time_point horizon) {
  std::vector<std::pair<Clock::time_point, TimerId>> due;
  for (const auto& [id, t] : timers_) {
    if (t.due <= horizon) due.emplace_back(t.due, id);
  }
  std::sort(due.begin(), due.end());
  size_t fired = 0;
  for (const auto& [when, id] : due) {
    auto it = timers_.find(id);
    if (it == timers_.end() || it->second.due > horizon) continue;  // killed or reset meanwhile
    Timer& t = it->second;
    Clock::time_point next = t.due + t.period;
    t.due = next > horizon ? next : horizon + t.period;
    std::shared_ptr<Task> fn = t.fn;  // `t` may be erased by the call
    RunGuarded(*fn, "timer");
    ++fired;
  }
  return fired;
}

size_t Dispatcher::RunOnceUpTo(Clock::time_point horizon) {
  size_t n = RunPosted();
  return n + RunTimersDueBy(std::min(horizon, clock_->Now()));
}

size_t Dispatcher::RunOnce() { return RunOnceUpTo(clock_->Now()); }

size_t Dispatcher::RunUntilIdle() {
  const Clock::time_point start = clock_->Now();
  size_t total = 0;
  while (size_t n = RunOnceUpTo(start)) total += n;
  return total;
}

std::optional<Clock::time_point> Dispatcher::NextTimerDue() const {
  std::optional<Clock::time_point> next;
  for (const auto& [id, t] : timers_) {
    if (!next || t.due < *next) next = t.due;
  }
  return next;
}

void Dispatcher::RunFor(std::chrono::milliseconds d) {
  const Clock::time_point end = clock_->Now() + d;
  for (;;) {
    RunOnce();
    if (clock_->Now() >= end) return;
    Clock::time_point wake = end;
    if (auto next = NextTimerDue(); next && *next < wake) wake = *next;
    clock_->WaitUntil(wake, Fd());
  }
}

bool Dispatcher::RunUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) {
  using std::chrono::steady_clock;
  const steady_clock::time_point end = steady_clock::now() + timeout;
  for (;;) {
    if (done()) return true;
    if (RunOnce() > 0) continue;
    steady_clock::duration wait = end - steady_clock::now();
    if (wait <= steady_clock::duration::zero()) return done();
    if (auto next = NextTimerDue()) wait = std::min(wait, *next - clock_->Now());
    (void)WaitReadable(Fd(), wait);
  }
}

int Dispatcher::Fd() const { return queue_->fd; }

}  // namespace velmar
