// The write handle: commit on last release, abort, refused steps, failing
// files, a second writer in this process or another, and a writer killed in
// the middle of its work.
#include "platform/store/write_handle.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <future>
#include <random>
#include <thread>

#include "platform/store/fault_vfs.h"
#include "support/kill_at_random.h"
#include "platform/store/store_factory.h"
#include "platform/store/store_test_helper.h"

namespace velmar::testing {
namespace {

using namespace std::chrono_literals;

TarnConstantRecord Constant(const char16_t* name, double value) {
  TarnConstantRecord c{};
  c.name = name;
  c.value = value;
  return c;
}

class WriteHandleTest : public NewStoreTest {
 protected:
  static KivResult AddConstant(const ComPtr<IKivTarnWriteHandle>& handle, const char16_t* name) {
    TarnConstantRecord c = Constant(name, 1);
    std::vector<uint64_t> ids;
    return handle.As<IKivTarnConstantWriter>()->AddConstants(1, &c, &ids);
  }
  static KivResult TryHandle(const ComPtr<IKivTarnStore>& store, uint32_t waitLimit,
                             ComPtr<IKivTarnWriteHandle>* out) {
    return store.As<IKivTarnWriteAccess>()->GetWriteHandle(waitLimit, IKivTarnWriteHandle::iid, out->PutVoid());
  }
  static size_t ConstantCount(const ComPtr<IKivTarnStore>& store) {
    ComPtr<IKivTarnConstantRecords> records;
    EXPECT_EQ(store.As<IKivTarnConstants>()->GetConstants(kDefaultWaitLimit, records.Put()), S_OK);
    return Hold(std::move(records)).size();
  }
};

TEST_F(WriteHandleTest, LastReleaseCommitsAndOthersSeeItOnlyThen) {
  auto other = Open(path_);
  auto handle = Handle();
  ASSERT_EQ(AddConstant(handle, u"A"), S_OK);
  // The writer's own object reads its writes at once; another reads the last commit.
  EXPECT_EQ(ConstantCount(store_), 1u);
  EXPECT_EQ(ConstantCount(other), 0u);
  handle = nullptr;
  EXPECT_EQ(ConstantCount(other), 1u);
  Reopen();
  EXPECT_EQ(ConstantCount(store_), 1u);
}

TEST_F(WriteHandleTest, AbortDropsEverythingAndEndsTheHandle) {
  auto handle = Handle();
  ASSERT_EQ(AddConstant(handle, u"A"), S_OK);
  EXPECT_EQ(handle->Abort(), S_OK);
  EXPECT_EQ(AddConstant(handle, u"B"), STG_E_REVERTED);
  KivResult status = S_OK;
  EXPECT_EQ(handle->GetStatus(&status), S_OK);
  EXPECT_EQ(status, STG_E_REVERTED);
  EXPECT_EQ(handle->Commit(), STG_E_REVERTED);
  EXPECT_EQ(handle->Abort(), STG_E_REVERTED);
  handle = nullptr;
  Reopen();
  EXPECT_EQ(ConstantCount(store_), 0u);
  // The file can be written again.
  handle = Handle();
  EXPECT_EQ(AddConstant(handle, u"C"), S_OK);
}

TEST_F(WriteHandleTest, RefusedStepLeavesEarlierStepsAndTheHandleGoesOn) {
  auto handle = Handle();
  ASSERT_EQ(AddConstant(handle, u"A"), S_OK);
  uint64_t unknown = 4711;
  EXPECT_EQ(handle.As<IKivTarnConstantWriter>()->RemoveConstants(1, &unknown), E_INVALIDARG);
  KivResult status = E_FAIL;
  EXPECT_EQ(handle->GetStatus(&status), S_OK);
  EXPECT_EQ(status, S_OK);
  ASSERT_EQ(AddConstant(handle, u"B"), S_OK);
  EXPECT_EQ(handle->Commit(), S_OK);
  Reopen();
  EXPECT_EQ(ConstantCount(store_), 2u);
}

TEST_F(WriteHandleTest, OneHandleAnObjectAndItOutlivesTheObject) {
  auto handle = Handle();
  ComPtr<IKivTarnWriteHandle> second;
  EXPECT_EQ(TryHandle(store_, kWaitForever, &second), STG_E_SHAREVIOLATION) << "refused at once";
  store_ = nullptr;
  ASSERT_EQ(AddConstant(handle, u"A"), S_OK);
  handle = nullptr;
  Reopen();
  EXPECT_EQ(ConstantCount(store_), 1u);
  EXPECT_EQ(TryHandle(store_, kDefaultWaitLimit, &second), S_OK);
}

TEST_F(WriteHandleTest, SecondWriterWaitsUpToItsLimitThenFails) {
  auto other = Open(path_);
  auto handle = Handle();
  ComPtr<IKivTarnWriteHandle> second;
  auto before = std::chrono::steady_clock::now();
  EXPECT_EQ(TryHandle(other, 150, &second), STG_E_SHAREVIOLATION);
  EXPECT_GE(std::chrono::steady_clock::now() - before, 140ms);
  EXPECT_FALSE(second);
  // Reads are not held up by the writer.
  EXPECT_EQ(ConstantCount(other), 0u);
  handle = nullptr;
  EXPECT_EQ(TryHandle(other, 0, &second), S_OK);
}

TEST_F(WriteHandleTest, WaitWithoutLimitGetsTheFileWhenTheWriterLetsGo) {
  auto handle = Handle();
  std::promise<void> waiting;
  std::promise<KivResult> got;
  std::thread writer([&] {
    ComPtr<IKivTarnStore> other;
    KivResult r = factory_->OpenFile(path_, IKivTarnStore::iid, other.PutVoid());
    waiting.set_value();
    ComPtr<IKivTarnWriteHandle> h;
    if (Succeeded(r)) r = TryHandle(other, kWaitForever, &h);
    if (Succeeded(r)) r = AddConstant(h, u"FromThread");
    h = nullptr;
    other = nullptr;
    got.set_value(r);
  });
  waiting.get_future().wait();
  ASSERT_EQ(AddConstant(handle, u"FromMain"), S_OK);
  handle = nullptr;
  EXPECT_EQ(got.get_future().get(), S_OK);
  writer.join();
  EXPECT_EQ(ConstantCount(store_), 2u);
}

// A writer in another process holds the file; this one waits for it.
TEST_F(WriteHandleTest, WriterInAnotherProcessHoldsTheFile) {
  store_ = nullptr;
  int held[2], go[2];
  ASSERT_EQ(pipe(held), 0);
  ASSERT_EQ(pipe(go), 0);
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ComPtr<IKivTarnStoreFactory> factory;
    ComPtr<IKivTarnStore> store;
    ComPtr<IKivTarnWriteHandle> handle;
    if (Failed(CreateTarnStoreFactory(&factory)) ||
        Failed(factory->OpenFile(path_, IKivTarnStore::iid, store.PutVoid())) ||
        Failed(TryHandle(store, kDefaultWaitLimit, &handle)) || Failed(AddConstant(handle, u"Child")))
      _exit(1);
    char c = 1;
    if (write(held[1], &c, 1) != 1 || read(go[0], &c, 1) != 1) _exit(2);
    handle = nullptr;  // commits
    _exit(0);
  }
  char c = 0;
  ASSERT_EQ(read(held[0], &c, 1), 1);
  Reopen();
  ComPtr<IKivTarnWriteHandle> handle;
  EXPECT_EQ(TryHandle(store_, 200, &handle), STG_E_SHAREVIOLATION);
  EXPECT_EQ(ConstantCount(store_), 0u);
  ASSERT_EQ(write(go[1], &c, 1), 1);
  EXPECT_EQ(TryHandle(store_, kWaitForever, &handle), S_OK);
  EXPECT_EQ(ConstantCount(store_), 1u);
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  for (int fd : {held[0], held[1], go[0], go[1]}) close(fd);
}

class FailingFileTest : public WriteHandleTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    ASSERT_EQ(store::CreateTarnStoreFactory({.vfs = store::FaultVfs::Get().kName}, &factory_), S_OK);
    Create();
  }
  void TearDown() override { store::FaultVfs::Get().Disarm(); }
};

