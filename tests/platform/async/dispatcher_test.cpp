#include "platform/async/dispatcher.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/async/clock.h"
#include "velmar/client_thread.h"

namespace velmar {
namespace {

using namespace std::chrono_literals;

class DispatcherTest : public ::testing::Test {
 protected:
  ManualClock clock_;
  Dispatcher d_{&clock_};
};

TEST_F(DispatcherTest, PostedTasksRunInOrderOnlyWhenTheLoopRunsAndTheFdShowsThem) {
  std::vector<int> ran;
  EXPECT_FALSE(WaitReadable(d_.Fd(), 0ms));
  for (int i = 0; i < 5; ++i) d_.Post([&ran, i] { ran.push_back(i); });
  EXPECT_TRUE(ran.empty()) << "Post must never run the task itself";
  EXPECT_TRUE(WaitReadable(d_.Fd(), 0ms));
  EXPECT_EQ(d_.RunOnce(), 5u);
  EXPECT_EQ(ran, (std::vector<int>{0, 1, 2, 3, 4}));
  EXPECT_FALSE(WaitReadable(d_.Fd(), 0ms));
  EXPECT_EQ(d_.RunOnce(), 0u);
}

TEST_F(DispatcherTest, RunUntilIdleRunsChainsOfPostsButATaskPostedWhileRunningWaitsForTheNextRound) {
  std::vector<std::string> log;
  d_.Post([&] {
    log.push_back("a");
    d_.Post([&] {
      log.push_back("b");
      d_.Post([&] { log.push_back("c"); });
    });
  });
  EXPECT_EQ(d_.RunUntilIdle(), 3u);
  EXPECT_EQ(log, (std::vector<std::string>{"a", "b", "c"}));
  int depth = 0;
  std::function<void()> again = [&] {
    ++depth;
    d_.Post(again);
  };
  d_.Post(again);
  EXPECT_EQ(d_.RunOnce(), 1u);
  EXPECT_EQ(depth, 1);
  EXPECT_EQ(d_.RunOnce(), 1u);
  EXPECT_EQ(depth, 2) << "a task that posts itself must not starve the loop";
}

TEST_F(DispatcherTest, AThrowingTaskIsLoggedAndTheLoopGoesOn) {
  bool after = false;
  d_.Post([] { throw std::runtime_error("boom"); });
  d_.Post([] { throw 42; });
  d_.Post([&] { after = true; });
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(d_.RunOnce(), 3u);
  std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_TRUE(after);
  EXPECT_NE(err.find("boom"), std::string::npos) << err;
}

TEST_F(DispatcherTest, PostFromManyThreadsKeepsEachThreadsOrder) {
  constexpr int kThreads = 8, kEach = 500;
  std::vector<std::vector<int>> seen(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kEach; ++i) d_.Post([&seen, t, i] { seen[t].push_back(i); });
    });
  }
  size_t total = 0;
  ASSERT_TRUE(d_.RunUntil(
      [&] {
        total = 0;
        for (const auto& s : seen) total += s.size();
        return total == size_t{kThreads} * kEach;
      },
      30s));
  for (auto& th : threads) th.join();
  for (int t = 0; t < kThreads; ++t) {
    ASSERT_EQ(seen[t].size(), size_t{kEach});
    for (int i = 0; i < kEach; ++i) ASSERT_EQ(seen[t][i], i) << "thread " << t;
  }
}

TEST_F(DispatcherTest, RunUntilWakesForAPostFromAnotherThreadAndGivesFalseOnTimeout) {
  std::atomic<bool> flag{false};
  bool ran = false;
  std::thread other([&] {
    while (!flag) std::this_thread::yield();
    d_.Post([&] { ran = true; });
  });
  flag = true;
  EXPECT_TRUE(d_.RunUntil([&] { return ran; }, 30s));
  other.join();
  int calls = 0;
  EXPECT_FALSE(d_.RunUntil([&] { ++calls; return false; }, 20ms));
  EXPECT_GE(calls, 1);
  EXPECT_EQ(clock_.Now(), ManualClock().Now()) << "real-time timeout must not move a manual clock";
}

