#include "velmar/client_thread.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>

#include "platform/async/dispatcher.h"

namespace velmar {
namespace {

using namespace std::chrono_literals;

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
