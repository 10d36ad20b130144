#include "sources/tarn/tarn_connection.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "jobs/job_thread.h"
#include "tarn_test_helper.h"

namespace velmar::testing {
namespace {

using State = CFileStateMachine::State;

// A main object that answers for nothing else, and notes where it ends.
class LoneMainObject final : public KivObject<IKivTarnStore> {
 public:
  explicit LoneMainObject(std::atomic<std::thread::id>* releasedOn) : releasedOn_(releasedOn) {}
  ~LoneMainObject() override { *releasedOn_ = std::this_thread::get_id(); }
  KivResult GetMovementRange(uint32_t, KivTime*, KivTime*) override { return E_NOTIMPL; }
  KivResult GetFileName(std::u16string*) override { return E_NOTIMPL; }
  KivResult GetOutingRange(uint32_t, KivTime*, KivTime*) override { return E_NOTIMPL; }

 private:
  std::atomic<std::thread::id>* releasedOn_;
};

class LoneMainFactory final : public KivObject<IKivTarnStoreFactory> {
 public:
  explicit LoneMainFactory(std::atomic<std::thread::id>* releasedOn) : releasedOn_(releasedOn) {}
  KivResult OpenFile(const std::u16string&, const Guid& iid, void** out) override {
    return MakeKiv<LoneMainObject>(releasedOn_)->QueryInterface(iid, out);
  }
  KivResult GetFileVersion(const std::u16string&, uint32_t*) override { return E_NOTIMPL; }
  KivResult CreateFile(const std::u16string&, const Guid&, void**) override { return E_NOTIMPL; }

 private:
  std::atomic<std::thread::id>* releasedOn_;
};

class FileStateMachineTest : public TarnTest {
 protected:
  // The file's close must run before the engine stops, or it never ends.
  void TearDown() override {
    file_.Reset();
    TarnTest::TearDown();
  }
  ClientRef<CFileStateMachine> file_ = MakeClient<CFileStateMachine>();
};

TEST_F(FileStateMachineTest, OpenThenCloseGoesThroughEveryState) {
  std::u16string path = Write(SampleDataSet());
  EXPECT_EQ(file_->state(), State::kClosed);
  EXPECT_FALSE(file_->Connection());
  ASSERT_EQ(file_->Open(path), S_OK);
  EXPECT_EQ(file_->state(), State::kOpening);
  EXPECT_TRUE(file_->Connection()) << "a job queued while opening runs after the open";
  EXPECT_EQ(file_->Open(path), E_UNEXPECTED);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->state(), State::kOpen);
  EXPECT_EQ(file_->open_result(), S_OK);
  ComPtr<COpenFileJobItem> connection = file_->Connection();
  ASSERT_TRUE(connection);
  file_->Close();
  EXPECT_EQ(file_->state(), State::kClosing);
  EXPECT_FALSE(file_->Connection());
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->state(), State::kClosed);
  ASSERT_TRUE(Async_WaitIdle(DaeThread()));
  EXPECT_TRUE(connection->connection().empty()) << "the close job took every interface";
}

TEST_F(FileStateMachineTest, ReopeningWhileClosingOpensAfterTheClose) {
  std::u16string path = Write(SampleDataSet());
  ASSERT_EQ(file_->Open(path), S_OK);
  ASSERT_TRUE(Settle());
  ComPtr<COpenFileJobItem> first = file_->Connection();
  file_->Close();
  ASSERT_EQ(file_->Open(path), S_OK);
  EXPECT_EQ(file_->state(), State::kOpening);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->state(), State::kOpen) << "the end of the old close leaves the new open alone";
  ComPtr<COpenFileJobItem> second = file_->Connection();
  EXPECT_NE(second.Get(), first.Get());
  ASSERT_TRUE(Async_WaitIdle(DaeThread()));
  EXPECT_TRUE(first->connection().empty());
}

TEST_F(FileStateMachineTest, AFileThatWontOpenIsClosedStraightAway) {
  ASSERT_EQ(file_->Open(PathOf("missing.trn")), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->open_result(), STG_E_FILENOTFOUND);
  EXPECT_EQ(file_->state(), State::kClosed);
  EXPECT_FALSE(file_->Connection());
  // A later open may succeed.
  ASSERT_EQ(file_->Open(Write(SampleDataSet())), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->state(), State::kOpen);
}

