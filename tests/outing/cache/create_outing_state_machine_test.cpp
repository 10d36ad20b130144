#include "outing/cache/create_outing_state_machine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "outing/memory_source.h"
#include "platform/async/dispatcher.h"
#include "support/temp_dir.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using State = CStateMachine::State;
constexpr auto kLong = 30s;

class CreateCallback {
 public:
  void OnCreated(bool success) {
    created.push_back(success);
    heldDuringCall = refs > 0;
  }
  uint32_t AddRef() { return ++refs; }
  uint32_t Release() { return --refs; }

  std::vector<bool> created;
  bool heldDuringCall = false;
  uint32_t refs = 0;
};

using Machine = CCreateOutingStateMachine<CreateCallback, CMemoryCreateJob>;

class CreateOutingStateMachineTest : public ::testing::Test {
 protected:
  void TearDown() override {
    machine_.Reset();
    EXPECT_TRUE(Async_RunUntilSettled(d_, kLong));
    EXPECT_EQ(callback_.refs, 0u);
  }
  bool Settle() { return Async_RunUntilSettled(d_, kLong); }

  Dispatcher d_;
  Dispatcher::ScopedCurrent current_{d_};
  TempDir dir_;
  const std::u16string path_ = Utf8ToWide((dir_ / "new.mem").string());
  CreateCallback callback_;
  ClientRef<Machine> machine_ = MakeClient<Machine>(&callback_, &MemorySource::Thread);
};

TEST_F(CreateOutingStateMachineTest, ASuccessfulCreationIsToldOnTheClientThread) {
  ASSERT_TRUE(machine_->Create(path_));
  EXPECT_EQ(machine_->state(), State::kRunning);
  ASSERT_TRUE(Async_WaitIdle(MemorySource::Thread(), kLong));
  EXPECT_THAT(callback_.created, IsEmpty()) << "only the client's loop delivers";
  ASSERT_TRUE(Settle());
  EXPECT_THAT(callback_.created, ElementsAre(true));
  EXPECT_TRUE(callback_.heldDuringCall);
  EXPECT_EQ(machine_->state(), State::kDone);
  EXPECT_EQ(machine_->job(), nullptr) << "the job item is released";
  EXPECT_TRUE(std::filesystem::exists(dir_ / "new.mem"));
}

TEST_F(CreateOutingStateMachineTest, AFailedCreationGoesIdleAndSaysSo) {
  MemoryDisk::FailCreate(path_);
  ASSERT_TRUE(machine_->Create(path_));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(callback_.created, ElementsAre(false));
  EXPECT_EQ(machine_->state(), State::kIdle);
  EXPECT_EQ(machine_->job(), nullptr);
}

TEST_F(CreateOutingStateMachineTest, OneCreationPerMachine) {
  ASSERT_TRUE(machine_->Create(path_));
  EXPECT_FALSE(machine_->Create(path_)) << "running";
  ASSERT_TRUE(Settle());
  EXPECT_FALSE(machine_->Create(path_)) << "done";
  ASSERT_TRUE(Settle());
  EXPECT_THAT(callback_.created, ElementsAre(true));
}

TEST_F(CreateOutingStateMachineTest, CancellingReturnsToIdle) {
  ASSERT_TRUE(machine_->Create(path_));
  ASSERT_TRUE(Settle());
  machine_->CancelCreate();
  EXPECT_EQ(machine_->state(), State::kIdle);
  EXPECT_TRUE(machine_->Create(path_)) << "idle again";
  machine_->CancelCreate();
  EXPECT_EQ(machine_->state(), State::kIdle);
  EXPECT_EQ(machine_->job(), nullptr);
  ASSERT_TRUE(Settle());
  EXPECT_THAT(callback_.created, ElementsAre(true)) << "a cancelled creation is not told";
}

TEST_F(CreateOutingStateMachineTest, AfterTheLastClientNobodyHears) {
  ASSERT_TRUE(machine_->Create(path_));
  machine_.Reset();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(callback_.created, IsEmpty());
}

TEST_F(CreateOutingStateMachineTest, AThreadThatRefusesWorkAnswersFalse) {
  CreateCallback callback;
  auto machine = MakeClient<Machine>(&callback, [] { return AsyncThread{nullptr}; });
  EXPECT_FALSE(machine->Create(path_));
  EXPECT_EQ(machine->state(), State::kIdle);
}

}  // namespace
}  // namespace velmar::testing
