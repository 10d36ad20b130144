#include "outing/events/event_set.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "outing/data_block_test_util.h"
#include "support/got.h"
#include "outing/events/event_search.h"
#include "outing/events/events_factory.h"
#include "support/data_listener.h"
#include "support/fixtures.h"
#include "velmar/data_factory.h"

namespace velmar {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::Got;

EventRecordPtr Record(const std::u16string& name, KivTime time, uint32_t category = kEventAddedInAnalysis) {
  auto record = std::make_shared<CCachedEventData>();
  record->name = name;
  record->time = time;
  record->category = category;
  record->source = u"Driver";
  record->message = u"msg " + name;
  return record;
}

const std::string kChangedWhole = "changed:" + std::to_string(kTimeMin) + ":" + std::to_string(kTimeMax);

ComPtr<CEventSet> MakeSet(std::vector<KivTime> times, KivTime offset = 0, ComPtr<IKivSelectionRange> range = {}) {
  std::vector<EventRecordPtr> records;
  for (KivTime t : times) records.push_back(Record(u"Pit", t));
  auto set = MakeKiv<CEventSet>(u"Pit", MakeEventReferences(records, offset), std::move(range), offset);
  set->Bind();
  return set;
}

ComPtr<IKivEventsIterator> IteratorOf(CEventSet* set) {
  return Got(set, &CEventSet::GetIterator);
}

// The event at a 1-based index of the iterator's list.
ComPtr<IKivEvent> EventAt(IKivEventsIterator* iterator, int32_t index) {
  ComPtr<IKivEvents> events;
  EXPECT_EQ(iterator->GetEvents(events.Put()), S_OK);
  ComPtr<IKivEvent> event;
  if (events) {
    EXPECT_EQ(events->GetEvent(index, event.Put()), S_OK);
  }
  return event;
}

TEST(EventSet, EventsComeInTimeOrderWithTheirRecordFields) {
  auto set = MakeSet({30, 10, 20});
  auto iterator = IteratorOf(set.Get());
  ASSERT_EQ(Got(Got(iterator, &IKivEventsIterator::GetEvents), &IKivEvents::GetCount), 3u);
  std::vector<KivTime> times;
  for (int32_t i = 1; i <= 3; ++i) times.push_back(Got(EventAt(iterator.Get(), i), &IKivEvent::GetTime));
  EXPECT_THAT(times, ElementsAre(10, 20, 30));
  ComPtr<IKivEvent> first = EventAt(iterator.Get(), 1);
  EXPECT_EQ(Got(first, &IKivEvent::GetName), u"Pit");
  EXPECT_EQ(Got(first, &IKivEvent::GetSource), u"Driver");
  EXPECT_EQ(Got(first, &IKivEvent::GetCategory), kEventAddedInAnalysis);
  EXPECT_EQ(first->GetName(nullptr), E_POINTER);
}

TEST(EventSet, ListAndEventObjectsFollowTheIndexRules) {
  auto set = MakeSet({1, 2});
  ComPtr<IKivEvents> events;
  ASSERT_EQ(IteratorOf(set.Get())->GetEvents(events.Put()), S_OK);
  ComPtr<IKivEvent> event, again;
  EXPECT_EQ(events->GetEvent(0, event.Put()), DISP_E_BADINDEX);
  EXPECT_EQ(events->GetEvent(3, event.Put()), DISP_E_BADINDEX);
  ASSERT_EQ(events->GetEvent(2, event.Put()), S_OK);
  ASSERT_EQ(events->GetEvent(2, again.Put()), S_OK);
  EXPECT_EQ(event.Get(), again.Get()) << "the same object while a client holds it";
  EXPECT_EQ(IteratorOf(set.Get()), IteratorOf(set.Get())) << "one iterator per set";
  EXPECT_EQ(set->GetIterator(nullptr), E_POINTER);
  set = MakeSet({});
  ASSERT_EQ(IteratorOf(set.Get())->GetEvents(events.Put()), S_FALSE) << "an empty set gives its list with S_FALSE";
  ASSERT_TRUE(events);
  int32_t index = 5;
  EXPECT_EQ(IteratorOf(set.Get())->FindEvent(0, 0, 0, &index), S_FALSE);
  EXPECT_EQ(index, 0);
  EXPECT_EQ(Got(set, &CEventSet::GetDetailedStatus), kDetailNoSamples);
}

TEST(EventSet, PayloadsAreCopiedOutAndATextSourceEventHasNone) {
  auto text = MakeSet({5});
  std::vector<uint8_t> bytes{1, 2};
  EXPECT_EQ(EventAt(IteratorOf(text.Get()).Get(), 1)->GetData(&bytes), S_FALSE);
  EXPECT_TRUE(bytes.empty());
  EXPECT_EQ(EventAt(IteratorOf(text.Get()).Get(), 1)->GetFixedData(&bytes), S_FALSE);
  auto record = std::make_shared<CCachedEventData>();
  record->name = u"Alarm";
  record->data = std::vector<uint8_t>{7, 8, 9};
  record->fixedData.emplace();
  (*record->fixedData)[31] = 0xAB;
  auto set = MakeKiv<CEventSet>(u"Alarm", MakeEventReferences({record}, 0), nullptr, 0);
  ComPtr<IKivEvent> event = EventAt(IteratorOf(set.Get()).Get(), 1);
  EXPECT_THAT(Got(event, &IKivEvent::GetData), ElementsAre(7, 8, 9));
  bytes = Got(event, &IKivEvent::GetFixedData);
  ASSERT_EQ(bytes.size(), kEventFixedDataSize);
  EXPECT_EQ(bytes[31], 0xAB);
}

TEST(EventSet, FindEventThroughTheIteratorRangeOneWithinTheSelection) {
  auto set = MakeSet({1, 2, 2, 3});
  auto iterator = IteratorOf(set.Get());
  int32_t index = 0;
  ASSERT_EQ(iterator->FindEvent(2, kFindEventNext, 0, &index), S_OK);
  EXPECT_EQ(index, 4);
  EXPECT_EQ(iterator->FindEvent(2, 3, 0, &index), E_INVALIDARG);
  EXPECT_EQ(iterator->FindEvent(2, 0, 2, &index), E_INVALIDARG);
  EXPECT_EQ(iterator->FindEvent(2, 0, 0, nullptr), E_POINTER);
  EXPECT_EQ(iterator->FindEvent(2, 0, 1, &index), E_FAIL) << "range 1 needs a selection";
  set = MakeSet({0, 10, 20, 30}, 0, testing::Selection(5, 25));
  iterator = IteratorOf(set.Get());
  ASSERT_EQ(iterator->FindEvent(0, kFindEventNearest, 1, &index), S_OK);
  EXPECT_EQ(index, 2);
  EXPECT_EQ(iterator->FindEvent(20, kFindEventNext, 1, &index), S_FALSE);
  ASSERT_EQ(iterator->FindEvent(20, kFindEventNext, 0, &index), S_OK);
  EXPECT_EQ(index, 4);
}

TEST(EventSet, ATimeOffsetMovesTheEventsNotTheRecordsAndIsReportedOnceIterated) {
  std::vector<EventRecordPtr> records{Record(u"Pit", 100)};
  auto set = MakeKiv<CEventSet>(u"Pit", MakeEventReferences(records, 0), nullptr, 0);
  set->Bind();
  std::vector<std::string> log;
  testing::CDataListener listener(&log);
  ASSERT_TRUE(listener.Connect(set->AsData(), /*internal=*/false));
  ASSERT_EQ(set->SetTimeOffset(5), S_OK);
  EXPECT_THAT(log, IsEmpty()) << "without an iterator nothing is told";
  auto iterator = IteratorOf(set.Get());
  ASSERT_EQ(set->SetTimeOffset(50), S_OK);
  EXPECT_THAT(log, ElementsAre(kChangedWhole));
  EXPECT_EQ(Got(EventAt(iterator.Get(), 1), &IKivEvent::GetTime), 150);
  EXPECT_EQ(records[0]->time, 100) << "the record stays as loaded";
  int32_t index = 0;
  ASSERT_EQ(iterator->FindEvent(150, kFindEventNearest, 0, &index), S_OK);
  EXPECT_EQ(index, 1);
  listener.Disconnect();
}

TEST(EventSet, AnEventOutlivesItsDetachedSet) {
  auto set = MakeSet({7});
  std::vector<std::string> log;
  testing::CDataListener listener(&log);
  ASSERT_TRUE(listener.Connect(set->AsData(), /*internal=*/false));
  ComPtr<IKivEvent> event = EventAt(IteratorOf(set.Get()).Get(), 1);
  set->Detach();
  EXPECT_THAT(log, ElementsAre("removed"));
  listener.Disconnect();
  set = nullptr;
  EXPECT_EQ(Got(event, &IKivEvent::GetTime), 7);
}

// The factory facet on its own object, as an outing holds it.
class TestEventsFactory final : public KivObject<COutingEventsFactoryBase<>> {};

TEST(EventsFactory, ALoadReplacesEverySetAndReportsRemovedThenAdded) {
  auto factory = MakeKiv<TestEventsFactory>();
  EventRecordMap first{{u"Pit", {Record(u"Pit", 1)}}, {u"End of lap", {Record(u"End of lap", 2)}}};
  NameChanges changes = factory->LoadEventSets(first, nullptr, 0);
  EXPECT_THAT(changes.removed, IsEmpty());
  EXPECT_THAT(changes.added, ElementsAre(u"End of lap", u"Pit"));
  ComPtr<IKivEventSet> pit;
  ASSERT_EQ(factory->GetItem(u"Pit", pit.Put()), S_OK);
  std::vector<std::string> log;
  testing::CDataListener listener(&log);
  ASSERT_TRUE(listener.Connect(pit.Get(), /*internal=*/false));

  changes = factory->LoadEventSets({{u"Flag", {Record(u"Flag", 3)}}}, nullptr, 10);
  EXPECT_THAT(changes.removed, ElementsAre(u"End of lap", u"Pit"));
  EXPECT_THAT(changes.added, ElementsAre(u"Flag"));
  EXPECT_THAT(log, ElementsAre("removed")) << "a set that goes tells its clients";
  ComPtr<IKivEventSet> gone;
  EXPECT_EQ(factory->GetItem(u"Pit", gone.Put()), E_INVALIDARG);
  EXPECT_EQ(factory->GetItem(u"Pit", nullptr), E_POINTER);
  ASSERT_EQ(factory->GetItem(u"Flag", gone.Put()), S_OK);
  EXPECT_EQ(factory->Find(u"Flag")->time_offset(), 10);
  EXPECT_THAT(Got(factory, &TestEventsFactory::GetNames), ElementsAre(u"Flag"));
  ASSERT_EQ(factory->SetTimeOffset(20), S_OK);
  EXPECT_EQ(factory->Find(u"Flag")->time_offset(), 20);
  EXPECT_THAT(factory->DiscardEventSets(), ElementsAre(u"Flag"));
}

struct Found {
  KivResult result;
  int32_t index;
};

// Searches `times` over their own span, or over [lo, hi] when given.
Found Search(const std::vector<KivTime>& times, KivTime t, uint32_t mode, std::optional<KivTime> lo = {},
             std::optional<KivTime> hi = {}) {
  int32_t index = -1;
  const KivResult r = FindEventIndex(
      times.size(), [&](size_t i) { return times[i]; }, t, mode, lo.value_or(times.front()),
      hi.value_or(times.back()), &index);
  return {r, index};
}

TEST(FindEvent, EachFixtureCase) {
  const std::map<std::string, uint32_t> modes{{"next after", 0}, {"last before", 1}, {"nearest", 2}};
  for (const auto table = testing::Fixture("outing/event_search.json"); const auto& c : table["cases"]) {
    const auto bound = [](const nlohmann::json& v) {
      return v.is_null() ? std::nullopt : std::optional(v.get<KivTime>());
    };
    const Found f = Search(c[0].get<std::vector<KivTime>>(), c[1].get<KivTime>(), modes.at(c[2].get<std::string>()),
                           bound(c[3]), bound(c[4]));
    EXPECT_EQ(ResultName(f.result), c[5].get<std::string>()) << c;
    if (!c[6].is_null()) {
      EXPECT_EQ(f.index, c[6].get<int32_t>()) << c;
    }
  }
}

TEST(FindEvent, ALongListAndBadArguments) {
  std::vector<KivTime> times;
  for (KivTime t = 0; t < 100000; ++t) times.push_back(t * 4);
  EXPECT_EQ(Search(times, 4 * 777 + 1, 0).index, 779);
  EXPECT_EQ(Search(times, 4 * 777 + 1, 2).index, 778);
  int32_t index = 7;
  EXPECT_EQ(FindEventIndex(1, [](size_t) { return KivTime{0}; }, 0, 3, 0, 0, &index), E_INVALIDARG);
  EXPECT_EQ(index, 0);
  EXPECT_EQ(FindEventIndex(1, [](size_t) { return KivTime{0}; }, 0, 0, 0, 0, nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar
