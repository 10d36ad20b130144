#include "jobs/job_item.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>

#include "jobs/state_machine.h"
#include "platform/async/dispatcher.h"

namespace velmar {
namespace {

using namespace std::chrono_literals;

int g_live_jobs = 0;

class Sum : public CJobItem {
 public:
  Sum(int a, int b) : a_(a), b_(b) { ++g_live_jobs; }
  ~Sum() override { --g_live_jobs; }
  int result = 0;
  bool fail = false;
  bool throw_instead = false;
  std::thread::id ran_on;

 protected:
  KivResult Run() override {
    ran_on = std::this_thread::get_id();
    if (throw_instead) throw std::runtime_error("overflow");
    if (fail) return E_INVALIDARG;
    result = a_ + b_;
    return result == 0 ? S_FALSE : S_OK;
  }

 private:
  int a_, b_;
};

TEST(CJobItem, RunResultBecomesTheStatus) {
  auto ok = MakeKiv<Sum>(2, 3);
  ok->WTRun();
  EXPECT_EQ(ok->status(), S_OK);
  EXPECT_EQ(ok->result, 5);
  auto empty = MakeKiv<Sum>(0, 0);
  empty->WTRun();
  EXPECT_EQ(empty->status(), S_FALSE);
  auto bad = MakeKiv<Sum>(1, 1);
  bad->fail = true;
  bad->WTRun();
  EXPECT_EQ(bad->status(), E_INVALIDARG);
  bad->ResetStatus();
  EXPECT_EQ(bad->status(), S_OK);
}

TEST(CJobItem, AnExceptionFromRunGivesEFail) {
  auto job = MakeKiv<Sum>(1, 2);
  job->throw_instead = true;
  ::testing::internal::CaptureStderr();
  job->WTRun();
  std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(job->status(), E_FAIL);
  EXPECT_NE(err.find("overflow"), std::string::npos);
}

// A machine that only records what reaches it.
class Recorder : public CStateMachineEx {
 public:
  explicit Recorder(int* destroyed) : destroyed_(destroyed) {}
  ~Recorder() override { ++*destroyed_; }
  void JobCompleted(CJobItem* job) override { last = job; }
  CJobItem* last = nullptr;

 private:
  int* destroyed_;
};

class Owned : public CJobItemEx {
 public:
  explicit Owned(CStateMachineEx* owner) : CJobItemEx(owner) {}

 protected:
  KivResult Run() override { return S_OK; }
};

TEST(CJobItemEx, HoldsItsOwnerAndHandsCompletionToIt) {
  int destroyed = 0;
  ComPtr<Recorder> machine = MakeKiv<Recorder>(&destroyed);
  {
    ComPtr<Owned> job = MakeKiv<Owned>(machine.Get());
    EXPECT_EQ(job->owner(), machine.Get());
    machine = nullptr;
    EXPECT_EQ(destroyed, 0) << "the job keeps its owner alive";
    auto* owner = static_cast<Recorder*>(job->owner());
    job->Completed();
    EXPECT_EQ(owner->last, job.Get());
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(CJobItemEx, RoundTripThroughTheEngine) {
  Dispatcher d;
  Dispatcher::ScopedCurrent current(d);
  int destroyed = 0;
  ComPtr<Recorder> machine = MakeKiv<Recorder>(&destroyed);
  ComPtr<Owned> job = MakeKiv<Owned>(machine.Get());
  AsyncThread t = Async_GetThread(u"JobItem_Test");
  ASSERT_EQ(Async_QueueNewJob(t, job.Get()), S_OK);
  ASSERT_TRUE(Async_WaitIdle(t, 30s));
  EXPECT_EQ(machine->last, nullptr) << "not before the client's loop runs";
  d.RunUntilIdle();
  EXPECT_EQ(machine->last, job.Get());
  EXPECT_EQ(job->status(), S_OK);
}

}  // namespace
}  // namespace velmar
