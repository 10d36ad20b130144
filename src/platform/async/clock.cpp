#include "platform/async/clock.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace velmar {
namespace {

class SteadyClock final : public Clock {
 public:
  time_point Now() override { return std::chrono::steady_clock::now(); }
  void WaitUntil(time_point deadline, int fd) override {
    (void)WaitReadable(fd, deadline - Now());
  }
};

}  // namespace

Clock* SystemClock() {
  static SteadyClock* clock = new SteadyClock;  // leaked: dispatchers may outlive statics
  return clock;
}

bool WaitReadable(int fd, std::chrono::nanoseconds timeout) {
  using std::chrono::milliseconds;
  // Round up so a wait of 0.3 ms does not spin on poll(…, 0).
  auto ms = std::chrono::ceil<milliseconds>(std::max(timeout, std::chrono::nanoseconds(0))).count();
  ms = std::min<decltype(ms)>(ms, std::numeric_limits<int>::max());
  pollfd p{fd, POLLIN, 0};
  int n;
  do {
    n = ::poll(&p, 1, static_cast<int>(ms));
  } while (n < 0 && errno == EINTR);
  return n > 0 && (p.revents & POLLIN);
}

ManualClock::ManualClock(time_point start) : ticks_(start.time_since_epoch().count()) {}

Clock::time_point ManualClock::Now() { return time_point(duration(ticks_.load())); }

void ManualClock::WaitUntil(time_point deadline, int fd) {
  if (WaitReadable(fd, std::chrono::nanoseconds(0))) return;
  auto target = deadline.time_since_epoch().count();
  auto cur = ticks_.load();
  while (cur < target && !ticks_.compare_exchange_weak(cur, target)) {
  }
}

void ManualClock::Set(time_point t) { ticks_.store(t.time_since_epoch().count()); }

void ManualClock::Advance(duration d) { ticks_.fetch_add(d.count()); }

}  // namespace velmar
