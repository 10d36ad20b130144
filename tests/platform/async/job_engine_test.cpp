#include "platform/async/job_engine.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <future>
#include <mutex>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/async/dispatcher.h"

namespace velmar {
namespace {

using namespace std::chrono_literals;
constexpr auto kLong = 30s;  // only reached when something is broken

// Threads are process-wide: each test takes names of its own.
std::u16string UniqueName(std::u16string_view base) {
  static std::atomic<int> n{0};
  std::string s = std::to_string(++n);
  return std::u16string(base) + u"_" + std::u16string(s.begin(), s.end());
}

// A latch a job can wait on, with a time limit so a broken test fails, not hangs.
class Gate {
 public:
  void Open() {
    std::lock_guard lock(mu_);
    open_ = true;
    cv_.notify_all();
  }
  bool Wait() {
    std::unique_lock lock(mu_);
    return cv_.wait_for(lock, kLong, [&] { return open_; });
  }

 private:
  std::mutex mu_;
  std::condition_variable cv_;
  bool open_ = false;
};

// An engine job that records what happened to it. Owned by the test; the
// count shows the engine's references (0 when it has let go).
class TestJob : public IAsyncJob {
 public:
  explicit TestJob(int id = 0, std::function<void(TestJob&)> body = {}) : id(id), body(std::move(body)) {}

  int CancelJob() override { return cancellable; }
  void ResetStatus() override { status = S_OK; }
  void Completed() override {
    completion_thread = std::this_thread::get_id();
    completed_status = status.load();
    ++completions;
    if (on_completed) on_completed(*this);
  }
  bool SupportsAggregation() override { return false; }
  void Aggregate(IAsyncJob*) override {}
  void WTCleanupAfterCancel() override {
    cleanup_after_run = runs.load() > 0;
    ++cleanups;
  }
  void WTRun() override {
    run_thread = std::this_thread::get_id();
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    run_thread_name = name;
    ++runs;
    if (body) body(*this);
  }
  uint32_t AddRef() override { return ++refs; }
  uint32_t Release() override { return --refs; }
  void SetStatus(KivResult s) override { status = s; }
  // What became of the job: runs, completions, clean-ups, references the engine still holds.
  std::array<int, 4> Fate() const { return {runs, completions, cleanups, static_cast<int>(refs)}; }

  const int id;
  std::function<void(TestJob&)> body;
  std::function<void(TestJob&)> on_completed;  // client thread
  int cancellable = 1;
  std::atomic<uint32_t> refs{0};
  std::atomic<int> runs{0}, cleanups{0}, completions{0};
  std::atomic<KivResult> status{S_OK};
  KivResult completed_status = S_OK;
  bool cleanup_after_run = false;
  std::thread::id run_thread, completion_thread;
  std::string run_thread_name;
  std::promise<void> started;  // for bodies that report they run
};

class JobEngineTest : public ::testing::Test {
 protected:
  void TearDown() override {
    gate_.Open();  // a test that failed half-way must not leave a worker blocked
    Async_SetFaultHook({});
    EXPECT_TRUE(Async_RunUntilSettled(d_, kLong));
  }
  AsyncThread NewThread(std::u16string_view base = u"Test") { return Async_GetThread(UniqueName(base)); }
  // Queues a job that holds the thread until gate_ opens; gives the blocker.
  std::unique_ptr<TestJob> Block(AsyncThread t) {
    auto blocker = std::make_unique<TestJob>(-1, [this](TestJob& j) {
      j.started.set_value();
      gate_.Wait();
    });
    EXPECT_EQ(Async_QueueNewJob(t, blocker.get()), S_OK);
    return blocker;
  }
  // The same, returning once the blocker runs.
  std::unique_ptr<TestJob> BlockRunning(AsyncThread t) {
    auto blocker = Block(t);
    EXPECT_EQ(blocker->started.get_future().wait_for(kLong), std::future_status::ready);
    return blocker;
  }

