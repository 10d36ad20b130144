#include "sources/text/ascii_transactions.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <unistd.h>

#include "ascii_outing_fixture.h"
#include "export/fake_channel.h"
#include "faulty_text_file_ops.h"
#include "jobs/job_thread.h"
#include "sources/text/ascii_channel_write.h"
#include "sources/text/ascii_event_write.h"
#include "sources/text/ascii_file_handles.h"
#include "support/kill_at_random.h"
#include "support/temp_dir.h"
#include "text_test_util.h"
#include "velmar/text.h"
#include "velmar/transaction.h"
#include "writeback/write_back_step.h"

namespace velmar::testing {
namespace {

using Heard = std::vector<std::string>;

// A step that writes the driver's name through the commit's held file.
struct DriverJob final : CWriteBackJobItem {
  DriverJob(CStateMachineEx* owner, ComPtr<CAsciiOutingTxnJobItem> access, std::u16string driver)
      : CWriteBackJobItem(owner), access_(std::move(access)), driver_(std::move(driver)) {}
  KivResult Run() override {
    const InformationProperty property{u"Driver name", Variant::Text(driver_)};
    TextStatus status = access_->handles().WriteInformation({&property, 1});
    return status.ok() ? S_OK : Fail(u"Failed to write outing information");
  }
  ComPtr<CAsciiOutingTxnJobItem> access_;
  std::u16string driver_;
};

struct DriverStep final : CWriteBackStateMachineBase {
  explicit DriverStep(std::u16string driver) : CWriteBackStateMachineBase(nullptr), driver_(std::move(driver)) {}
  KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override {
    *job = MakeKiv<DriverJob>(this, ComPtr<CAsciiOutingTxnJobItem>(static_cast<CAsciiOutingTxnJobItem*>(writeAccess)),
                              driver_);
    return S_OK;
  }
  AsyncThread GetJobThread() override { return AsciiThread(); }
  std::u16string driver_;
};

class AsciiTransactionsTest : public AsciiOutingFixture {
 protected:
  KivResult Queue(const std::u16string& driver) { return AddStep(MakeKiv<DriverStep>(driver)); }
  std::string Driver() { return ReadWhole(TextFilePath(PathOf("a.txt"))); }
};

TEST_F(AsciiTransactionsTest, ACommitRewritesTheFileInCallOrderAndTheOwnerHearsIt) {
  OpenLoaded(PathOf("a.txt"));
  EXPECT_EQ(Queue(u"Nobody"), KIV_E_TXN_NOT_OPEN);
  EXPECT_EQ(Commit([&] {
              ASSERT_EQ(Queue(u"First Driver"), S_OK);
              ASSERT_EQ(Queue(u"Second Driver"), S_OK);
              EXPECT_EQ(Driver().find("Second Driver"), std::string::npos) << "nothing is written before the commit";
            }, true),
            (Heard{"TransactionStarted", "TransactionProgress:1/2", "TransactionProgress:2/2", "TransactionFinished"}));
  const std::string text = Driver();
  EXPECT_NE(text.find("DriverName\tSecond Driver"), std::string::npos);
  EXPECT_EQ(text.find("First Driver"), std::string::npos) << "the later step wrote over the earlier";
}

TEST_F(AsciiTransactionsTest, CloseDataDuringACommitWaitsForItsEnd) {
  OpenLoaded(PathOf("a.txt"));
  OutingListener& heard = Listen(a_.Get());
  auto txn = QueryAs<IKivTransaction>(static_cast<IKivOuting*>(a_.Get()));
  ASSERT_EQ(txn->Begin(), S_OK);
  ASSERT_EQ(Queue(u"New Driver"), S_OK);
  ASSERT_EQ(txn->Commit(), S_OK);
  ASSERT_EQ(a_->CloseData(), S_OK);
  EXPECT_FALSE(a_->cache()->closed()) << "the discard waits";
  ASSERT_TRUE(Settle());
  auto finished = std::find(heard.log.begin(), heard.log.end(), "TransactionFinished");
  ASSERT_NE(finished, heard.log.end());
  EXPECT_NE(std::find_if(finished, heard.log.end(),
                         [](const std::string& line) { return line.rfind("ItemsRemoved:", 0) == 0; }),
            heard.log.end())
      << "the data went after the commit";
  // Read again, the outing has the new driver.
  ComPtr<IKivPropertySet> info;
  (void)a_->GetOutingInformation(info.Put());
  ASSERT_TRUE(Settle());
  ASSERT_EQ(a_->GetOutingInformation(info.Put()), S_OK);
  Variant driver;
  ASSERT_EQ(info->GetProperty(u"Driver name", &driver), S_OK);
  EXPECT_EQ(*driver.AsText(), u"New Driver");
}

// A disk that fails while the driver, channels or events go into a text
// data set: the file stays as it was and the transaction says which write failed.
TEST_F(AsciiTransactionsTest, AFailedWriteLeavesTheFileAndNamesTheWrite) {
  FaultyTextFileOps ops;
  const std::u16string path = PathOf("a.txt");
  WriteSample(path);
  const std::string before = ReadWhole(TextFilePath(path));
  a_ = MakeKiv<CAsciiOuting>(MakeKiv<CAsciiOutingCache>(path, Guid(), &ops), false);
  const auto failing = [&](ComPtr<CWriteBackStateMachineBase> step, FaultyTextFileOps::Fault fault) {
    auto messages = Commit([&] {
      EXPECT_EQ(AddStep(step), S_OK);
      ops.fault = fault;
    });
    ops.fault = FaultyTextFileOps::Fault::kNone;
    EXPECT_EQ(ReadWhole(TextFilePath(path)), before);
    return messages;
  };
  EXPECT_EQ(failing(MakeKiv<DriverStep>(u"Lost Driver"), FaultyTextFileOps::Fault::kRename),
            Heard{"Failed to write outing information"});
  auto channel = MakeFakeChannel(nlohmann::json{{{"start", 0}, {"interval", 100000}, {"count", 10}}});
  for (auto fault : {FaultyTextFileOps::Fault::kWriteDiskFull, FaultyTextFileOps::Fault::kWriteHalfThenFull}) {
    auto step = MakeKiv<CAsciiWriteBackChannelStateMachine>(a_->cache()->channel_write_back());
    step->AddItem(std::make_unique<CExportChannel>(u"Added", 0, 10'000'000, channel.Get(), 1.0, 0.0, 0, 200000));
    EXPECT_EQ(failing(step, fault), Heard{"Failed to write channels"});
  }
  auto events = MakeKiv<CAsciiWriteBackEventsStateMachine>(a_->cache()->channel_write_back(), 0, 0);
  events->AddReady({u"Note", 5, kEventAddedInAnalysis, u"Desk", u"Look here", {}, {}, true});
  EXPECT_EQ(failing(events, FaultyTextFileOps::Fault::kRename), Heard{"Failed to write events"});
}

using testing::FaultyTextFileOps;
using testing::KillWriterAtRandom;
using testing::ReadWhole;
using testing::TempDir;
using testing::Times;
using testing::Values;
using testing::WriteWhole;
using V = std::vector<double>;

class AsciiFileHandlesTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(CAsciiFileHandles::Create(path_).ok()); }
  TempDir dir_;
  std::filesystem::path path_ = dir_ / "outing.txt";
  const std::vector<InformationProperty> jo_ = {{u"Driver name", Variant::Text(u"Jo")}};
};