TEST_F(FailingFileTest, FailedCommitKeepsNothing) {
  auto handle = Handle();
  ASSERT_EQ(AddConstant(handle, u"A"), S_OK);
  store::FaultVfs::Get().FailAfter(0);
  KivResult r = handle->Commit();
  store::FaultVfs::Get().Disarm();
  EXPECT_EQ(r, STG_E_WRITEFAULT);
  EXPECT_GT(store::FaultVfs::Get().failures(), 0);
  handle = nullptr;
  Reopen();
  EXPECT_EQ(ConstantCount(store_), 0u);
}

TEST_F(FailingFileTest, FailureInTheMiddleEndsTheHandleAndNothingIsKept) {
  uint64_t channel = AddChannel(u"Speed");
  auto handle = Handle();
  ASSERT_EQ(AddConstant(handle, u"A"), S_OK);
  // More samples than the page cache holds, so they go to the disk at once.
  std::vector<double> samples(1 << 20, 2.0);
  int64_t period = 10;
  TarnChannelData block = Periodic(0, &period, samples.data(), static_cast<int32_t>(samples.size()));
  std::vector<uint64_t> blocks;
  store::FaultVfs::Get().FailAfter(0);
  KivResult r = handle.As<IKivTarnChannelWriter>()->AddChannelData(1, &channel, &block, &blocks);
  store::FaultVfs::Get().Disarm();
  EXPECT_EQ(r, STG_E_WRITEFAULT);
  KivResult status = S_OK;
  EXPECT_EQ(handle->GetStatus(&status), S_OK);
  EXPECT_EQ(status, STG_E_WRITEFAULT);
  EXPECT_EQ(AddConstant(handle, u"B"), STG_E_WRITEFAULT);
  EXPECT_EQ(handle->Commit(), STG_E_WRITEFAULT);
  handle = nullptr;
  Reopen();
  EXPECT_EQ(ConstantCount(store_), 0u);
  EXPECT_TRUE(Data(channel).empty());
  EXPECT_EQ(Channels().size(), 1u);
}

