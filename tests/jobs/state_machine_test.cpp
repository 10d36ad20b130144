#include "jobs/state_machine.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <string>

#include "platform/async/dispatcher.h"
#include "support/settling_test.h"

namespace velmar {
namespace {

using State = CStateMachine::State;

std::u16string UniqueName() {
  static std::atomic<int> n{0};
  std::string s = "SM_" + std::to_string(++n);
  return std::u16string(s.begin(), s.end());
}

// A job whose work is a function, run on the worker.
class WorkJob : public CJobItemEx {
 public:
  WorkJob(CStateMachineEx* owner, std::function<KivResult()> body, std::atomic<int>* destroyed, int cancellable = 1)
      : CJobItemEx(owner), body_(std::move(body)), destroyed_(destroyed), cancellable_(cancellable) {}
  ~WorkJob() override {
    if (destroyed_) ++*destroyed_;
  }
  int CancelJob() override { return cancellable_; }
  void WTCleanupAfterCancel() override { ++cleanups; }
  std::atomic<int> runs{0}, cleanups{0};

 protected:
  KivResult Run() override {
    ++runs;
    return body_();
  }

 private:
  std::function<KivResult()> body_;
  std::atomic<int>* destroyed_;
  int cancellable_;
};

// What the client of a machine hears.
struct Callback {
  int succeeded = 0;
  int failed = 0;
  KivResult last_failure = S_OK;
  bool operator==(const Callback&) const = default;
};

// The smallest useful machine: one job at a time, results told to a client
// that is forgotten when the last client reference goes.
class TestMachine : public CStateMachine {
 public:
  TestMachine(Callback* client, std::atomic<int>* destroyed) : client_(client), destroyed_(destroyed) {}
  ~TestMachine() override { ++*destroyed_; }

  KivResult Start(AsyncThread t, std::function<KivResult()> body, int cancellable = 1) {
    return Queue(t, MakeKiv<WorkJob>(this, std::move(body), &jobs_destroyed, cancellable));
  }
  WorkJob* work() const { return static_cast<WorkJob*>(job()); }
  using CStateMachine::Cancel;
  using CStateMachine::Queue;
  using CStateMachine::ReleaseJob;

  void OnLastClientRelease() override {
    client_ = nullptr;
    CStateMachine::OnLastClientRelease();
  }
  std::atomic<int> jobs_destroyed{0};

 protected:
  void OnJobSucceeded(CJobItem&) override {
    if (client_) ++client_->succeeded;
  }
  void OnJobFailed(CJobItem& job) override {
    if (!client_) return;
    ++client_->failed;
    client_->last_failure = job.status();
  }

 private:
  Callback* client_;
  std::atomic<int>* destroyed_;
};

class StateMachineTest : public testing::SettlingTest {
 protected:
  void TearDown() override {
    Open();  // a test that failed half-way must not leave a worker blocked
    EXPECT_TRUE(Settle());
  }
  // Starts a job on sm_ that holds its worker until Open(); returns once it runs.
  void StartBlocked(int cancellable = 1) {
    auto started = std::make_shared<std::promise<void>>();
    std::future<void> running = started->get_future();
    const auto body = [started, open = open_] {
      started->set_value();
      open.wait();
      return S_OK;
    };
    ASSERT_EQ(sm_->Start(thread_, body, cancellable), S_OK);
    ASSERT_EQ(running.wait_for(kLong), std::future_status::ready);
  }
  void Open() {
    if (!opened_) gate_.set_value();
    opened_ = true;
  }