TEST_F(AsciiFileHandlesTest, CreateWritesTheEmptyFileThatLoadsEmpty) {
  EXPECT_EQ(ReadWhole(path_), "KivaraASCIIDataSet\r\n\r\n{OutingInformation}\r\n");
  CAsciiFileHandles file(path_);
  ASSERT_TRUE(file.Open(false).ok());
  EXPECT_TRUE(file.ReadInformation().empty());
  std::vector<TextColumn> columns;
  ASSERT_TRUE(file.ReadChannels(&columns).ok());
  EXPECT_TRUE(columns.empty());
  EXPECT_FALSE(file.index().versioned);
}

TEST_F(AsciiFileHandlesTest, TheHoldIsExclusiveAndAWriteKeepsIt) {
  CAsciiFileHandles first(path_), second(path_);
  ASSERT_TRUE(first.Open(false).ok());
  EXPECT_EQ(second.Open(false).code(), TextCode::kFileLocked);
  first.Close();
  ASSERT_TRUE(second.Open(true).ok());
  ASSERT_TRUE(second.WriteInformation(jo_).ok());  // the file is a new one now
  EXPECT_EQ(first.Open(false).code(), TextCode::kFileLocked);
}

TEST_F(AsciiFileHandlesTest, OpenFailuresCloseAgain) {
  CAsciiFileHandles missing(dir_ / "none.txt");
  EXPECT_EQ(missing.Open(false).code(), TextCode::kFileNotFound);
  WriteWhole(dir_ / "other.txt", "Time\tA\r\n");
  CAsciiFileHandles other(dir_ / "other.txt");
  EXPECT_EQ(other.Open(false).code(), TextCode::kNoMagic);
  EXPECT_FALSE(other.IsOpen());
  std::vector<TextEvent> events = {{0, u"E", 1, u"", u""}};
  EXPECT_EQ(other.AddEvents(events, 0).code(), TextCode::kNotOpen);
  CAsciiFileHandles reader(path_);
  ASSERT_TRUE(reader.Open(false).ok());
  EXPECT_EQ(reader.AddEvents(events, 0).code(), TextCode::kNotWritable);
}

