// Events: sets made by name, occurrences read by set and time, modified and
// removed, through a fresh open.
#include "platform/store/event_table.h"

#include <gtest/gtest.h>

#include <array>

#include "platform/store/store_test_helper.h"

namespace velmar::testing {
namespace {

TarnEventRecord Event(const char16_t* name, KivTime time, uint32_t kind = 1) {
  TarnEventRecord e{};
  e.name = name;
  e.time = time;
  e.source = u"Analysis";
  e.message = u"message";
  static const std::array<uint8_t, kTarnEventFixedDataSize> kFixed{};
  e.fixedData = kFixed.data();
  e.kind = kind;
  return e;
}

class EventTableTest : public NewStoreTest {
 protected:
  std::vector<uint64_t> Add(std::vector<TarnEventRecord> events, KivResult expected = S_OK) {
    auto handle = Handle();
    std::vector<uint64_t> ids;
    EXPECT_EQ(Writer<IKivTarnEventWriter>(handle)->AddEvents(static_cast<uint32_t>(events.size()), events.data(), &ids),
              expected);
    return ids;
  }
  uint64_t SetId(const std::u16string& name) {
    for (const TarnEventName& n : EventNames())
      if (Str(n.name) == name) return n.id;
    ADD_FAILURE() << "no set";
    return 0;
  }
};

TEST_F(EventTableTest, EventsRoundTripWithPayloadAndFixedBlock) {
  std::array<uint8_t, 5> payload = {1, 2, 3, 4, 5};
  std::array<uint8_t, 32> fixed{};
  for (size_t i = 0; i < fixed.size(); ++i) fixed[i] = static_cast<uint8_t>(200 + i);
  TarnEventRecord e = Event(u"Pit", 500, 0);
  e.payload = payload.data();
  e.payloadSize = 5;
  e.fixedData = fixed.data();
  e.message = u"";
  TarnEventRecord noMessage = e, noBlock = e;
  noMessage.message = nullptr;
  noBlock.fixedData = nullptr;
  Add({noMessage}, E_INVALIDARG);  // every text is required
  Add({noBlock}, E_INVALIDARG);    // and the fixed block
  auto ids = Add({e});
  ASSERT_EQ(ids.size(), 1u);
  Reopen();
  auto names = EventNames();
  EXPECT_EQ(Column(names, &TarnEventName::name), Texts{u"Pit"});
  auto events = Events({names[0].id});
  ASSERT_EQ(events.size(), 1u);
  const TarnEventRecord& r = events[0];
  EXPECT_EQ(std::make_tuple(r.id, r.time, Str(r.name), Str(r.source), Str(r.message), r.nameId, r.kind),
            std::make_tuple(ids[0], KivTime{500}, std::u16string(u"Pit"), std::u16string(u"Analysis"),
                            std::u16string(u""), names[0].id, 0u));
  ASSERT_EQ(r.payloadSize, 5u);
  EXPECT_EQ(std::vector<uint8_t>(r.payload, r.payload + 5), std::vector<uint8_t>(payload.begin(), payload.end()));
  ASSERT_NE(r.fixedData, nullptr);
  EXPECT_EQ(std::vector<uint8_t>(r.fixedData, r.fixedData + 32), std::vector<uint8_t>(fixed.begin(), fixed.end()));
}

TEST_F(EventTableTest, ReadsAreBySetAndTimeInTimeOrder) {
  Add({Event(u"A", 30), Event(u"B", 10), Event(u"A", 10), Event(u"A", 20), Event(u"B", 40)});
  Reopen();
  uint64_t a = SetId(u"A"), b = SetId(u"B");
  EXPECT_EQ(Column(Events({a}), &TarnEventRecord::time), (std::vector<KivTime>{10, 20, 30}));
  auto window = Events({a, b}, 10, 30);
  EXPECT_EQ(Column(window, &TarnEventRecord::time), (std::vector<KivTime>{10, 10, 20, 30}));
  // Equal times keep the order they were added in.
  EXPECT_EQ(Column(window, &TarnEventRecord::name), (Texts{u"B", u"A", u"A", u"A"}));
  EXPECT_TRUE(Events({a}, 31, 39).empty());
  ComPtr<IKivTarnEventRecords> none;
  uint64_t unknown = 999;
  EXPECT_EQ(List<IKivTarnEvents>()->GetEventData(kDefaultWaitLimit, 1, &unknown, kTimeMin, kTimeMax, none.Put()),
            E_INVALIDARG);
}

TEST_F(EventTableTest, BadEventsAreRefusedAsAWhole) {
  TarnEventRecord noName = Event(nullptr, 1);
  TarnEventRecord emptyName = Event(u"", 1);
  TarnEventRecord badKind = Event(u"A", 1, 2);
  TarnEventRecord sizeWithoutPayload = Event(u"A", 1);
  sizeWithoutPayload.payloadSize = 4;
  uint8_t byte = 1;
  TarnEventRecord payloadWithoutSize = Event(u"A", 1);
  payloadWithoutSize.payload = &byte;
  for (const TarnEventRecord& bad : {noName, emptyName, badKind, sizeWithoutPayload, payloadWithoutSize}) {
    Add({Event(u"Good", 1), bad}, E_INVALIDARG);
  }
  Reopen();
  EXPECT_TRUE(EventNames().empty());
}

// Modify moves an event to another set, remove takes events out; a set
// that empties goes; an unknown id refuses the whole step.
TEST_F(EventTableTest, ModifyAndRemoveTakeEventsAndEmptySetsGo) {
  auto ids = Add({Event(u"Old", 5), Event(u"Keep", 6), Event(u"A", 1), Event(u"A", 2), Event(u"B", 3)});
  auto handle = Handle();
  auto writer = Writer<IKivTarnEventWriter>(handle);
  TarnEventRecord moved = Event(u"New", 7);
  moved.id = ids[0];
  moved.message = u"changed";
  ASSERT_EQ(writer->ModifyEvents(1, &moved), S_OK);
  moved.id = 12345;
  EXPECT_EQ(writer->ModifyEvents(1, &moved), E_INVALIDARG);
  uint64_t both[2] = {ids[2], ids[4]};
  ASSERT_EQ(writer->RemoveEvents(2, both), S_OK);
  uint64_t mixed[2] = {ids[3], 777};
  EXPECT_EQ(writer->RemoveEvents(2, mixed), E_INVALIDARG);
  ASSERT_EQ(handle->Commit(), S_OK);
  Reopen();
  EXPECT_EQ(EventNames().size(), 3u) << "Old and B went as they emptied";
  auto events = Events({SetId(u"New")});
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].time, 7);
  EXPECT_EQ(Str(events[0].message), u"changed");
  EXPECT_EQ(Column(Events({SetId(u"A")}), &TarnEventRecord::id), std::vector<uint64_t>{ids[3]});
  EXPECT_EQ(Events({SetId(u"Keep")}).size(), 1u);
}

}  // namespace
}  // namespace velmar::testing
