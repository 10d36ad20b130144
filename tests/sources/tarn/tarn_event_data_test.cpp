#include "sources/tarn/tarn_event_data.h"

#include <gtest/gtest.h>

#include <vector>

namespace velmar {
namespace {

const uint8_t kFixed[kTarnEventFixedDataSize] = {1, 2, 3};
const uint8_t kPayload[] = {9, 8, 7, 6};

TarnEventRecord Event(KivTime t) {
  TarnEventRecord r{};
  r.id = static_cast<uint64_t>(t);
  r.time = t;
  r.name = u"Pit";
  r.source = u"Logger";
  r.message = u"in";
  r.fixedData = kFixed;
  return r;
}

TEST(CachedEvents, EveryFieldIsCopiedOutOfTheRecords) {
  std::vector<TarnEventRecord> records{Event(5), Event(7)};
  records[1].payload = kPayload;
  records[1].payloadSize = sizeof kPayload;
  records[1].kind = 1;
  std::vector<EventRecordPtr> events = CachedEvents(records);
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0]->time, 5);
  EXPECT_EQ(events[0]->name, u"Pit");
  EXPECT_EQ(events[0]->source, u"Logger");
  EXPECT_EQ(events[0]->message, u"in");
  EXPECT_FALSE(events[0]->data);  // no payload: the event says it has none
  EXPECT_EQ((*events[0]->fixedData)[2], 3);
  EXPECT_EQ(events[1]->data, (std::vector<uint8_t>{9, 8, 7, 6}));
  EXPECT_EQ(events[1]->category, 1u);
  EXPECT_EQ(events[1]->id, 7u);
}

TEST(CachedEvents, OneBadRecordGivesNoEventsAtAll) {
  auto spoiled = [](auto spoil) {
    std::vector<TarnEventRecord> records{Event(1), Event(2)};
    spoil(records[1]);
    return CachedEvents(records).empty() && !ValidEventRecords(records);
  };
  EXPECT_TRUE(spoiled([](TarnEventRecord& r) { r.name = nullptr; }));
  EXPECT_TRUE(spoiled([](TarnEventRecord& r) { r.source = nullptr; }));
  EXPECT_TRUE(spoiled([](TarnEventRecord& r) { r.message = nullptr; }));
  EXPECT_TRUE(spoiled([](TarnEventRecord& r) { r.fixedData = nullptr; }));
  EXPECT_TRUE(spoiled([](TarnEventRecord& r) { r.payload = kPayload; }));
  EXPECT_TRUE(spoiled([](TarnEventRecord& r) { r.payloadSize = 4; }));
  EXPECT_TRUE(spoiled([](TarnEventRecord& r) { r.kind = 2; }));
  EXPECT_FALSE(spoiled([](TarnEventRecord& r) { r.kind = 1; }));
}

}  // namespace
}  // namespace velmar