TEST_F(AsciiFileHandlesTest, EditsGoToDiskAndReload) {
  CAsciiFileHandles file(path_);
  ASSERT_TRUE(file.Open(true).ok());
  std::vector<KivTime> times = {0, 1'000'000, 2'000'000};
  V values = {1, 2, 3};
  ASSERT_TRUE(file.WriteChannel({u"Speed", u"km/h", times, values}, 0).ok());
  ASSERT_TRUE(file.WriteInformation(jo_).ok());
  EXPECT_TRUE(file.index().versioned);
  std::vector<TextEvent> events = {{5'000'000, u"Flag", 1, u"me", u"yellow"}};
  ASSERT_TRUE(file.AddEvents(events, 0).ok());
  EXPECT_TRUE(file.HasEvent({5'000'000, u"Flag", 1, u"me", u""}));
  ASSERT_TRUE(file.WriteConstant(ConstantEdit::kAdd, {u"Wing", 12.5, u"deg"}).ok());
  EXPECT_TRUE(file.HasConstant(u"Wing"));
  ArraySampler sampler(times, values);
  std::vector<TextGroupChannel> group = {{u"Rpm", u"", 0, 2'000'000, 1'000'000, 1000, 0, &sampler}};
  ASSERT_TRUE(file.WriteChannelGroup(group, 0).ok());
  file.Close();

  // What is on disk, read by a fresh handle.
  CAsciiFileHandles again(path_);
  ASSERT_TRUE(again.Open(true).ok());
  ASSERT_EQ(again.ReadInformation().size(), 1u);
  std::vector<TextColumn> columns;
  ASSERT_TRUE(again.ReadChannels(&columns).ok());
  ASSERT_EQ(columns.size(), 2u);
  EXPECT_EQ(columns[0].name, u"Speed");
  EXPECT_EQ(Times(columns[0]), (V{0, 0.1, 0.2}));
  EXPECT_EQ(columns[1].name, u"Rpm");
  EXPECT_EQ(Values(columns[1]), (V{1000, 2000, 3000}));
  ASSERT_TRUE(again.RemoveEvents(events).ok());
  EXPECT_TRUE(again.ReadEvents().empty());
  ASSERT_TRUE(again.WriteConstant(ConstantEdit::kRemove, {u"Wing", 0, u""}).ok());
  EXPECT_FALSE(again.HasConstant(u"Wing"));
}

