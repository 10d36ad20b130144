// The time source of a dispatcher. Timers read it; the loop sleeps through it,
// so a test swaps in a ManualClock and runs hours of timers without sleeping.
#pragma once

#include <atomic>
#include <chrono>

namespace velmar {

class Clock {
 public:
  using time_point = std::chrono::steady_clock::time_point;
  using duration = std::chrono::steady_clock::duration;

  virtual ~Clock() = default;
  virtual time_point Now() = 0;
  // Blocks until `deadline` of this clock or until `fd` is readable, whichever
  // comes first. May return early; callers look at Now() again.
  virtual void WaitUntil(time_point deadline, int fd) = 0;
};

// The process's steady clock. Never destroyed.
Clock* SystemClock();

// A clock that moves only when told. Thread-safe.
// WaitUntil does not sleep: when `fd` has nothing to read it jumps straight to
// the deadline, so a dispatcher's RunFor(d) steps through simulated time.
class ManualClock : public Clock {
 public:
  explicit ManualClock(time_point start = time_point{} + std::chrono::hours(1));

  time_point Now() override;
  void WaitUntil(time_point deadline, int fd) override;

  void Set(time_point t);
  void Advance(duration d);

 private:
  std::atomic<duration::rep> ticks_;
};

// Blocks until `fd` is readable or `timeout` has passed (negative: no wait).
// Gives true when `fd` is readable.
bool WaitReadable(int fd, std::chrono::nanoseconds timeout);

}  // namespace velmar
