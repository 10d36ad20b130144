#include "outing/cache/create_outing_state_machine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

#include "outing/cache/temp_file.h"
#include "outing/memory_source.h"
#include "support/settling_test.h"
#include "support/temp_dir.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using State = CStateMachine::State;

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

class CreateOutingStateMachineTest : public SettlingTest {
 protected:
  void TearDown() override {
    machine_.Reset();
    EXPECT_TRUE(Settle());
    EXPECT_EQ(callback_.refs, 0u);
  }

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

TEST_F(CreateOutingStateMachineTest, AFailedCreationGoesIdleAndSaysSoARefusedOneAnswersFalse) {
  MemoryDisk::FailCreate(path_);
  ASSERT_TRUE(machine_->Create(path_));
  ASSERT_TRUE(Settle());
  EXPECT_THAT(callback_.created, ElementsAre(false));
  EXPECT_EQ(machine_->state(), State::kIdle);
  EXPECT_EQ(machine_->job(), nullptr);
  CreateCallback callback;
  auto refused = MakeClient<Machine>(&callback, [] { return AsyncThread{nullptr}; });
  EXPECT_FALSE(refused->Create(path_)) << "a thread that refuses work";
  EXPECT_EQ(refused->state(), State::kIdle);
}

TEST_F(CreateOutingStateMachineTest, OneCreationPerMachine) {
  ASSERT_TRUE(machine_->Create(path_));
  EXPECT_FALSE(machine_->Create(path_)) << "running";
  ASSERT_TRUE(Settle());
  EXPECT_FALSE(machine_->Create(path_)) << "done";
  ASSERT_TRUE(Settle());
  EXPECT_THAT(callback_.created, ElementsAre(true));
}

TEST_F(CreateOutingStateMachineTest, CancellingReturnsToIdleAndAfterTheLastClientNobodyHears) {
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
  ASSERT_TRUE(machine_->Create(path_));
  machine_.Reset();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(callback_.created, ElementsAre(true)) << "after the last client nobody hears";
}

namespace fs = std::filesystem;

size_t EntriesIn(const fs::path& dir) {
  size_t n = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(dir)) ++n;
  return n;
}

TEST(TempFileTest, IsMadeWithThePrefixUnderItsOwnNameAndGoesWithItsOwnerOnce) {
  TempDir dir;
  fs::path made;
  {
    std::optional<CTempFile> file = CTempFile::Create(dir.path(), "kiv");
    ASSERT_TRUE(file.has_value());
    made = file->path();
    EXPECT_EQ(made.parent_path(), dir.path());
    EXPECT_EQ(made.filename().string().rfind("kiv", 0), 0u);
    EXPECT_TRUE(fs::exists(made));
    EXPECT_EQ(::write(file->fd(), "x", 1), 1) << "open for writing";
  }
  EXPECT_FALSE(fs::exists(made));

  // Two files in one folder have two names; a moved file is deleted once.
  auto a = CTempFile::Create(dir.path(), "kiv");
  auto b = CTempFile::Create(dir.path(), "kiv");
  ASSERT_TRUE(a && b);
  EXPECT_NE(a->path(), b->path());
  a->Close();
  EXPECT_FALSE(fs::exists(a->path()));
  CTempFile moved = std::move(*b);
  b.reset();
  EXPECT_TRUE(fs::exists(moved.path()));
  moved.Close();
  EXPECT_EQ(EntriesIn(dir.path()), 0u);
}

TEST(TempFileTest, FolderOfADataSetPath) {
  EXPECT_EQ(FolderOf(u"/data/run 1/outing.txt"), fs::path("/data/run 1"));
  EXPECT_EQ(FolderOf(u"outing.txt"), fs::path("."));
  EXPECT_EQ(FolderOf(u"/outing.txt"), fs::path("/"));
}

TEST(TempFileTest, CanCreateDataSetInLeavesNothingBehindAndAMissingFolderMakesNoFile) {
  TempDir dir;
  EXPECT_TRUE(CanCreateDataSetIn(Utf8ToWide((dir / "new.txt").string())));
  EXPECT_EQ(EntriesIn(dir.path()), 0u);
  EXPECT_FALSE(fs::exists(dir / "new.txt")) << "only the test file was made";
  EXPECT_FALSE(CanCreateDataSetIn(Utf8ToWide((dir / "missing" / "new.txt").string())));
  EXPECT_FALSE(CTempFile::Create(dir / "missing", "kiv").has_value());
}

}  // namespace
}  // namespace velmar::testing
