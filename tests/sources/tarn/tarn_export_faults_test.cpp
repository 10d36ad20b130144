// A disk that fails anywhere in a commit that writes channels and events
// into a `.trn`: what the commit reported failed is not in the file, and
// enough good writes let the whole commit through.
#include "sources/tarn/tarn_channel_write.h"
#include "sources/tarn/tarn_event_write.h"

#include <gtest/gtest.h>

#include "export/fake_channel.h"
#include "export/read_back.h"
#include "platform/store/fault_vfs.h"
#include "tarn_outing_helper.h"

namespace velmar::testing {
namespace {

class TarnExportFaultsTest : public TarnOutingTest {
 protected:
  // Queues a channel and an event step and commits them.
  void CommitExport(CTarnOuting* outing) {
    auto txn = Face<IKivTransaction>(outing);
    ASSERT_EQ(txn->Begin(), S_OK);
    auto channels = MakeKiv<CWBTarnWriteChannelStateMachine>(outing->cache()->channel_write_back());
    channels->AddItem(std::make_unique<CExportChannel>(u"[0]Added", 0, kS, source_.Get(), 1.0, 0.0, 0, 0));
    auto events = MakeKiv<CWBTarnWriteEventsStateMachine>(outing->cache()->event_write_back(), 0, kS);
    events->AddReady({u"Note", 5, kEventAddedInAnalysis, u"Desk", u"Look here", {}, {}, true});
    ASSERT_EQ(outing->cache()->transaction()->AddWriteBackStep(channels), S_OK);
    ASSERT_EQ(outing->cache()->transaction()->AddWriteBackStep(events), S_OK);
    ASSERT_EQ(txn->Commit(), S_OK);
    ASSERT_TRUE(Settle());
  }

  ComPtr<FakeChannel> source_ = MakeFakeChannel(nlohmann::json{{{"start", 0}, {"interval", 100000}, {"count", 10}}});
};

TEST_F(TarnExportFaultsTest, AFailureTheCommitHeardLeavesNothingOfTheWriteAndIsReported) {
  bool sawSuccess = false;
  for (int64_t okCalls = 0; okCalls < 96 && !sawSuccess; okCalls += 3) {
    SCOPED_TRACE("writes let through: " + std::to_string(okCalls));
    const std::u16string path = Write(SampleDataSet(), "round" + std::to_string(okCalls) + ".trn");
    ComPtr<CTarnOuting> outing = OpenTarnOuting(path, FaultyStoreMaker());
    OutingListener heard(static_cast<IKivOuting*>(outing.Get()));
    store::FaultVfs::Get().FailAfter(okCalls);
    CommitExport(outing.Get());
    store::FaultVfs::Get().Disarm();
    std::string told;  // the messages, one after another
    for (const std::string& line : LinesStarting(heard.log, {"TransactionMessage:"})) told += line;
    outing = nullptr;
    ASSERT_TRUE(Settle());
    // Channels that a failed step, access or commit took are not in the file.
    const bool lost = told.find("channels") != std::string::npos || told.find("outing") != std::string::npos;
    auto channels = Face<IKivChannelFactory>(Open(path).Get());
    EXPECT_EQ(ReadBackChannel(channels.Get(), u"Added", [this] { return Settle(); }).size(), lost ? 0u : 10u) << told;
    // A failure after the commit ended (a checkpoint) tells nothing and loses nothing.
    sawSuccess = told.empty();
  }
  EXPECT_TRUE(sawSuccess);
}

}  // namespace
}  // namespace velmar::testing