TEST_F(FileStateMachineTest, CloseWhileOpeningCancelsTheOpen) {
  std::u16string path = Write(SampleDataSet());
  {
    StoreThreadGate gate;
    ASSERT_EQ(file_->Open(path), S_OK);
    file_->Close();
    EXPECT_EQ(file_->state(), State::kClosed);
  }
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->state(), State::kClosed) << "the cancelled open must not come back";
}

TEST_F(FileStateMachineTest, ADroppedOpenIsQueuedAgain) {
  std::u16string path = Write(SampleDataSet());
  {
    StoreThreadGate gate;
    ASSERT_EQ(file_->Open(path), S_OK);
    ASSERT_EQ(Async_DropNextJobs(DaeThread(), 1), S_OK);
  }
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->state(), State::kOpen);
  EXPECT_EQ(file_->open_result(), S_OK);
}

TEST_F(FileStateMachineTest, APartialOpenFailsWithTheFirstFailureAndReleasesOnTheStoreThread) {
  std::atomic<std::thread::id> releasedOn{};
  file_ = MakeClient<CFileStateMachine>([&](ComPtr<IKivTarnStoreFactory>* out) {
    *out = MakeKiv<LoneMainFactory>(&releasedOn);
    return S_OK;
  });
  ASSERT_EQ(file_->Open(u"any.trn"), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->open_result(), E_NOINTERFACE);
  EXPECT_EQ(file_->state(), State::kClosed);
  ASSERT_TRUE(Async_WaitIdle(DaeThread()));
  EXPECT_NE(releasedOn.load(), std::thread::id{}) << "the main object was released";
  EXPECT_NE(releasedOn.load(), std::this_thread::get_id()) << "store objects go on the store thread";
}

TEST_F(FileStateMachineTest, AFactoryThatCantBeMadeIsTheOpenResult) {
  file_ = MakeClient<CFileStateMachine>([](ComPtr<IKivTarnStoreFactory>*) { return REGDB_E_CLASSNOTREG; });
  ASSERT_EQ(file_->Open(u"any.trn"), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(file_->open_result(), REGDB_E_CLASSNOTREG);
  EXPECT_EQ(file_->state(), State::kClosed);
}

TEST_F(FileStateMachineTest, TheLastClientClosesTheFile) {
  ASSERT_EQ(file_->Open(Write(SampleDataSet())), S_OK);
  ASSERT_TRUE(Settle());
  ComPtr<COpenFileJobItem> connection = file_->Connection();
  file_.Reset();
  ASSERT_TRUE(Settle());
  ASSERT_TRUE(Async_WaitIdle(DaeThread()));
  EXPECT_TRUE(connection->connection().empty());
}

TEST_F(FileStateMachineTest, AConnectionHoldsEveryInterfaceAndGivesThemUpInTheCloseOrder) {
  TarnConnection c;
  EXPECT_TRUE(c.empty());
  EXPECT_EQ(c.QueryAll(), E_FAIL) << "nothing to query without the main object";
  ComPtr<IKivTarnStoreFactory> factory;
  ASSERT_EQ(CreateTarnStoreFactory(&factory), S_OK);
  ASSERT_EQ(factory->OpenFile(Write(SampleDataSet()), IKivTarnStore::iid, c.main.PutVoid()), S_OK);
  ASSERT_EQ(c.QueryAll(), S_OK);
  EXPECT_TRUE(c.media && c.constants && c.lapMarkers && c.events && c.channels && c.blobs && c.writeAccess &&
              c.details);
  IKivUnknown* main = c.main.Get();
  IKivUnknown* media = c.media.Get();
  std::vector<ComPtr<IKivUnknown>> all = c.TakeAll();
  ASSERT_EQ(all.size(), 9u);
  EXPECT_EQ(all.front().Get(), main);
  EXPECT_EQ(all.back().Get(), media);
  EXPECT_TRUE(c.empty());
}

}  // namespace
}  // namespace velmar::testing
