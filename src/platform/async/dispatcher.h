// The host thread's queue: posted tasks and repeating timers, run when the
// host drives the loop (RunOnce, RunUntilIdle, RunFor, RunUntil) or when its
// own poll loop finds Fd() readable. Job completions come back through here.
//
// Threads: Post and Target::Post are safe from any thread. Everything else,
// timers included, belongs to the thread that runs the loop (the client
// thread). Tasks and timers run on that thread, one at a time; an exception
// that escapes one is written to stderr and the loop goes on.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "platform/async/clock.h"

namespace velmar {

class Dispatcher {
 public:
  using Task = std::function<void()>;
  using TimerId = uint32_t;  // 0 is never a timer id

  explicit Dispatcher(Clock* clock = SystemClock());
  // Tasks still queued are destroyed without running.
  ~Dispatcher();
  Dispatcher(const Dispatcher&) = delete;
  Dispatcher& operator=(const Dispatcher&) = delete;

  // The calling thread's dispatcher: the innermost ScopedCurrent, else one made
  // on first use with the system clock and destroyed when the thread ends.
  static Dispatcher& ForThisThread();

  // Makes `d` the calling thread's dispatcher while it lives (tests use this
  // to run a ManualClock dispatcher). Nests.
  class ScopedCurrent {
   public:
    explicit ScopedCurrent(Dispatcher& d);
    ~ScopedCurrent();
    ScopedCurrent(const ScopedCurrent&) = delete;
    ScopedCurrent& operator=(const ScopedCurrent&) = delete;

   private:
    Dispatcher* previous_;
  };

  // A handle that posts into one dispatcher and can be kept by other threads:
  // once the dispatcher is gone, Post refuses and destroys the task unrun.
  class Target {
   public:
    Target() = default;
    // False when there is no dispatcher behind the handle any more.
    bool Post(Task fn) const;
    explicit operator bool() const { return queue_ != nullptr; }

   private:
    friend class Dispatcher;
    struct Queue;
    explicit Target(std::shared_ptr<Queue> q) : queue_(std::move(q)) {}
    std::shared_ptr<Queue> queue_;
  };

  Target GetTarget() const { return Target(queue_); }
  // The target of ForThisThread(); an empty one once the thread's own
  // dispatcher has been destroyed (thread or process exit), so that work
  // handed out then is given up instead of waiting forever.
  static Target CurrentTarget();

  // Queues `fn` for the next RunOnce and makes Fd() readable. Any thread.
  void Post(Task fn);

  // Calls `fn` every `period` (at least 1 ms) of the clock, first after one
  // period. Periods missed while the loop was not running fire once, not once
  // per period.
  TimerId SetTimer(std::chrono::milliseconds period, Task fn);
  // False for an unknown id. Safe inside any timer callback, its own included.
  bool KillTimer(TimerId id);

  // Runs the tasks posted before the call, then the timers due now. Tasks
  // posted meanwhile wait for the next call. Never blocks. Gives the count run.
  size_t RunOnce();
  // RunOnce until nothing is ready. Each timer fires at most once per call.
  size_t RunUntilIdle();
  // Runs tasks and timers for `d` of the clock, sleeping between them.
  void RunFor(std::chrono::milliseconds d);
  // Runs tasks and timers until `done()` (checked after each batch) or until
  // `timeout` of real time has passed; gives done(). Meant for waiting on work
  // of other threads, so the timeout does not follow a manual clock.
  bool RunUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout);

  // Readable while posted tasks wait. A host may poll it in its own loop and
  // call RunOnce when it is readable or when NextTimerDue has come.
  int Fd() const;
  // When the earliest timer is due; none without timers.
  std::optional<Clock::time_point> NextTimerDue() const;

  Clock* clock() const { return clock_; }

 private:
  struct Timer {
    std::chrono::milliseconds period;
    Clock::time_point due;
    std::shared_ptr<Task> fn;  // shared: a callback may kill its own timer
  };

  size_t RunPosted();
  size_t RunTimersDueBy(Clock::time_point horizon);
  size_t RunOnceUpTo(Clock::time_point horizon);
  static void RunGuarded(const Task& fn, const char* what);

  Clock* clock_;
  std::shared_ptr<Target::Queue> queue_;
  std::map<TimerId, Timer> timers_;
  TimerId next_timer_id_ = 1;
};

}  // namespace velmar
