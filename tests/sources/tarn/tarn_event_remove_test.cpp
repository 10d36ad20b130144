#include "sources/tarn/tarn_event_remove.h"

#include <gtest/gtest.h>

#include <map>

#include "sources/tarn/tarn_records.h"
#include "tarn_outing_helper.h"
#include "writeback/transaction_state_machine.h"

namespace velmar::testing {
namespace {

using Lines = std::vector<std::string>;

class TarnEventRemoveTest : public TarnOutingTest {
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
    auto txn = Facet<IKivTransaction>();
    EXPECT_EQ(txn->Begin(), S_OK);
    auto step = MakeKiv<CWBTarnRemoveEventsStateMachine>(outing_->cache()->event_write_back(), std::move(events));
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

TEST_F(TarnEventRemoveTest, OnlyEventsAddedInAnalysisGoAndRecordedOnesAreNotFound) {
  EXPECT_TRUE(Remove({{u"Flag", 20 * kS}, {u"Pit", 40 * kS}}).empty());
  EXPECT_EQ(StoredEvents(), (std::map<std::u16string, size_t>{{u"Pit", 2}}));  // the set went with its last event

  EXPECT_EQ(Remove({{u"Pit", 45 * kS}, {u"Nowhere", 1}}),
            Lines{"TransactionMessage:Failed to remove events - events not found"});
  EXPECT_EQ(Remove({}), Lines{"TransactionMessage:Failed to remove events - no events selected"});
  EXPECT_EQ(StoredEvents(), (std::map<std::u16string, size_t>{{u"Pit", 2}}));
}

}  // namespace
}  // namespace velmar::testing