TEST_F(DispatcherTest, TimerFiresAfterEachPeriodOfTheClock) {
  int fired = 0;
  Dispatcher::TimerId id = d_.SetTimer(100ms, [&] { ++fired; });
  EXPECT_NE(id, 0u);
  EXPECT_EQ(d_.RunOnce(), 0u);
  clock_.Advance(99ms);
  d_.RunOnce();
  EXPECT_EQ(fired, 0);
  clock_.Advance(1ms);
  EXPECT_EQ(d_.RunOnce(), 1u);
  EXPECT_EQ(fired, 1);
  clock_.Advance(100ms);
  d_.RunOnce();
  EXPECT_EQ(fired, 2) << "timers repeat";
  // Missed periods fire once, as window timers do.
  clock_.Advance(1000ms);
  d_.RunUntilIdle();
  EXPECT_EQ(fired, 3);
  clock_.Advance(100ms);
  d_.RunOnce();
  EXPECT_EQ(fired, 4);
}

TEST_F(DispatcherTest, KillTimerInsideItsOwnCallbackOrAnother) {
  int fired = 0;
  Dispatcher::TimerId id = 0;
  id = d_.SetTimer(10ms, [&] {
    ++fired;
    EXPECT_TRUE(d_.KillTimer(id));
  });
  clock_.Advance(10ms);
  d_.RunOnce();
  clock_.Advance(100ms);
  d_.RunOnce();
  EXPECT_EQ(fired, 1);
  EXPECT_FALSE(d_.KillTimer(id)) << "already gone";
  EXPECT_FALSE(d_.NextTimerDue().has_value());
  // A timer killed by an earlier one due in the same round does not fire.
  int first = 0, second = 0;
  Dispatcher::TimerId b = 0;
  d_.SetTimer(10ms, [&] {
    ++first;
    d_.KillTimer(b);
  });
  b = d_.SetTimer(20ms, [&] { ++second; });
  clock_.Advance(30ms);
  d_.RunOnce();
  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 0);
}

TEST_F(DispatcherTest, TimersFireInDueOrderAndIdsAreDistinct) {
  std::vector<char> order;
  auto a = d_.SetTimer(30ms, [&] { order.push_back('a'); });
  auto b = d_.SetTimer(10ms, [&] { order.push_back('b'); });
  auto c = d_.SetTimer(20ms, [&] { order.push_back('c'); });
  EXPECT_NE(a, b);
  EXPECT_NE(b, c);
  EXPECT_EQ(d_.NextTimerDue(), clock_.Now() + 10ms);
  clock_.Advance(30ms);
  d_.RunOnce();
  EXPECT_EQ(order, (std::vector<char>{'b', 'c', 'a'}));
}

TEST_F(DispatcherTest, RunForRunsPostedWorkThenStepsThroughSimulatedTime) {
  std::vector<Clock::duration> at;
  Clock::time_point t0 = clock_.Now();
  Clock::duration when = 1s;
  d_.Post([&] { when = clock_.Now() - t0; });
  d_.SetTimer(100ms, [&] { at.push_back(clock_.Now() - t0); });
  d_.RunFor(1000ms);
  ASSERT_EQ(at.size(), 10u);
  for (size_t i = 0; i < at.size(); ++i) EXPECT_EQ(at[i], 100ms * (i + 1));
  EXPECT_EQ(clock_.Now() - t0, 1000ms);
  EXPECT_EQ(when, 0ms) << "posted work runs before time moves";
}

TEST(DispatcherSystemClock, RunForSleepsForRealTime) {
  Dispatcher d;
  int fired = 0;
  d.SetTimer(5ms, [&] { ++fired; });
  auto start = std::chrono::steady_clock::now();
  d.RunFor(30ms);
  EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
  EXPECT_GE(fired, 1);
}

TEST(DispatcherCurrent, OnePerThreadAndScopedOverrides) {
  Dispatcher& mine = Dispatcher::ForThisThread();
  EXPECT_EQ(&mine, &Dispatcher::ForThisThread());
  Dispatcher* other = nullptr;
  std::thread([&] { other = &Dispatcher::ForThisThread(); }).join();
  EXPECT_NE(other, &mine);

  ManualClock clock;
  Dispatcher outer(&clock), inner(&clock);
  {
    Dispatcher::ScopedCurrent s1(outer);
    EXPECT_EQ(&Dispatcher::ForThisThread(), &outer);
    {
      Dispatcher::ScopedCurrent s2(inner);
      EXPECT_EQ(&Dispatcher::ForThisThread(), &inner);
    }
    EXPECT_EQ(&Dispatcher::ForThisThread(), &outer);
  }
  EXPECT_EQ(&Dispatcher::ForThisThread(), &mine);
}