  AsyncThread thread_ = Async_GetThread(UniqueName());
  Callback cb_;
  std::atomic<int> machines_destroyed_{0};
  ClientRef<TestMachine> sm_ = MakeClient<TestMachine>(&cb_, &machines_destroyed_);
  std::promise<void> gate_;
  std::shared_future<void> open_ = gate_.get_future().share();
  bool opened_ = false;
};

TEST_F(StateMachineTest, SuccessKeepsTheJobAndTellsTheClientOnItsThread) {
  ASSERT_EQ(sm_->Start(thread_, [] { return S_OK; }), S_OK);
  EXPECT_EQ(sm_->state(), State::kRunning);
  EXPECT_EQ(sm_->thread(), thread_);
  ASSERT_TRUE(Async_WaitIdle(thread_, kLong));
  EXPECT_EQ(cb_.succeeded, 0) << "only the client's loop delivers";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(sm_->state(), State::kDone);
  EXPECT_EQ(cb_.succeeded, 1);
  ASSERT_NE(sm_->work(), nullptr) << "results stay with the kept job";
  sm_->ReleaseJob();
  EXPECT_EQ(sm_->job(), nullptr);
  EXPECT_EQ(sm_->state(), State::kDone);
  EXPECT_EQ(sm_->jobs_destroyed, 1);
}

TEST_F(StateMachineTest, FailureGoesIdleAndReleasesTheJob) {
  ASSERT_EQ(sm_->Start(thread_, [] { return E_ACCESSDENIED; }), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(sm_->state(), State::kIdle);
  EXPECT_EQ(sm_->job(), nullptr);
  EXPECT_EQ(cb_, (Callback{0, 1, E_ACCESSDENIED}));
  EXPECT_EQ(sm_->jobs_destroyed, 1);
}

TEST_F(StateMachineTest, ADroppedJobIsQueuedAgainAndTheClientHearsOnlyTheEnd) {
  ASSERT_EQ(Async_DropNextJobs(thread_, 2), S_OK);
  ASSERT_EQ(sm_->Start(thread_, [] { return S_FALSE; }), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(sm_->state(), State::kDone);
  EXPECT_EQ(cb_, (Callback{1, 0, S_OK}));
  EXPECT_EQ(sm_->work()->runs, 1) << "dropped twice, then run once";
}

TEST_F(StateMachineTest, ADroppedJobThatCannotBeQueuedAgainFails) {
  ASSERT_EQ(Async_DropNextJobs(thread_, 1), S_OK);
  ASSERT_EQ(sm_->Start(thread_, [] { return S_OK; }), S_OK);
  ASSERT_TRUE(Async_WaitIdle(thread_, kLong));
  ASSERT_EQ(Async_StopThread(thread_), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(sm_->state(), State::kIdle);
  EXPECT_EQ(cb_, (Callback{0, 1, E_JOB_DROPPED}));
}

TEST_F(StateMachineTest, QueueingAgainWhileRunningIsRefused) {
  StartBlocked();
  CJobItem* first = sm_->job();
  EXPECT_EQ(sm_->Start(thread_, [] { return S_OK; }), E_UNEXPECTED);
  EXPECT_EQ(sm_->job(), first);
  EXPECT_EQ(sm_->Queue(thread_, nullptr), E_POINTER);
  Open();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(cb_.succeeded, 1);
}

TEST_F(StateMachineTest, AFailedQueueLeavesTheMachineIdle) {
  EXPECT_EQ(sm_->Start(nullptr, [] { return S_OK; }), E_INVALIDARG);
  EXPECT_EQ(sm_->state(), State::kIdle);
  EXPECT_EQ(sm_->job(), nullptr);
  EXPECT_EQ(sm_->jobs_destroyed, 1);
}

TEST_F(StateMachineTest, CancellingAWaitingJobMeansItNeverRuns) {
  Callback blocker_cb;
  auto blocker = MakeClient<TestMachine>(&blocker_cb, &machines_destroyed_);
  ASSERT_EQ(blocker->Start(thread_, [open = open_] { open.wait(); return S_OK; }), S_OK);

  ASSERT_EQ(sm_->Start(thread_, [] { return S_OK; }), S_OK);
  ComPtr<WorkJob> job(sm_->work());
  sm_->Cancel();
  EXPECT_EQ(sm_->state(), State::kIdle);
  EXPECT_EQ(sm_->job(), nullptr);
  Open();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(job->runs, 0);
  EXPECT_EQ(job->cleanups, 1);
  EXPECT_EQ(cb_.succeeded + cb_.failed, 0) << "a cancelled job is never completed";
  EXPECT_EQ(blocker_cb.succeeded, 1);
}

TEST_F(StateMachineTest, CancellingARunningJobLetsItFinishUnheard) {
  StartBlocked();
  ComPtr<WorkJob> job(sm_->work());
  sm_->Cancel();
  Open();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(job->runs, 1);
  EXPECT_EQ(job->cleanups, 1);
  EXPECT_EQ(cb_.succeeded + cb_.failed, 0);
  EXPECT_EQ(sm_->state(), State::kIdle);
}

TEST_F(StateMachineTest, CompletionsOfOtherJobsOrOutsideRunningAreIgnored) {
  ASSERT_EQ(sm_->Start(thread_, [] { return S_OK; }), S_OK);
  auto stranger = MakeKiv<WorkJob>(sm_.Get(), [] { return S_OK; }, nullptr);
  sm_->JobCompleted(stranger.Get());
  sm_->JobCompleted(nullptr);
  EXPECT_EQ(sm_->state(), State::kRunning);
  EXPECT_EQ(cb_.succeeded, 0);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(cb_.succeeded, 1);
  sm_->JobCompleted(sm_->job());  // a second delivery in Done
  EXPECT_EQ(cb_.succeeded, 1);
}

TEST_F(StateMachineTest, HooksMayQueueTheNextJob) {
  // A machine that retries a failure once, from inside its hook.
  class Retrying : public TestMachine {
   public:
    using TestMachine::TestMachine;
    AsyncThread t = nullptr;
    int attempts = 0;

   protected:
    void OnJobFailed(CJobItem& job) override {
      if (++attempts < 2) {
        EXPECT_EQ(Start(t, [] { return S_OK; }), S_OK);
      } else {
        TestMachine::OnJobFailed(job);
      }
    }
  };
  auto m = MakeClient<Retrying>(&cb_, &machines_destroyed_);
  m->t = thread_;
  ASSERT_EQ(m->Start(thread_, [] { return E_FAIL; }), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(m->state(), State::kDone);
  EXPECT_EQ(cb_, (Callback{1, 0, S_OK}));
}

TEST_F(StateMachineTest, AfterTheLastClientACompletionReachesNobody) {
  StartBlocked(0);  // not cancellable, like a close job: completes after the client left
  sm_.Reset();      // OnLastClientRelease: forget the client, stop
  EXPECT_EQ(machines_destroyed_, 0) << "the job still owns the machine";
  Open();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(cb_.succeeded + cb_.failed, 0);
  EXPECT_EQ(machines_destroyed_, 1) << "gone with its job";
}

TEST(StateMachineCounts, ClientsAreCountedApartFromOwners) {
  Callback cb;
  std::atomic<int> destroyed{0};
  ComPtr<TestMachine> owner;
  {
    ClientRef<TestMachine> a = MakeClient<TestMachine>(&cb, &destroyed);
    owner = ComPtr<TestMachine>(a.Get());
    ClientRef<TestMachine> b(a.Get());
    EXPECT_EQ(a->client_count(), 2u);
    b.Reset();
    EXPECT_EQ(a->client_count(), 1u);
    ClientRef<TestMachine> moved = std::move(a);
    EXPECT_FALSE(a);
    EXPECT_EQ(moved->client_count(), 1u);
  }
  EXPECT_EQ(owner->client_count(), 0u);
  EXPECT_EQ(destroyed, 0) << "an owner reference keeps it alive after its clients";
  owner = nullptr;
  EXPECT_EQ(destroyed, 1);
}

}  // namespace
}  // namespace velmar
