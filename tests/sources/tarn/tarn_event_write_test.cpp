#include "sources/tarn/tarn_event_remove.h"
#include "sources/tarn/tarn_event_write.h"

#include <gtest/gtest.h>

#include <map>

#include "sources/tarn/tarn_records.h"
#include "tarn_outing_helper.h"
#include "writeback/transaction_state_machine.h"

namespace velmar::testing {
namespace {

using Lines = std::vector<std::string>;

class TarnEventWriteTest : public TarnOutingTest {
 protected:
  void SetUp() override {
    path_ = Write(SampleDataSet());
    OpenListened(path_);
  }
  // Commits one removal of (set name, time) pairs; the transaction's messages.
  Lines Remove(const std::vector<std::pair<std::u16string, KivTime>>& named) {
    std::vector<CExportEvent> events;
    for (const auto& [name, time] : named) {
      CExportEvent event;
      event.name = name;
      event.time = time;
      events.push_back(std::move(event));
    }
    return Commit(MakeKiv<CWBTarnRemoveEventsStateMachine>(outing_->cache()->event_write_back(), std::move(events)));
  }
  // Commits `step` in the outing's transaction; the transaction's messages.
  Lines Commit(ComPtr<CWriteBackStateMachineBase> step) {
    auto txn = Facet<IKivTransaction>();
    EXPECT_EQ(txn->Begin(), S_OK);
    EXPECT_EQ(outing_->cache()->transaction()->AddWriteBackStep(step), S_OK);
    EXPECT_EQ(txn->Commit(), S_OK);
    EXPECT_TRUE(Settle());
    Lines log;
    for (const std::string& line : std::exchange(listener_->log, {})) {
      if (line.rfind("TransactionMessage", 0) == 0) log.push_back(line);
    }
    return log;
  }
  // How many events each set has in the file, as another reader sees it.
  std::map<std::u16string, size_t> StoredEvents() {
    ComPtr<IKivTarnStoreFactory> factory;
    EXPECT_EQ(CreateTarnStoreFactory(&factory), S_OK);
    ComPtr<IKivTarnStore> store;
    EXPECT_EQ(factory->OpenFile(path_, IKivTarnStore::iid, store.PutVoid()), S_OK);
    auto events = QueryAs<IKivTarnEvents>(store.Get());
    ComPtr<IKivTarnEventNameRecords> names;
    EXPECT_EQ(events->GetEventNames(kTarnWaitForever, names.Put()), S_OK);
    std::map<std::u16string, size_t> counts;
    for (const TarnEventName& n : Items(names)) {
      ComPtr<IKivTarnEventRecords> records;
      EXPECT_EQ(events->GetEventData(kTarnWaitForever, 1, &n.id, INT64_MIN, INT64_MAX, records.Put()), S_OK);
      counts[n.name] = Items(records).size();
    }
    return counts;
  }

  std::u16string path_;
};

TEST_F(TarnEventWriteTest, EventsOfAnotherOutingAreWrittenOnceRefusedAsDuplicatesAndRemovable) {
  // The source: the sample's "Pit" set (40 s and 45 s), read from another file.
  const std::u16string sourcePath = Write(SampleDataSet(), "source.trn");
  ComPtr<CTarnOuting> source = Open(sourcePath);
  auto sets = QueryAs<IKivEventsFactory>(static_cast<IKivOuting*>(source.Get()));
  NameList names;
  (void)sets->GetNames(&names);
  ASSERT_TRUE(Settle());
  ComPtr<IKivEventSet> pit;
  ASSERT_EQ(sets->GetItem(u"Pit", pit.Put()), S_OK);
  CAnyStringsHelper strings;
  const auto writePit = [&] {
    auto step = MakeKiv<CWBTarnWriteEventsStateMachine>(outing_->cache()->event_write_back(), 0, 100 * kS);
    step->AddItem(std::make_unique<CExportEventSet>(strings, u"Pit", pit.Get(), 0, 100 * kS, 0));
    return Commit(step);
  };
  // Into a file of the same outing without events: both come in, added in
  // analysis, so that they can be removed again.
  TarnDataSet bare = SampleDataSet();
  bare.events.clear();
  listener_.reset();
  outing_ = nullptr;
  path_ = Write(bare, "bare.trn");
  OpenListened(path_);
  EXPECT_TRUE(writePit().empty());
  EXPECT_EQ(StoredEvents(), (std::map<std::u16string, size_t>{{u"Pit", 2}}));
  EXPECT_EQ(writePit(), Lines{"TransactionMessage:Failed to write events - duplicate events found"});
  EXPECT_TRUE(Remove({{u"Pit", 40 * kS}, {u"Pit", 45 * kS}}).empty());
  EXPECT_TRUE(StoredEvents().empty());
}

TEST_F(TarnEventWriteTest, OnlyEventsAddedInAnalysisGoAndRecordedOnesAreNotFound) {
  EXPECT_TRUE(Remove({{u"Flag", 20 * kS}, {u"Pit", 40 * kS}}).empty());
  EXPECT_EQ(StoredEvents(), (std::map<std::u16string, size_t>{{u"Pit", 2}}));  // the set went with its last event

  EXPECT_EQ(Remove({{u"Pit", 45 * kS}, {u"Nowhere", 1}}),
            Lines{"TransactionMessage:Failed to remove events - events not found"});
  EXPECT_EQ(Remove({}), Lines{"TransactionMessage:Failed to remove events - no events selected"});
  EXPECT_EQ(StoredEvents(), (std::map<std::u16string, size_t>{{u"Pit", 2}}));
}

}  // namespace
}  // namespace velmar::testing