TEST(DispatcherTarget, OutlivesItsDispatcherSafely) {
  auto captured = std::make_shared<int>(7);
  Dispatcher::Target target;
  {
    Dispatcher d;
    target = d.GetTarget();
    EXPECT_TRUE(target.Post([captured] {}));
    EXPECT_EQ(captured.use_count(), 2);
  }
  EXPECT_EQ(captured.use_count(), 1) << "unrun tasks are destroyed with the dispatcher";
  EXPECT_FALSE(target.Post([captured] {}));
  EXPECT_EQ(captured.use_count(), 1) << "a refused task is destroyed at once";
  EXPECT_FALSE(Dispatcher::Target().Post([] {}));
}

// The clocks a dispatcher waits on.
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

TEST(ManualClock, MovesWhenToldAndWaitJumpsToTheDeadlineOnlyWhenNothingIsReadable) {
  ManualClock clock;
  EventFd fd;
  Clock::time_point t0 = clock.Now();
  clock.WaitUntil(t0 + 5s, fd.fd());
  EXPECT_EQ(clock.Now(), t0 + 5s);
  // A deadline in the past never moves the clock back.
  clock.WaitUntil(t0, fd.fd());
  EXPECT_EQ(clock.Now(), t0 + 5s);
  fd.Signal();
  clock.WaitUntil(t0 + 1h, fd.fd());
  EXPECT_EQ(clock.Now(), t0 + 5s) << "posted work must run before simulated time passes";
  clock.Set(t0 + 1h);
  EXPECT_EQ(clock.Now() - t0, 1h);
}

TEST(WaitReadable, ReportsReadinessAndTimesOut) {
  EventFd fd;
  EXPECT_FALSE(WaitReadable(fd.fd(), 0ms));
  EXPECT_FALSE(WaitReadable(fd.fd(), 5ms));
  fd.Signal();
  EXPECT_TRUE(WaitReadable(fd.fd(), -1ms));
  EXPECT_TRUE(WaitReadable(fd.fd(), 1h)) << "must not block while readable";
}


// The public face of a client thread over its dispatcher.
TEST(ClientThreadTest, WorkPostedFromAnyThreadRunsOnlyOnTheClientThread) {
  const KivClientThread client = KivClientThread::Current();
  std::thread::id ranOn;
  std::thread poster([client, &ranOn] { EXPECT_TRUE(client.Post([&] { ranOn = std::this_thread::get_id(); })); });
  poster.join();
  EXPECT_EQ(ranOn, std::thread::id());
  EXPECT_TRUE(client.RunUntil([&] { return ranOn != std::thread::id(); }, 5s));
  EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST(ClientThreadTest, AHandleOfAnEndedThreadRefusesWork) {
  KivClientThread gone = [] {
    std::optional<KivClientThread> handle;
    std::thread([&] { handle = KivClientThread::Current(); }).join();
    return *handle;
  }();
  bool ran = false;
  EXPECT_FALSE(gone.Post([&] { ran = true; }));
  EXPECT_FALSE(ran);
}

TEST(ClientThreadTest, TimersTellAPollLoopWhenToWake) {
  ManualClock clock;
  Dispatcher dispatcher(&clock);
  Dispatcher::ScopedCurrent current(dispatcher);
  const KivClientThread client = KivClientThread::Current();
  EXPECT_EQ(client.TimeToNextTimer(), std::nullopt);
  int fired = 0;
  const KivClientThread::TimerId id = client.SetTimer(100ms, [&] { ++fired; });
  EXPECT_EQ(client.TimeToNextTimer(), 100ms);
  clock.Advance(150ms);
  EXPECT_EQ(client.TimeToNextTimer(), 0ms);
  client.RunOnce();
  EXPECT_EQ(fired, 1);
  EXPECT_TRUE(client.KillTimer(id));
  EXPECT_EQ(client.TimeToNextTimer(), std::nullopt);
}

}  // namespace
}  // namespace velmar
