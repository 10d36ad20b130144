#include "outing/cache/load_state_machine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "outing/memory_source.h"
#include "support/settling_test.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using State = CStateMachine::State;

// The cache side of the machine: logs its calls.
class LoadCallback {
 public:
  void OnLoaded(CMemoryLoadJob& job) { calls.push_back("loaded:" + std::to_string(job.status())); }
  void OnChannelsReady() { calls.push_back("channels"); }
  uint32_t AddRef() { return ++refs; }
  uint32_t Release() { return --refs; }

  std::vector<std::string> calls;
  uint32_t refs = 0;
};

using Machine = COutingLoadStateMachine<LoadCallback, CMemoryLoadJob>;

class LoadStateMachineTest : public SettlingTest {
 protected:
  void TearDown() override {
    MemoryDisk::OpenGate(path_);
    machine_.Reset();
    EXPECT_TRUE(Settle());
    EXPECT_EQ(callback_.refs, 0u) << "the callback is held only across a call";
  }
  // The last client goes while the job runs: nobody hears of the load, and
  // the job item goes with the machine.
  void LoseTheLastClientWhileLoading() {
    PutData(S_OK);
    MemoryDisk::CloseGate(path_);
    (void)machine_->EnsureLoaded();
    ASSERT_TRUE(MemoryDisk::WaitForLoadAtGate(path_, kLong));
    const int jobsBefore = CMemoryLoadJob::live();
    machine_.Reset();
    MemoryDisk::OpenGate(path_);
    ASSERT_TRUE(Settle());
    EXPECT_THAT(callback_.calls, IsEmpty());
    EXPECT_EQ(CMemoryLoadJob::live(), jobsBefore - 1);
  }
  void PutData(KivResult result) { MemoryDisk::Put(path_, MemoryDataSet{result, true, {u"Speed"}}); }
  void LoadOnce(KivResult result = S_OK) {
    PutData(result);
    (void)machine_->EnsureLoaded();
    ASSERT_TRUE(Settle());
  }

  const std::u16string path_ = UniqueMemoryPath();
  LoadCallback callback_;
  ClientRef<Machine> machine_ = MakeClient<Machine>(&callback_, path_, &MemorySource::Thread);
};

TEST_F(LoadStateMachineTest, EnsureLoadedStartsTheLoadAndAnswersTrueOnceDone) {
  PutData(S_OK);
  EXPECT_EQ(machine_->state(), State::kIdle);
  EXPECT_FALSE(machine_->EnsureLoaded());
  EXPECT_EQ(machine_->state(), State::kRunning);
  EXPECT_EQ(machine_->loaded(), nullptr);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(machine_->state(), State::kDone);
  EXPECT_TRUE(machine_->EnsureLoaded());
  EXPECT_EQ(machine_->loaded(), machine_->load_job());
  EXPECT_THAT(machine_->loaded()->data().channels, ElementsAre(u"Speed"));
  EXPECT_THAT(callback_.calls, ElementsAre("loaded:0", "channels"));
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 1);
}

TEST_F(LoadStateMachineTest, EnsureLoadedWhileLoadingQueuesNothingMore) {
  PutData(S_OK);
  MemoryDisk::CloseGate(path_);
  EXPECT_FALSE(machine_->EnsureLoaded());
  ASSERT_TRUE(MemoryDisk::WaitForLoadAtGate(path_, kLong));
  EXPECT_FALSE(machine_->EnsureLoaded());
  EXPECT_FALSE(machine_->EnsureLoaded());
  EXPECT_EQ(machine_->Start(), E_FAIL) << "only from Idle";
  MemoryDisk::OpenGate(path_);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 1);
  EXPECT_THAT(callback_.calls, ElementsAre("loaded:0", "channels"));
}

TEST_F(LoadStateMachineTest, ResultOneLoadsWithoutChannelsAndAnyOtherSuccessWithThem) {
  LoadOnce(S_FALSE);
  EXPECT_EQ(machine_->state(), State::kDone);
  EXPECT_THAT(callback_.calls, ElementsAre("loaded:1"));
  machine_->Stop();
  callback_.calls.clear();
  LoadOnce(2);
  EXPECT_THAT(callback_.calls, ElementsAre("loaded:2", "channels"));
}

TEST_F(LoadStateMachineTest, StopWhileLoadingCancelsAndNobodyHears) {
  PutData(S_OK);
  MemoryDisk::CloseGate(path_);
  (void)machine_->EnsureLoaded();
  ASSERT_TRUE(MemoryDisk::WaitForLoadAtGate(path_, kLong));
  machine_->Stop();
  EXPECT_EQ(machine_->state(), State::kIdle);
  MemoryDisk::OpenGate(path_);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(machine_->state(), State::kIdle);
  EXPECT_THAT(callback_.calls, IsEmpty()) << "a cancelled job's data is never read";
}

TEST_F(LoadStateMachineTest, StopWhenLoadedGoesIdleAndTheNextDemandLoadsAgain) {
  LoadOnce();
  machine_->Stop();
  EXPECT_EQ(machine_->state(), State::kIdle);
  EXPECT_EQ(machine_->loaded(), nullptr);
  machine_->Stop();
  EXPECT_EQ(machine_->state(), State::kIdle) << "Idle stays Idle";
  (void)machine_->EnsureLoaded();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 2);
}

TEST_F(LoadStateMachineTest, ReleasingAHoldWithoutAStopChangesNothing) {
  LoadOnce();
  machine_->SetHold();
  machine_->ReleaseHold();
  EXPECT_EQ(machine_->state(), State::kDone);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 1);
}

TEST_F(LoadStateMachineTest, StartWhileHeldAnswersByStateAnEmptyPathNeverLoads) {
  PutData(S_OK);
  machine_->SetHold();
  EXPECT_EQ(machine_->Start(), E_FAIL) << "held and idle";
  EXPECT_FALSE(machine_->EnsureLoaded());
  EXPECT_EQ(machine_->state(), State::kIdle);
  machine_->ReleaseHold();
  (void)machine_->EnsureLoaded();
  machine_->SetHold();
  EXPECT_EQ(machine_->Start(), S_OK) << "held and loading";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(machine_->Start(), S_OK) << "held and loaded";
  EXPECT_EQ(MemoryDisk::LoadRuns(path_), 1);
  LoadCallback callback;
  auto machine = MakeClient<Machine>(&callback, u"", &MemorySource::Thread);
  EXPECT_EQ(machine->Start(), E_FAIL);
  EXPECT_FALSE(machine->EnsureLoaded());
  EXPECT_EQ(machine->state(), State::kIdle);
}

TEST_F(LoadStateMachineTest, ACompletionAfterTheLastClientReachesNobody) {
  MemoryDisk::RefuseCancel(path_);  // so the completion does come back
  LoseTheLastClientWhileLoading();
}

TEST_F(LoadStateMachineTest, TheLastClientCancelsALoadInFlightAndFreesTheJob) { LoseTheLastClientWhileLoading(); }

}  // namespace
}  // namespace velmar::testing
