#include "jobs/job_thread.h"

#include <gtest/gtest.h>

#include <future>

#include "jobs/job_item.h"
#include "platform/async/dispatcher.h"
#include "support/settling_test.h"

namespace velmar {
namespace {

TEST(JobThread, SharedThreadsAreTheNamedOnes) {
  EXPECT_EQ(DaeThread(), Async_GetThread(u"DAE_Thread"));
  EXPECT_EQ(AsciiThread(), Async_GetThread(u"Ascii_Thread"));
  EXPECT_EQ(MatlabThread(), Async_GetThread(u"Matlab_Thread"));
  EXPECT_EQ(ExcelThread(), Async_GetThread(u"Velmar_Excel_Thread"));
}

TEST(JobThread, ACachedHandleAsksAgainOnlyAfterForgetting) {
  static CachedJobThread cached(u"JobThread_Cache_Test");
  AsyncThread first = cached.Get();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(cached.name(), u"JobThread_Cache_Test");

  // The thread behind the name is replaced: the cache keeps its handle...
  ASSERT_EQ(Async_StopThread(first), S_OK);
  AsyncThread replacement = Async_GetThread(u"JobThread_Cache_Test");
  EXPECT_EQ(cached.Get(), first);
  // ...until the last root forgets the handles.
  Async_ForgetThreads();
  EXPECT_EQ(cached.Get(), replacement);
  EXPECT_EQ(Async_StopThread(replacement), S_OK);
}

// Stands for a folder watch: runs until told to stop.
class StandingJob : public CJobItem {
 public:
  explicit StandingJob(std::shared_future<void> stop) : stop_(std::move(stop)) {}
  std::promise<void> started;

 protected:
  KivResult Run() override {
    started.set_value();
    stop_.wait();
    return S_OK;
  }

 private:
  std::shared_future<void> stop_;
};

using PrivateJobThread = testing::SettlingTest;

TEST_F(PrivateJobThread, NewEachTimeAndLeftOutOfIdleWaits) {
  AsyncThread a = NewPrivateJobThread();
  AsyncThread b = NewPrivateJobThread();
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  EXPECT_NE(a, b);

  std::promise<void> stop;
  auto job = MakeKiv<StandingJob>(stop.get_future().share());
  ASSERT_EQ(Async_QueueNewJob(a, job.Get()), S_OK);
  ASSERT_EQ(job->started.get_future().wait_for(kLong), std::future_status::ready);
  EXPECT_TRUE(Async_WaitAllIdle(kLong)) << "a running watch must not count as busy";
  stop.set_value();
  EXPECT_EQ(Async_StopThread(a), S_OK);
  EXPECT_EQ(Async_StopThread(b), S_OK);
  d_.RunUntilIdle();
  EXPECT_EQ(job->status(), S_OK);
}

}  // namespace
}  // namespace velmar