// Each transaction adds channel "c<n>" with kSamples samples of value n, a
// constant and a lap marker; a state is consistent when the three counts
// agree and every channel holds all its samples.
constexpr int32_t kSamples = 5000;

// Writes one byte to `progress` after each commit.
void RunWriterUntilKilled(const std::u16string& path, int progress) {
  ComPtr<IKivTarnStoreFactory> factory;
  ComPtr<IKivTarnStore> store;
  if (Failed(CreateTarnStoreFactory(&factory)) || Failed(factory->OpenFile(path, IKivTarnStore::iid, store.PutVoid())))
    _exit(1);
  for (;;) {
    ComPtr<IKivTarnChannelRecords> list;
    if (Failed(store.As<IKivTarnChannels>()->GetChannelList(kWaitForever, list.Put()))) _exit(2);
    uint32_t n = 0;
    const TarnChannelDescription* records = nullptr;
    (void)list->GetRecords(&n, &records);
    ComPtr<IKivTarnWriteHandle> handle;
    if (Failed(store.As<IKivTarnWriteAccess>()->GetWriteHandle(kWaitForever, IKivTarnWriteHandle::iid,
                                                               handle.PutVoid())))
      _exit(3);
    std::u16string name = u"c" + W(std::to_string(n));
    TarnChannelDescription d = Description(name.c_str(), 7);
    std::vector<uint64_t> ids, blocks;
    std::vector<double> values(kSamples, static_cast<double>(n));
    int64_t period = 1000;
    TarnChannelData block = Periodic(0, &period, values.data(), kSamples);
    TarnConstantRecord c = Constant(name.c_str(), n);
    TarnLapMarker m{};
    m.baseTime = n;
    m.crossing = 1;
    auto channels = handle.As<IKivTarnChannelWriter>();
    if (Failed(channels->AddChannels(1, &d, &ids)) || Failed(channels->AddChannelData(1, ids.data(), &block, &blocks)) ||
        Failed(handle.As<IKivTarnConstantWriter>()->AddConstants(1, &c, &ids)) ||
        Failed(handle.As<IKivTarnLapMarkerWriter>()->AddLapMarkers(1, &m, &ids)))
      _exit(4);
    handle = nullptr;
    char done = 1;
    if (write(progress, &done, 1) != 1) _exit(5);
  }
}

TEST_F(WriteHandleTest, WriterKilledAtRandomLeavesACommittedState) {
  store_ = nullptr;
  std::mt19937 random(20240611);
  size_t committed = 0;
  for (int iteration = 0; iteration < 20; ++iteration) {
    // Let the writer commit 0 to 2 times, however fast it runs, then kill it
    // at a random moment of its next write.
    unsigned commits = 0;
    ASSERT_TRUE(KillWriterAtRandom(random, 2, std::chrono::microseconds(40'000),
                                   [&](int progress) { RunWriterUntilKilled(path_, progress); }, &commits));

    Reopen();
    ASSERT_TRUE(store_);
    auto channels = Channels();
    EXPECT_EQ(Constants().size(), channels.size()) << iteration;
    EXPECT_EQ(LapMarkers().size(), channels.size()) << iteration;
    EXPECT_GE(channels.size(), committed) << "a commit was lost";
    for (size_t i = 0; i < channels.size(); ++i) {
      EXPECT_EQ(Str(channels[i].tagName), u"c" + W(std::to_string(i)));
      auto data = Data(channels[i].id);
      ASSERT_EQ(data.size(), 1u) << "channel " << i << " torn";
      ASSERT_EQ(data[0].count, kSamples);
      const double* v = static_cast<const double*>(data[0].samples);
      EXPECT_EQ(v[0], static_cast<double>(i));
      EXPECT_EQ(v[kSamples - 1], static_cast<double>(i));
    }
    committed = channels.size();
    store_ = nullptr;
  }
  RecordProperty("commits", static_cast<int>(committed));
  EXPECT_GT(committed, 0u) << "no writer got as far as a commit";
}

}  // namespace
}  // namespace velmar::testing
