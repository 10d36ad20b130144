#include "sources/text/ascii_transactions.h"

#include "ascii_outing_fixture.h"
#include "jobs/job_thread.h"
#include "velmar/transaction.h"
#include "writeback/write_back_step.h"

namespace velmar::testing {
namespace {

using Lines = std::vector<std::string>;

// A step that writes the driver's name through the commit's held file.
class DriverJob final : public CWriteBackJobItem {
 public:
  DriverJob(CStateMachineEx* owner, ComPtr<CAsciiOutingTxnJobItem> access, std::u16string driver)
      : CWriteBackJobItem(owner), access_(std::move(access)), driver_(std::move(driver)) {}

 protected:
  KivResult Run() override {
    const InformationProperty property{u"Driver name", Variant::Text(driver_)};
    TextStatus status = access_->handles().WriteInformation({&property, 1});
    return status.ok() ? S_OK : Fail(u"Failed to write outing information");
  }

 private:
  ComPtr<CAsciiOutingTxnJobItem> access_;
  std::u16string driver_;
};

class DriverStep final : public CWriteBackStateMachineBase {
 public:
  explicit DriverStep(std::u16string driver) : CWriteBackStateMachineBase(nullptr), driver_(std::move(driver)) {}
  KivResult CreateJob(CJobItem* writeAccess, ComPtr<CWriteBackJobItem>* job) override {
    *job = MakeKiv<DriverJob>(this, ComPtr<CAsciiOutingTxnJobItem>(static_cast<CAsciiOutingTxnJobItem*>(writeAccess)),
                              driver_);
    return S_OK;
  }
  AsyncThread GetJobThread() override { return AsciiThread(); }

 private:
  std::u16string driver_;
};

class AsciiTransactionsTest : public AsciiOutingFixture {
 protected:
  Lines Transaction(const OutingListener& listener) {
    Lines log;
    for (const std::string& line : listener.log) {
      if (line.rfind("Transaction", 0) == 0) log.push_back(line);
    }
    return log;
  }
  KivResult Queue(const std::u16string& driver) {
    return a_->cache()->transaction()->AddWriteBackStep(MakeKiv<DriverStep>(driver));
  }
  std::string Driver() { return ReadWhole(TextFilePath(PathOf("a.txt"))); }
};

TEST_F(AsciiTransactionsTest, ACommitRewritesTheFileInCallOrderAndTheOwnerHearsIt) {
  OpenLoaded(PathOf("a.txt"));
  OutingListener& heard = Listen(a_.Get());
  auto txn = QueryAs<IKivTransaction>(static_cast<IKivOuting*>(a_.Get()));
  ASSERT_TRUE(txn);
  EXPECT_EQ(Queue(u"Nobody"), KIV_E_TXN_NOT_OPEN);
  ASSERT_EQ(txn->Begin(), S_OK);
  ASSERT_EQ(Queue(u"First Driver"), S_OK);
  ASSERT_EQ(Queue(u"Second Driver"), S_OK);
  EXPECT_EQ(Driver().find("Second Driver"), std::string::npos) << "nothing is written before the commit";
  ASSERT_EQ(txn->Commit(), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Transaction(heard), (Lines{"TransactionStarted", "TransactionProgress:1/2", "TransactionProgress:2/2",
                                       "TransactionFinished"}));
  const std::string text = Driver();
  EXPECT_NE(text.find("DriverName\tSecond Driver"), std::string::npos);
  EXPECT_EQ(text.find("First Driver"), std::string::npos) << "the later step wrote over the earlier";
}

TEST_F(AsciiTransactionsTest, AFailedRenameKeepsTheOldFileAndIsReported) {
  FaultyTextFileOps ops;
  const std::u16string path = PathOf("a.txt");
  WriteSample(path);
  const std::string before = ReadWhole(TextFilePath(path));
  ComPtr<CAsciiOutingCache> cache = MakeKiv<CAsciiOutingCache>(path, Guid(), &ops);
  a_ = MakeKiv<CAsciiOuting>(cache, false);
  OutingListener& heard = Listen(a_.Get());
  auto txn = QueryAs<IKivTransaction>(static_cast<IKivOuting*>(a_.Get()));
  ASSERT_EQ(txn->Begin(), S_OK);
  ASSERT_EQ(Queue(u"Lost Driver"), S_OK);
  ops.fault = FaultyTextFileOps::Fault::kRename;
  ASSERT_EQ(txn->Commit(), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(Transaction(heard), (Lines{"TransactionStarted", "TransactionProgress:1/1",
                                       "TransactionMessage:Failed to write outing information",
                                       "TransactionFinished"}));
  EXPECT_EQ(ReadWhole(TextFilePath(path)), before);
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

}  // namespace
}  // namespace velmar::testing
