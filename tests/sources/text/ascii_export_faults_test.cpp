// A disk that fails while channels or events go into a text data set: the
// file stays as it was and the transaction says which write failed.
#include "sources/text/ascii_channel_write.h"
#include "sources/text/ascii_event_write.h"

#include "ascii_outing_fixture.h"
#include "export/fake_channel.h"
#include "velmar/transaction.h"

namespace velmar::testing {
namespace {

class AsciiExportFaultsTest : public AsciiOutingFixture {
 protected:
  // Commits `step` with `fault` armed; the transaction's messages.
  std::vector<std::string> CommitFailing(ComPtr<CWriteBackStateMachineBase> step, FaultyTextFileOps::Fault fault) {
    OutingListener& heard = Listen(a_.Get());
    auto txn = QueryAs<IKivTransaction>(static_cast<IKivOuting*>(a_.Get()));
    EXPECT_EQ(txn->Begin(), S_OK);
    EXPECT_EQ(a_->cache()->transaction()->AddWriteBackStep(step), S_OK);
    ops_.fault = fault;
    EXPECT_EQ(txn->Commit(), S_OK);
    EXPECT_TRUE(Settle());
    ops_.fault = FaultyTextFileOps::Fault::kNone;
    std::vector<std::string> log;
    std::copy_if(heard.log.begin(), heard.log.end(), std::back_inserter(log),
                 [](const std::string& line) { return line.rfind("TransactionMessage", 0) == 0; });
    return log;
  }
  FaultyTextFileOps ops_;
  std::u16string path_ = PathOf("faulty.txt");
};

TEST_F(AsciiExportFaultsTest, AFailedAppendOrRewriteLeavesTheFileAndNamesTheWrite) {
  WriteSample(path_);
  a_ = MakeKiv<CAsciiOuting>(MakeKiv<CAsciiOutingCache>(path_, Guid(), &ops_), false);
  const std::string before = ReadWhole(TextFilePath(path_));
  auto channel = MakeFakeChannel(nlohmann::json{{{"start", 0}, {"interval", 100000}, {"count", 10}}});
  for (auto fault : {FaultyTextFileOps::Fault::kWriteDiskFull, FaultyTextFileOps::Fault::kWriteHalfThenFull}) {
    auto step = MakeKiv<CAsciiWriteBackChannelStateMachine>(a_->cache()->channel_write_back());
    step->AddItem(std::make_unique<CExportChannel>(u"Added", 0, 10'000'000, channel.Get(), 1.0, 0.0, 0, 200000));
    EXPECT_EQ(CommitFailing(step, fault), std::vector<std::string>{"TransactionMessage:Failed to write channels"});
    EXPECT_EQ(ReadWhole(TextFilePath(path_)), before);
  }
  auto events = MakeKiv<CAsciiWriteBackEventsStateMachine>(a_->cache()->channel_write_back(), 0, 0);
  events->AddReady({u"Note", 5, kEventAddedInAnalysis, u"Desk", u"Look here", {}, {}, true});
  EXPECT_EQ(CommitFailing(events, FaultyTextFileOps::Fault::kRename),
            std::vector<std::string>{"TransactionMessage:Failed to write events"});
  EXPECT_EQ(ReadWhole(TextFilePath(path_)), before);
}

}  // namespace
}  // namespace velmar::testing