TEST_F(AsciiFileHandlesTest, AFailedWriteLeavesTheFileByteIdentical) {
  {
    CAsciiFileHandles file(path_);
    ASSERT_TRUE(file.Open(true).ok());
    ASSERT_TRUE(file.WriteInformation(jo_).ok());
  }
  const std::string before = ReadWhole(path_);
  using Fault = FaultyTextFileOps::Fault;
  for (Fault fault : {Fault::kWriteDiskFull, Fault::kWriteHalfThenFull, Fault::kSync, Fault::kRename}) {
    WriteWhole(path_, before);
    FaultyTextFileOps ops;
    CAsciiFileHandles file(path_, ops);
    ASSERT_TRUE(file.Open(true).ok());
    ops.fault = fault;
    std::vector<KivTime> times = {0};
    V values = {1};
    std::vector<TextEvent> events = {{0, u"E", 1, u"", u""}};
    std::vector<InformationProperty> info = {{u"Track name", Variant::Text(u"Park")}};
    if (fault != Fault::kRename) {  // an append renames nothing
      TextStatus st = file.WriteChannel({u"X", u"", times, values}, 0);
      EXPECT_FALSE(st.ok());
      if (fault == Fault::kWriteDiskFull) {
        EXPECT_EQ(st.code(), TextCode::kDiskFull);
        EXPECT_EQ(st.result(), E_FAIL) << "a failed write is E_FAIL, the cause is in the message";
      }
    }
    EXPECT_FALSE(file.AddEvents(events, 0).ok());
    EXPECT_FALSE(file.WriteInformation(info).ok());
    EXPECT_FALSE(file.WriteConstant(ConstantEdit::kAdd, {u"C", 1, u""}).ok());
    EXPECT_EQ(ReadWhole(path_), before) << static_cast<int>(fault);
    // The handle still holds the old file and can go on.
    EXPECT_TRUE(file.IsWritable());
    EXPECT_EQ(file.bytes(), before);
    ops.fault = Fault::kNone;
    ASSERT_TRUE(file.WriteConstant(ConstantEdit::kAdd, {u"C", 1, u""}).ok());
    EXPECT_TRUE(file.HasConstant(u"C"));
  }
  EXPECT_EQ(testing::CountFiles(dir_.path()), 1u);
}

// The child rewrites the head of a large file over and over, telling the
// parent after each rewrite; the parent kills it somewhere in the next one.
[[noreturn]] void RewriteUntilKilled(const std::filesystem::path& path, int progress) {
  CAsciiFileHandles file(path);
  if (!file.Open(true).ok()) _exit(2);
  for (int n = 1;; ++n) {
    const std::vector<InformationProperty> info = {
        {u"Driver name", Variant::Text(u"Driver " + Utf8ToWide(std::to_string(n)))}};
    if (!file.WriteInformation(info).ok()) _exit(3);
    char done = 1;
    if (write(progress, &done, 1) != 1) _exit(4);
  }
}

TEST_F(AsciiFileHandlesTest, ARewriteKilledAtRandomLeavesTheOldOrTheNewFile) {
  {
    CAsciiFileHandles file(path_);
    ASSERT_TRUE(file.Open(true).ok());
    std::vector<KivTime> times(200'000);
    V values(times.size());
    for (size_t i = 0; i < times.size(); ++i) times[i] = static_cast<KivTime>(i) * 100'000, values[i] = double(i);
    ASSERT_TRUE(file.WriteChannel({u"Speed", u"km/h", times, values}, 0).ok());  // a few MB to copy
  }
  std::mt19937 random(20261123);
  for (int iteration = 0; iteration < 12; ++iteration) {
    unsigned acknowledged = 0;
    ASSERT_TRUE(KillWriterAtRandom(random, 2, std::chrono::microseconds(20'000),
                                   [&](int progress) { RewriteUntilKilled(path_, progress); }, &acknowledged));

    CAsciiFileHandles file(path_);
    ASSERT_TRUE(file.Open(false).ok()) << "iteration " << iteration;
    std::vector<TextColumn> columns;
    ASSERT_TRUE(file.ReadChannels(&columns).ok());
    ASSERT_EQ(columns.size(), 1u);
    EXPECT_EQ(columns[0].count, 200'000u) << "the samples came through whole";
    if (acknowledged == 0) continue;  // the file may still hold an earlier round's name
    std::u16string driver;
    for (const TextInfoEntry& entry : file.ReadInformation()) {
      if (entry.key == u"DriverName") driver = entry.value;
    }
    ASSERT_EQ(driver.rfind(u"Driver ", 0), 0u) << "iteration " << iteration;
    EXPECT_GE(std::stoul(WideToUtf8(driver.substr(7))), acknowledged) << "an acknowledged rewrite was lost";
  }
}

}  // namespace
}  // namespace velmar::testing