  Gate gate_;
  Dispatcher d_;
  Dispatcher::ScopedCurrent current_{d_};
};

TEST_F(JobEngineTest, SameNameGivesSameThread) {
  std::u16string name = UniqueName(u"Same");
  AsyncThread a = Async_GetThread(name);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(Async_GetThread(name), a);
  EXPECT_NE(Async_GetThread(name + u"x"), a);
}

TEST_F(JobEngineTest, RunsOnTheWorkerAndCompletesOnTheClientOnlyWhenTheLoopRuns) {
  AsyncThread t = Async_GetThread(u"Worker_with_a_long_name");
  TestJob job;
  ASSERT_EQ(Async_QueueNewJob(t, &job), S_OK);
  EXPECT_EQ(job.refs, 1u) << "queueing takes a reference";
  ASSERT_TRUE(Async_WaitIdle(t, kLong));
  EXPECT_EQ(job.runs, 1);
  EXPECT_NE(job.run_thread, std::this_thread::get_id());
  EXPECT_EQ(job.run_thread_name, "Worker_with_a_l") << "Linux keeps 15 bytes of a name";
  EXPECT_EQ(job.completions, 0) << "Completed must wait for the client's loop";
  EXPECT_TRUE(WaitReadable(d_.Fd(), 0ms));
  d_.RunUntilIdle();
  EXPECT_EQ(job.completions, 1);
  EXPECT_EQ(job.completion_thread, std::this_thread::get_id());
  EXPECT_EQ(job.refs, 0u) << "released after Completed";
}

TEST_F(JobEngineTest, EachThreadRunsAndCompletesInQueueOrder) {
  AsyncThread t = NewThread();
  std::mutex mu;
  std::vector<int> ran, completed;
  std::vector<std::unique_ptr<TestJob>> jobs;
  for (int i = 0; i < 20; ++i) {
    jobs.push_back(std::make_unique<TestJob>(i, [&](TestJob& j) {
      std::lock_guard lock(mu);
      ran.push_back(j.id);
    }));
    jobs.back()->on_completed = [&](TestJob& j) { completed.push_back(j.id); };
    ASSERT_EQ(Async_QueueNewJob(t, jobs.back().get()), S_OK);
  }
  ASSERT_TRUE(Async_RunUntilSettled(d_, kLong));
  std::vector<int> expected(20);
  std::iota(expected.begin(), expected.end(), 0);
  std::lock_guard lock(mu);
  EXPECT_EQ(ran, expected);
  EXPECT_EQ(completed, expected);
}

TEST_F(JobEngineTest, TwoNamedThreadsRunInParallel) {
  // Each job waits for the other to start: only parallel threads finish.
  std::promise<void> a_started, b_started;
  std::shared_future<void> a_seen = a_started.get_future().share();
  std::shared_future<void> b_seen = b_started.get_future().share();
  std::atomic<bool> a_saw_b{false}, b_saw_a{false};
  TestJob a(1, [&](TestJob&) {
    a_started.set_value();
    a_saw_b = b_seen.wait_for(kLong) == std::future_status::ready;
  });
  TestJob b(2, [&](TestJob&) {
    b_started.set_value();
    b_saw_a = a_seen.wait_for(kLong) == std::future_status::ready;
  });
  ASSERT_EQ(Async_QueueNewJob(NewThread(u"A"), &a), S_OK);
  ASSERT_EQ(Async_QueueNewJob(NewThread(u"B"), &b), S_OK);
  ASSERT_TRUE(Async_RunUntilSettled(d_, kLong * 2));
  EXPECT_TRUE(a_saw_b);
  EXPECT_TRUE(b_saw_a);
  EXPECT_NE(a.run_thread, b.run_thread);
}

// Waiting, running, or finished but not yet delivered: a cancelled job is
// cleaned up and never completes.
TEST_F(JobEngineTest, ACancelledJobIsCleanedUpWithoutCompletionInEveryState) {
  AsyncThread t = NewThread();
  auto running = BlockRunning(t);
  TestJob waiting(1), finished(2);
  ASSERT_EQ(Async_QueueNewJob(t, &waiting), S_OK);
  EXPECT_EQ(Async_CancelJob(t, &waiting), S_OK);
  EXPECT_EQ(Async_CancelJob(t, running.get()), S_OK);
  gate_.Open();
  ASSERT_EQ(Async_QueueNewJob(t, &finished), S_OK);
  ASSERT_TRUE(Async_WaitIdle(t, kLong));
  EXPECT_EQ(Async_CancelJob(t, &finished), S_OK);
  ASSERT_TRUE(Async_RunUntilSettled(d_, kLong));
  EXPECT_EQ(waiting.Fate(), (std::array{0, 0, 1, 0}));
  EXPECT_EQ(running->Fate(), (std::array{1, 0, 1, 0}));
  EXPECT_TRUE(running->cleanup_after_run);
  EXPECT_EQ(finished.Fate(), (std::array{1, 0, 1, 0}));
}

TEST_F(JobEngineTest, JobThatRefusesCancellingCompletes) {
  AsyncThread t = NewThread();
  TestJob job;
  job.cancellable = 0;
  ASSERT_EQ(Async_QueueNewJob(t, &job), S_OK);
  EXPECT_EQ(Async_CancelJob(t, &job), S_FALSE);
  ASSERT_TRUE(Async_RunUntilSettled(d_, kLong));
  EXPECT_EQ(job.Fate(), (std::array{1, 1, 0, 0}));
  TestJob stranger;
  EXPECT_EQ(Async_CancelJob(t, &stranger), S_FALSE) << "a job the thread never had";
}

TEST_F(JobEngineTest, DroppedJobsComeBackWithTheDropCodeWithoutRunning) {
  AsyncThread t = NewThread();
  ASSERT_EQ(Async_DropNextJobs(t, 1), S_OK);
  TestJob dropped(1), kept(2);
  ASSERT_EQ(Async_QueueNewJob(t, &dropped), S_OK);
  ASSERT_EQ(Async_QueueNewJob(t, &kept), S_OK);
  ASSERT_TRUE(Async_RunUntilSettled(d_, kLong));
  EXPECT_EQ(dropped.Fate(), (std::array{0, 1, 0, 0}));
  EXPECT_EQ(dropped.completed_status, E_JOB_DROPPED);
  EXPECT_EQ(kept.Fate(), (std::array{1, 1, 0, 0}));
  EXPECT_EQ(kept.completed_status, S_OK);
}

TEST_F(JobEngineTest, RequeueAfterADropRunsTheSameJob) {
  AsyncThread t = NewThread();
  ASSERT_EQ(Async_DropNextJobs(t, 2), S_OK);
  TestJob job(0, [](TestJob& j) { j.status = S_FALSE; });
  job.on_completed = [t](TestJob& j) {
    if (j.status == E_JOB_DROPPED) {
      EXPECT_EQ(Async_QueueNewJob(t, &j), S_OK);
    }
  };
  ASSERT_EQ(Async_QueueNewJob(t, &job), S_OK);
  ASSERT_TRUE(Async_RunUntilSettled(d_, kLong));
  EXPECT_EQ(job.Fate(), (std::array{1, 3, 0, 0}));
  EXPECT_EQ(job.completed_status, S_FALSE) << "the status is reset and set again by the run";
}

// A job the fault hook fails never runs; one that throws fails; the worker
// goes on with the next either way.
TEST_F(JobEngineTest, FailedJobsCompleteWithTheirCodeAndTheWorkerGoesOn) {
  AsyncThread t = NewThread();
  TestJob victim(1), bad(2, [](TestJob&) { throw std::runtime_error("disk on fire"); }), next(3);
  Async_SetFaultHook([&](AsyncThread th, IAsyncJob* j) { return th == t && j == &victim ? E_ACCESSDENIED : S_OK; });
  ::testing::internal::CaptureStderr();
  for (TestJob* job : {&victim, &bad, &next}) ASSERT_EQ(Async_QueueNewJob(t, job), S_OK);
  ASSERT_TRUE(Async_RunUntilSettled(d_, kLong));
  std::string err = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(victim.Fate(), (std::array{0, 1, 0, 0}));
  EXPECT_EQ(victim.completed_status, E_ACCESSDENIED);
  EXPECT_EQ(bad.Fate(), (std::array{1, 1, 0, 0}));
  EXPECT_EQ(bad.completed_status, E_FAIL);
  EXPECT_NE(err.find("disk on fire"), std::string::npos) << err;
  EXPECT_EQ(next.Fate(), (std::array{1, 1, 0, 0}));
}

TEST_F(JobEngineTest, StopThreadFinishesTheRunningJobAndDropsTheWaitingOnes) {
  std::u16string name = UniqueName(u"Private");
  AsyncThread t = Async_GetThread(name);
  auto running = BlockRunning(t);
  TestJob w1(1), w2(2);
  ASSERT_EQ(Async_QueueNewJob(t, &w1), S_OK);
  ASSERT_EQ(Async_QueueNewJob(t, &w2), S_OK);
  std::thread stopper([&] { EXPECT_EQ(Async_StopThread(t), S_OK); });
  // Waiting jobs are dropped before the stopper joins the worker.
  auto deadline = std::chrono::steady_clock::now() + kLong;
  while (w2.status != E_JOB_DROPPED && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  gate_.Open();
  stopper.join();  // returns once the worker has ended
  EXPECT_EQ(running->runs, 1);
  EXPECT_EQ(w1.runs + w2.runs + running->completions, 0);
  d_.RunUntilIdle();
  EXPECT_EQ(running->Fate(), (std::array{1, 1, 0, 0}));
  EXPECT_EQ(running->completed_status, S_OK);
  for (TestJob* w : {&w1, &w2}) EXPECT_EQ(w->completed_status, E_JOB_DROPPED);
  EXPECT_EQ(w1.refs + w2.refs, 0u);

  TestJob late;
  EXPECT_EQ(Async_QueueNewJob(t, &late), E_UNEXPECTED) << "a stopped thread refuses work";
  EXPECT_EQ(late.refs, 0u);
  EXPECT_TRUE(Async_WaitIdle(t, 0ms)) << "the old handle stays usable";
  AsyncThread again = Async_GetThread(name);
  EXPECT_NE(again, t) << "the name is free again";
  ASSERT_EQ(Async_QueueNewJob(again, &late), S_OK);
  ASSERT_TRUE(Async_RunUntilSettled(d_, kLong));
  EXPECT_EQ(late.completions, 1);
  EXPECT_EQ(Async_StopThread(again), S_OK);
}

TEST_F(JobEngineTest, CancelAfterStopCleansUpADroppedJobNotYetDelivered) {
  AsyncThread t = NewThread();
  auto running = BlockRunning(t);
  TestJob waiting;
  ASSERT_EQ(Async_QueueNewJob(t, &waiting), S_OK);
  gate_.Open();
  ASSERT_EQ(Async_StopThread(t), S_OK);
  EXPECT_EQ(Async_CancelJob(t, &waiting), S_OK);
  EXPECT_EQ(waiting.cleanups, 1) << "no worker left: cleaned up by the caller";
  d_.RunUntilIdle();
  EXPECT_EQ(waiting.completions, 0);  // whether it ran before the stop is up to the worker
  EXPECT_EQ(waiting.refs, 0u);
}

TEST_F(JobEngineTest, WorkQueuedFromAWorkerCompletesOnTheOriginalClient) {
  AsyncThread first = NewThread(u"First"), second = NewThread(u"Second");
  TestJob follow(2);
  TestJob lead(1, [&](TestJob&) { EXPECT_EQ(Async_QueueNewJob(second, &follow), S_OK); });
  ASSERT_EQ(Async_QueueNewJob(first, &lead), S_OK);
  ASSERT_TRUE(Async_RunUntilSettled(d_, kLong));
  EXPECT_EQ(follow.Fate(), (std::array{1, 1, 0, 0}));
  EXPECT_EQ(follow.completion_thread, std::this_thread::get_id());
}

TEST_F(JobEngineTest, QueueCompletedJobDeliversCompletedAloneAndLater) {
  AsyncThread t = NewThread();
  TestJob job;
  ASSERT_EQ(Async_QueueCompletedJob(t, &job), S_OK);
  EXPECT_EQ(job.completions, 0) << "never inside the call";
  d_.RunUntilIdle();
  EXPECT_EQ(job.Fate(), (std::array{0, 1, 0, 0}));

  // Handed over from a worker, it still reaches the client that queued the work.
  TestJob notify(2);
  TestJob scanner(1, [&](TestJob&) { EXPECT_EQ(Async_QueueCompletedJob(t, &notify), S_OK); });
  ASSERT_EQ(Async_QueueNewJob(NewThread(u"Scan"), &scanner), S_OK);
  ASSERT_TRUE(Async_RunUntilSettled(d_, kLong));
  EXPECT_EQ(notify.completions, 1);
  EXPECT_EQ(notify.completion_thread, std::this_thread::get_id());
}

TEST_F(JobEngineTest, BusyMaskedThreadsAreLeftOutOfTheGlobalIdleWait) {
  AsyncThread watch = NewThread(u"Watch");
  ASSERT_EQ(Async_SetThreadBusyMask(watch, 1), S_OK);
  auto standing = BlockRunning(watch);
  EXPECT_TRUE(Async_WaitAllIdle(kLong));
  EXPECT_FALSE(Async_WaitIdle(watch, 1ms)) << "the watch itself is busy";
  EXPECT_EQ(Async_CancelJob(watch, standing.get()), S_OK);
  gate_.Open();
  ASSERT_EQ(Async_StopThread(watch), S_OK);
  EXPECT_EQ(standing->Fate(), (std::array{1, 0, 1, 0}));
}

TEST_F(JobEngineTest, CompletionsForAVanishedClientAreGivenUp) {
  AsyncThread t = NewThread();
  TestJob job;
  {
    Dispatcher gone;
    Dispatcher::ScopedCurrent scope(gone);
    ASSERT_EQ(Async_QueueNewJob(t, &job), S_OK);
    ASSERT_TRUE(Async_WaitIdle(t, kLong));
  }
  EXPECT_EQ(job.Fate(), (std::array{1, 0, 0, 0})) << "the engine's reference must not leak";
  EXPECT_EQ(Async_CancelJob(t, &job), S_FALSE) << "nothing left in flight";
}

TEST_F(JobEngineTest, WorkHandedOutAsItsThreadEndsIsGivenUp) {
  AsyncThread t = NewThread();
  TestJob job;
  std::thread client([&] {
    // Made before the thread's dispatcher, so destroyed after it.
    struct Late {
      AsyncThread t;
      TestJob* job;
      ~Late() { EXPECT_EQ(Async_QueueNewJob(t, job), S_OK); }
    };
    thread_local Late late{t, &job};
    (void)Dispatcher::ForThisThread();
  });
  client.join();
  ASSERT_TRUE(Async_WaitIdle(t, kLong));
  EXPECT_EQ(job.Fate(), (std::array{1, 0, 0, 0})) << "its client is gone";
}

TEST_F(JobEngineTest, ForgettingThreadsKeepsHandlesValid) {
  AsyncThread t = NewThread();
  uint64_t before = Async_ThreadGeneration();
  Async_ForgetThreads();
  EXPECT_EQ(Async_ThreadGeneration(), before + 1);
  TestJob job;
  ASSERT_EQ(Async_QueueNewJob(t, &job), S_OK);
  ASSERT_TRUE(Async_RunUntilSettled(d_, kLong));
  EXPECT_EQ(job.completions, 1);
}

TEST_F(JobEngineTest, BadArgumentsAndWaitsOnTheWorkerItselfAreRefused) {
  TestJob job;
  AsyncThread t = NewThread();
  EXPECT_EQ(Async_QueueNewJob(nullptr, &job), E_INVALIDARG);
  EXPECT_EQ(Async_QueueNewJob(t, nullptr), E_POINTER);
  EXPECT_EQ(Async_CancelJob(nullptr, &job), E_INVALIDARG);
  EXPECT_EQ(Async_CancelJob(t, nullptr), E_POINTER);
  EXPECT_EQ(Async_QueueCompletedJob(t, nullptr), E_POINTER);
  EXPECT_EQ(Async_QueueCompletedJob(nullptr, &job), E_INVALIDARG);
  EXPECT_EQ(Async_SetThreadBusyMask(nullptr, 1), E_INVALIDARG);
  EXPECT_EQ(Async_StopThread(nullptr), E_INVALIDARG);
  EXPECT_EQ(Async_DropNextJobs(nullptr, 1), E_INVALIDARG);
  EXPECT_FALSE(Async_WaitIdle(nullptr, 0ms));
  EXPECT_EQ(job.refs, 0u);
  // Waiting on the worker's own thread refuses instead of deadlocking.
  std::atomic<bool> answer{true};
  TestJob waiter(0, [&](TestJob&) { answer = Async_WaitIdle(t, kLong); });
  ASSERT_EQ(Async_QueueNewJob(t, &waiter), S_OK);
  ASSERT_TRUE(Async_RunUntilSettled(d_, kLong));
  EXPECT_FALSE(answer);
}

}  // namespace
}  // namespace velmar
