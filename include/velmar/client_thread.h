// The client thread as a host drives it. Every object of the library lives
// on the thread that made it; slow work runs on the library's worker
// threads, and its results come back as tasks queued for that client
// thread. Nothing runs them but the host: it calls one of the Run functions
// below, or puts Fd() in its own poll loop and calls RunOnce when it is
// readable or when the next timer is due.
//
//   KivClientThread client = KivClientThread::Current();
//   ... open an outing, ask for a channel: KIV_E_PENDING ...
//   client.RunUntilSettled(std::chrono::seconds(10));  // the data is in
//
// Threads: a KivClientThread is a small handle, cheap to copy. Post may be
// called on any thread, also after the client thread has ended (it then
// refuses). Everything else belongs to the client thread itself.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace velmar {

class KivClientThread {
 public:
  using Task = std::function<void()>;
  using TimerId = uint32_t;  // 0 is never a timer id

  // The calling thread's loop, made on first use.
  static KivClientThread Current();

  // Queues `task` to run on the client thread and wakes Fd(). False, with
  // the task dropped unrun, once that thread's loop is gone. Any thread.
  bool Post(Task task) const;

  // Runs the tasks queued before the call, then the timers that are due.
  // Never blocks; gives the count run.
  size_t RunOnce() const;
  // RunOnce until nothing is ready.
  size_t RunUntilIdle() const;
  // Runs tasks and timers for `duration`, sleeping in between.
  void RunFor(std::chrono::milliseconds duration) const;
  // Runs tasks and timers until `done()` holds (checked after each batch)
  // or `timeout` passed; gives done().
  bool RunUntil(const std::function<bool()>& done, std::chrono::milliseconds timeout) const;
  // Runs until the library is quiet: every job queued on a worker thread so
  // far, and every job its completion queued, has come back and its result
  // was handled here. False when `timeout` passed first. Folder watches,
  // which never end, are not waited for.
  bool RunUntilSettled(std::chrono::milliseconds timeout) const;

  // Calls `task` on the client thread every `period` (1 ms at least), first
  // after one period; periods missed while the loop was not run fire once.
  TimerId SetTimer(std::chrono::milliseconds period, Task task) const;
  // False for an unknown id. Safe inside any timer task, its own included.
  bool KillTimer(TimerId id) const;

  // Readable while queued tasks wait; for the host's own poll loop.
  int Fd() const;
  // How long until the earliest timer is due (zero when overdue); none
  // without timers. A poll loop's timeout.
  std::optional<std::chrono::milliseconds> TimeToNextTimer() const;

 private:
  struct State;
  explicit KivClientThread(std::shared_ptr<State> state) : state_(std::move(state)) {}
  std::shared_ptr<State> state_;
};

}  // namespace velmar
