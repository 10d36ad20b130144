#include "sources/tarn/tarn_read_state_machine.h"

#include <gtest/gtest.h>

#include <atomic>

#include "jobs/job_thread.h"
#include "tarn_test_helper.h"

namespace velmar::testing {
namespace {

using State = CStateMachine::State;

// A read that counts its runs and gives what it is told.
class CountingJob final : public CJobItemEx {
 public:
  CountingJob(CStateMachineEx* owner, std::atomic<int>* runs, std::atomic<KivResult>* result)
      : CJobItemEx(owner), runs_(runs), result_(result) {}
  int serial = 0;

 protected:
  KivResult Run() override {
    ++*runs_;
    return result_->load();
  }

 private:
  std::atomic<int>* runs_;
  std::atomic<KivResult>* result_;
};

using Machine = CTarnReadStateMachine<CountingJob>;

class TarnReadStateMachineTest : public TarnTest, public ITarnReadClient<CountingJob> {
 protected:
  void OnReadDone(Machine& machine, KivResult status) override {
    const bool succeeded = Succeeded(status);
    heard.push_back(succeeded);
    if (!succeeded) {
      EXPECT_EQ(status, result.load());
    }
    EXPECT_EQ(machine.state(), succeeded ? State::kDone : State::kIdle) << "the state is the new one";
  }

  Machine::MakeJob Maker() {
    return [this](CStateMachineEx* owner, ComPtr<COpenFileJobItem> connection) {
      EXPECT_FALSE(connection) << "no file was opened";
      ++made;
      auto job = MakeKiv<CountingJob>(owner, &runs, &result);
      job->serial = made;
      return job;
    };
  }

  std::atomic<int> runs{0};
  std::atomic<KivResult> result{S_OK};
  int made = 0;
  std::vector<bool> heard;
  ClientRef<CFileStateMachine> file_ = MakeClient<CFileStateMachine>();
  ClientRef<Machine> machine_ = MakeClient<Machine>(this, file_.Get(), Maker());
};

TEST_F(TarnReadStateMachineTest, StartReadsOnceAndKeepsTheJobWithTheDataUntilADrop) {
  EXPECT_FALSE(machine_->requested());
  ASSERT_EQ(machine_->Start(), S_OK);
  ASSERT_EQ(machine_->Start(), S_OK);
  EXPECT_TRUE(machine_->requested());
  EXPECT_EQ(machine_->state(), State::kRunning);
  EXPECT_EQ(machine_->results(), nullptr) << "nothing to read while running";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(heard, std::vector<bool>{true});
  ASSERT_NE(machine_->results(), nullptr);
  ASSERT_EQ(machine_->Start(), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(runs, 1) << "done data is not read again";
  machine_->Drop();
  EXPECT_EQ(machine_->state(), State::kIdle);
  EXPECT_EQ(machine_->results(), nullptr) << "a drop lets go of the data";
}

TEST_F(TarnReadStateMachineTest, AFailedReadGoesBackToIdleAndTheNextStartTriesAgain) {
  result = E_FAIL;
  ASSERT_EQ(machine_->Start(), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(heard, std::vector<bool>{false});
  EXPECT_EQ(machine_->results(), nullptr);
  result = S_OK;
  ASSERT_EQ(machine_->Start(), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(heard, (std::vector<bool>{false, true}));
  EXPECT_EQ(made, 2);
}

TEST_F(TarnReadStateMachineTest, ReloadRereadsOnlyWhatWasAskedFor) {
  machine_->Reload();
  ASSERT_TRUE(Settle());
  EXPECT_EQ(made, 0) << "never asked for: nothing to reload";
  ASSERT_EQ(machine_->Start(), S_OK);
  ASSERT_TRUE(Settle());
  machine_->Reload();
  EXPECT_EQ(machine_->state(), State::kRunning);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(made, 2);
  EXPECT_EQ(machine_->results()->serial, 2) << "the new job holds the data";
}

TEST_F(TarnReadStateMachineTest, AReadEndingAfterTheLastClientWentReachesNobody) {
  {
    StoreThreadGate gate;
    ASSERT_EQ(machine_->Start(), S_OK);
    machine_.Reset();
  }
  ASSERT_TRUE(Settle());
  EXPECT_TRUE(heard.empty());
}

}  // namespace
}  // namespace velmar::testing
