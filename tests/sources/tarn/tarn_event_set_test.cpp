#include "sources/tarn/tarn_event_set.h"

#include <gtest/gtest.h>

#include <map>

#include "outing/cache/outing_source.h"
#include "sources/tarn/tarn_event_remove.h"
#include "sources/tarn/tarn_event_write.h"
#include "sources/tarn/tarn_records.h"
#include "support/data_listener.h"
#include "tarn_outing_helper.h"
#include "velmar/constants.h"

namespace velmar::testing {
namespace {

// An outing on the sample file whose lists are in.
class TarnItemsTest : public TarnOutingTest {
 protected:
  void SetUp() override {
    path_ = Write(SampleDataSet());
    outing_ = Open(path_);
    ASSERT_TRUE(outing_);
    events_ = Listed<IKivEventsFactory>();
    constants_ = Listed<IKivConstantFactory>();
  }
  void TearDown() override {
    events_ = nullptr;
    constants_ = nullptr;
    TarnOutingTest::TearDown();
  }
  // The set's events once its records are in.
  ComPtr<IKivEvents> ReadEvents(IKivEventSet* set) {
    ComPtr<IKivEventsIterator> iterator;
    KivResult r = set->GetIterator(iterator.Put());
    if (r == KIV_E_PENDING) {
      EXPECT_TRUE(Settle());
      r = set->GetIterator(iterator.Put());
    }
    EXPECT_EQ(r, S_OK);
    ComPtr<IKivEvents> events;
    if (iterator) {
      EXPECT_EQ(iterator->GetEvents(events.Put()), S_OK);
    }
    return events;
  }
  static KivTime TimeOf(IKivEvents* events, int32_t index) {
    ComPtr<IKivEvent> event;
    EXPECT_EQ(events->GetEvent(index, event.Put()), S_OK);
    KivTime t = -1;
    if (event) {
      EXPECT_EQ(event->GetTime(&t), S_OK);
    }
    return t;
  }

