#include "jobs/job_item.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "jobs/state_machine.h"
#include "platform/async/dispatcher.h"
#include "support/settling_test.h"

namespace velmar {
namespace {

class Sum : public CJobItem {
 public:
  Sum(int a, int b) : a_(a), b_(b) {}
  bool fail = false;
  bool throw_instead = false;

 protected:
  KivResult Run() override {
    if (throw_instead) throw std::runtime_error("overflow");
    if (fail) return E_INVALIDARG;
    return a_ + b_ == 0 ? S_FALSE : S_OK;
  }

 private:
  int a_, b_;
};

TEST(CJobItem, RunResultBecomesTheStatusAndAnExceptionEFail) {
  struct Case {
    int a, b;
    bool fail, throws;
    KivResult status;
  };
  for (const Case& c : {Case{2, 3, false, false, S_OK}, Case{0, 0, false, false, S_FALSE},
                        Case{1, 1, true, false, E_INVALIDARG}, Case{1, 2, false, true, E_FAIL}}) {
    auto job = MakeKiv<Sum>(c.a, c.b);
    job->fail = c.fail;
    job->throw_instead = c.throws;
    ::testing::internal::CaptureStderr();
    job->WTRun();
    const std::string err = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(job->status(), c.status) << c.a << "+" << c.b;
    EXPECT_EQ(err.find("overflow") != std::string::npos, c.throws) << "an exception is logged";
    job->ResetStatus();
    EXPECT_EQ(job->status(), S_OK);
  }
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

using CJobItemExEngine = testing::SettlingTest;

TEST_F(CJobItemExEngine, RoundTripThroughTheEngine) {
  int destroyed = 0;
  ComPtr<Recorder> machine = MakeKiv<Recorder>(&destroyed);
  ComPtr<Owned> job = MakeKiv<Owned>(machine.Get());
  AsyncThread t = Async_GetThread(u"JobItem_Test");
  ASSERT_EQ(Async_QueueNewJob(t, job.Get()), S_OK);
  ASSERT_TRUE(Async_WaitIdle(t, kLong));
  EXPECT_EQ(machine->last, nullptr) << "not before the client's loop runs";
  d_.RunUntilIdle();
  EXPECT_EQ(machine->last, job.Get());
  EXPECT_EQ(job->status(), S_OK);
}

}  // namespace
}  // namespace velmar
