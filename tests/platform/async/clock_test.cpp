#include "platform/async/clock.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>

namespace velmar {
namespace {

using namespace std::chrono_literals;

class EventFd {
 public:
  EventFd() : fd_(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}
  ~EventFd() { ::close(fd_); }
  int fd() const { return fd_; }
  void Signal() {
    uint64_t one = 1;
    ASSERT_EQ(::write(fd_, &one, sizeof one), static_cast<ssize_t>(sizeof one));
  }

 private:
  int fd_;
};

TEST(ManualClock, MovesWhenToldAndWaitJumpsToTheDeadlineWhenNothingIsReadable) {
  ManualClock clock;
  EventFd fd;
  Clock::time_point t0 = clock.Now();
  clock.WaitUntil(t0 + 5s, fd.fd());
  EXPECT_EQ(clock.Now(), t0 + 5s);
  // A deadline in the past never moves the clock back.
  clock.WaitUntil(t0, fd.fd());
  EXPECT_EQ(clock.Now(), t0 + 5s);
  clock.Set(t0 + 1h);
  EXPECT_EQ(clock.Now() - t0, 1h);
}

TEST(ManualClock, WaitReturnsAtOnceWithoutMovingWhenWorkIsWaiting) {
  ManualClock clock;
  EventFd fd;
  fd.Signal();
  Clock::time_point t0 = clock.Now();
  clock.WaitUntil(t0 + 5s, fd.fd());
  EXPECT_EQ(clock.Now(), t0) << "posted work must run before simulated time passes";
}

TEST(WaitReadable, ReportsReadinessAndTimesOut) {
  EventFd fd;
  EXPECT_FALSE(WaitReadable(fd.fd(), 0ms));
  EXPECT_FALSE(WaitReadable(fd.fd(), 5ms));
  fd.Signal();
  EXPECT_TRUE(WaitReadable(fd.fd(), -1ms));
  EXPECT_TRUE(WaitReadable(fd.fd(), 1h)) << "must not block while readable";
}

}  // namespace
}  // namespace velmar