  ComPtr<IKivEventsFactory> events_;
  ComPtr<IKivConstantFactory> constants_;
};

TEST_F(TarnItemsTest, AnEventSetsRecordsArriveOnItsFirstIteratorWithEveryField) {
  ComPtr<IKivEventSet> pit, again;
  ASSERT_EQ(events_->GetItem(u"Pit", pit.Put()), S_OK);
  ASSERT_EQ(events_->GetItem(u"Pit", again.Put()), S_OK);
  EXPECT_EQ(pit.Get(), again.Get()) << "one object per name";
  std::vector<std::string> log;
  CDataListener listener(&log);
  ASSERT_TRUE(listener.Connect(pit.Get()));
  ComPtr<IKivEventsIterator> iterator;
  EXPECT_EQ(pit->GetIterator(iterator.Put()), KIV_E_PENDING);
  EXPECT_EQ(pit->GetIterator(nullptr), E_POINTER);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(log.size(), 2u) << "the read's end is told once";
  EXPECT_EQ(log[0], "internal");
  EXPECT_EQ(log[1].rfind("changed:", 0), 0u);
  ComPtr<IKivEvents> events = ReadEvents(pit.Get());
  ASSERT_TRUE(events);
  uint32_t count = 0;
  ASSERT_EQ(events->GetCount(&count), S_OK);
  ASSERT_EQ(count, 2u);
  ComPtr<IKivEvent> in, out;
  ASSERT_EQ(events->GetEvent(1, in.Put()), S_OK);
  ASSERT_EQ(events->GetEvent(2, out.Put()), S_OK);
  std::u16string text;
  ASSERT_EQ(in->GetMessage(&text), S_OK);
  EXPECT_EQ(text, u"in");
  ASSERT_EQ(out->GetSource(&text), S_OK);
  EXPECT_EQ(text, u"Logger");
  std::vector<uint8_t> data;
  EXPECT_EQ(in->GetData(&data), S_FALSE) << "no payload";
  ASSERT_EQ(out->GetData(&data), S_OK);
  EXPECT_EQ(data, (std::vector<uint8_t>{1, 2, 3}));
  ASSERT_EQ(out->GetFixedData(&data), S_OK);
  EXPECT_EQ(data.size(), kEventFixedDataSize);
  EXPECT_EQ(TimeOf(events.Get(), 2), 45 * kS);
  EXPECT_EQ(events->GetEvent(3, out.Put()), DISP_E_BADINDEX);
  listener.Disconnect();
}

TEST_F(TarnItemsTest, AnOffsetReachesEveryEventAndTheNextIteratorIsReadAfresh) {
  ASSERT_EQ(outing_->SetTimeOffset(kS), S_OK);
  ComPtr<IKivEventSet> flag;
  ASSERT_EQ(events_->GetItem(u"Flag", flag.Put()), S_OK);
  ComPtr<IKivEvents> before = ReadEvents(flag.Get());
  ASSERT_TRUE(before);
  EXPECT_EQ(TimeOf(before.Get(), 1), 21 * kS) << "a set made after the offset starts with it";
  std::vector<std::string> log;
  CDataListener listener(&log);
  ASSERT_TRUE(listener.Connect(flag.Get()));
  ASSERT_EQ(outing_->SetTimeOffset(3 * kS), S_OK);
  EXPECT_EQ(log, (std::vector<std::string>{"internal", "changed:" + std::to_string(TimeRange::Whole().start) + ":" +
                                                           std::to_string(TimeRange::Whole().end)}))
      << "the shift is told over the whole range";
  EXPECT_EQ(TimeOf(before.Get(), 1), 23 * kS) << "a list held across the shift sees it";
  ComPtr<IKivEventsIterator> iterator;
  EXPECT_EQ(flag->GetIterator(iterator.Put()), S_OK) << "the records stay in the cache";
  ComPtr<IKivEvents> after;
  ASSERT_EQ(iterator->GetEvents(after.Put()), S_OK);
  EXPECT_EQ(TimeOf(after.Get(), 1), 23 * kS);
  listener.Disconnect();
}

TEST_F(TarnItemsTest, TwoOutingObjectsShareOneReadOfASet) {
  ComPtr<CTarnOuting> second = Open(path_);
  auto secondEvents = Face<IKivEventsFactory>(second.Get());
  ComPtr<IKivEventSet> mine, theirs;
  ASSERT_EQ(events_->GetItem(u"Pit", mine.Put()), S_OK);
  ASSERT_EQ(secondEvents->GetItem(u"Pit", theirs.Put()), S_OK);
  EXPECT_NE(mine.Get(), theirs.Get()) << "each outing object has its own set";
  ComPtr<IKivEventsIterator> iterator;
  EXPECT_EQ(mine->GetIterator(iterator.Put()), KIV_E_PENDING);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(theirs->GetIterator(iterator.Put()), S_OK) << "the first read serves both";
}

TEST_F(TarnItemsTest, ASetThatLeavesItsOutingTellsItsSinksAndHeldEventsStayReadable) {
  ComPtr<IKivEventSet> pit;
  ASSERT_EQ(events_->GetItem(u"Pit", pit.Put()), S_OK);
  ComPtr<IKivEvents> events = ReadEvents(pit.Get());
  ASSERT_TRUE(events);
  std::vector<std::string> log;
  CDataListener listener(&log);
  ASSERT_TRUE(listener.Connect(pit.Get()));
  events_ = nullptr;
  constants_ = nullptr;
  outing_ = nullptr;
  EXPECT_EQ(log, std::vector<std::string>{"removed"});
  EXPECT_EQ(TimeOf(events.Get(), 1), 40 * kS);
  ComPtr<IKivEventsIterator> iterator;
  EXPECT_EQ(pit->GetIterator(iterator.Put()), KIV_E_PENDING) << "a detached set reads nothing more";
  listener.Disconnect();
}

TEST_F(TarnItemsTest, UnknownNamesAndNullOutsGiveClearCodes) {
  ComPtr<IKivEventSet> set;
  EXPECT_EQ(events_->GetItem(u"Nothing", set.Put()), E_INVALIDARG);
  EXPECT_EQ(events_->GetItem(u"Pit", nullptr), E_POINTER);
  ComPtr<IKivConstant> constant;
  EXPECT_EQ(constants_->GetItem(u"Nothing", constant.Put()), E_INVALIDARG);
  EXPECT_EQ(constants_->GetItem(u"", constant.Put()), E_INVALIDARG);
}

TEST_F(TarnItemsTest, ConstantsCarryTheirValueUnitAndText) {
  ComPtr<IKivConstant> wheelbase;
  ASSERT_EQ(constants_->GetItem(u"Wheelbase", wheelbase.Put()), S_OK);
  double value = 0;
  ASSERT_EQ(wheelbase->GetValue(&value), S_OK);
  EXPECT_EQ(value, 2.75);
  ComPtr<IKivSimpleConstant> simple;
  ASSERT_EQ(wheelbase.As(&simple), S_OK);
  std::u16string text;
  ASSERT_EQ(simple->GetUnit(&text), S_OK);
  EXPECT_EQ(text, u"m");
  ComPtr<IKivConstant> setup;
  ASSERT_EQ(constants_->GetItem(u"Setup", setup.Put()), S_OK);
  ASSERT_EQ(setup->GetText(&text), S_OK);
  EXPECT_EQ(text, u"wet") << "a text constant keeps its text";
}

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
    return CommitStep(
        MakeKiv<CWBTarnRemoveEventsStateMachine>(outing_->cache()->event_write_back(), std::move(events)));
  }
  // How many events each set has in the file, as another reader sees it.
  std::map<std::u16string, size_t> StoredEvents() {
    auto events = QueryAs<IKivTarnEvents>(OpenStore(path_).Get());
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
};

TEST_F(TarnEventWriteTest, EventsOfAnotherOutingAreWrittenOnceRefusedAsDuplicatesAndRemovable) {
  // The source: the sample's "Pit" set (40 s and 45 s), read from another file.
  const std::u16string sourcePath = Write(SampleDataSet(), "source.trn");
  ComPtr<CTarnOuting> source = Open(sourcePath);
  auto sets = Face<IKivEventsFactory>(source.Get());
  NameList names;
  (void)sets->GetNames(&names);
  ASSERT_TRUE(Settle());
  ComPtr<IKivEventSet> pit;
  ASSERT_EQ(sets->GetItem(u"Pit", pit.Put()), S_OK);
  CAnyStringsHelper strings;
  const auto writePit = [&] {
    auto step = MakeKiv<CWBTarnWriteEventsStateMachine>(outing_->cache()->event_write_back(), 0, 100 * kS);
    step->AddItem(std::make_unique<CExportEventSet>(strings, u"Pit", pit.Get(), 0, 100 * kS, 0));
    return CommitStep(step);
  };
  // Into a file of the same outing without events: both come in, added in
  // analysis, so that they can be removed again.
  TarnDataSet bare = SampleDataSet();
  bare.events.clear();
  path_ = Write(bare, "bare.trn");
  Reopen();
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
