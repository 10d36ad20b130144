#include "sources/tarn/tarn_channel_data.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "sources/tarn/tarn_channel_list.h"
#include "sources/tarn/tarn_event_data.h"
#include "sources/tarn/tarn_lap_data.h"
#include "sources/tarn/tarn_media_data.h"
#include "sources/tarn/tarn_properties.h"
#include "support/fixtures.h"

namespace velmar {
namespace {

const int64_t kPeriod = 100;

TarnChannelData Periodic(KivTime first, const void* samples, int32_t count) {
  TarnChannelData d{};
  d.times = &kPeriod;
  d.firstTime = first;
  d.samples = samples;
  d.count = count;
  d.periodic = 1;
  return d;
}

TarnChannelData Aperiodic(const int64_t* times, const void* samples, int32_t count) {
  TarnChannelData d{};
  d.times = times;
  d.firstTime = times[0];
  d.samples = samples;
  d.count = count;
  return d;
}

template <class T>
std::vector<double> Widened(uint32_t type, std::vector<T> in) {
  LockedArray<double> out = SamplesAsDoubles(in.data(), static_cast<uint32_t>(in.size()), type);
  return {out.view().begin(), out.view().end()};
}

TEST(SamplesAsDoubles, EverySampleTypeWidensWithItsSign) {
  EXPECT_EQ(Widened<uint8_t>(0, {0, 255}), (std::vector<double>{0, 255}));
  EXPECT_EQ(Widened<uint16_t>(1, {1, 65535}), (std::vector<double>{1, 65535}));
  EXPECT_EQ(Widened<uint32_t>(2, {4000000000u}), (std::vector<double>{4000000000.0}));
  EXPECT_EQ(Widened<int8_t>(3, {-128, 127}), (std::vector<double>{-128, 127}));
  EXPECT_EQ(Widened<int16_t>(4, {-32768}), (std::vector<double>{-32768}));
  EXPECT_EQ(Widened<int32_t>(5, {-2000000000}), (std::vector<double>{-2000000000.0}));
  EXPECT_EQ(Widened<float>(6, {1.5f, -0.25f}), (std::vector<double>{1.5, -0.25}));
  EXPECT_EQ(Widened<double>(7, {1e300}), (std::vector<double>{1e300}));
  EXPECT_TRUE(Widened<double>(8, {1.0}).empty());
}

TEST(SamplesAsDoubles, UnalignedSamplesAreRead) {
  std::vector<unsigned char> bytes(1 + sizeof(double));
  double v = 3.25;
  std::memcpy(bytes.data() + 1, &v, sizeof v);
  LockedArray<double> out = SamplesAsDoubles(bytes.data() + 1, 1, 7);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(out.view()[0], 3.25);
}

TEST(ChannelBlocks, PeriodicAndAperiodicBlocksKeepTheirSpacingAndFlag) {
  std::vector<int16_t> a{1, 2, 3};
  std::vector<int64_t> times{1000, 1500, 4000};
  std::vector<int16_t> b{7, 8, 9};
  std::vector<TarnChannelData> records{Periodic(0, a.data(), 3), Aperiodic(times.data(), b.data(), 3)};
  records[1].continuous = 1;
  ChannelSections blocks = ChannelBlocks(records, 4);
  ASSERT_EQ(blocks.size(), 2u);
  const DataSection& p = *blocks[0].data;
  EXPECT_TRUE(p.periodic());
  EXPECT_EQ(p.firstTime(), 0);
  EXPECT_EQ(p.lastTime(), 200);  // first + period x (count - 1)
  EXPECT_EQ(p.interval(), kPeriod);
  EXPECT_EQ(p.values().view()[2], 3.0);
  EXPECT_FALSE(blocks[0].continuous);
  const DataSection& q = *blocks[1].data;
  EXPECT_FALSE(q.periodic());
  EXPECT_EQ(q.interval(), 0);
  EXPECT_EQ(q.lastTime(), 4000);
  EXPECT_EQ(q.Times().view()[1], 1500);
  EXPECT_EQ(q.values().view()[0], 7.0);
  EXPECT_TRUE(blocks[1].continuous);
}

TEST(ChannelBlocks, OneBadRecordSpoilsTheWholeRead) {
  std::vector<double> v{1, 2};
  std::vector<int64_t> times{10, 20};
  auto spoiled = [&](auto spoil) {
    std::vector<TarnChannelData> records{Periodic(0, v.data(), 2), Aperiodic(times.data(), v.data(), 2)};
    spoil(records[1]);
    return ChannelBlocks(records, 7).empty();
  };
  EXPECT_FALSE(spoiled([](TarnChannelData&) {}));
  EXPECT_TRUE(spoiled([](TarnChannelData& d) { d.count = 0; }));
  EXPECT_TRUE(spoiled([](TarnChannelData& d) { d.count = -1; }));
  EXPECT_TRUE(spoiled([](TarnChannelData& d) { d.samples = nullptr; }));
  EXPECT_TRUE(spoiled([](TarnChannelData& d) { d.times = nullptr; }));
  EXPECT_TRUE(spoiled([](TarnChannelData& d) { d.firstTime = 11; }));
}

TEST(ChannelBlocks, RecordsNoSectionCanHoldGiveNoBlocks) {
  std::vector<double> v{1, 2};
  const int64_t zero = 0;
  TarnChannelData d = Periodic(0, v.data(), 2);
  d.times = &zero;
  EXPECT_TRUE(ChannelBlocks({&d, 1}, 7).empty());
  std::vector<int64_t> falling{20, 10};
  TarnChannelData f = Aperiodic(falling.data(), v.data(), 2);
  EXPECT_TRUE(ChannelBlocks({&f, 1}, 7).empty());
}

TEST(ChannelBlocks, NoRecordsGiveNoBlocks) { EXPECT_TRUE(ChannelBlocks({}, 7).empty()); }

TarnChannelDescription Record(uint64_t id, const char16_t* tag, int32_t quantity, uint32_t sampleType = 7) {
  TarnChannelDescription d{};
  d.id = id;
  d.tagName = tag;
  d.quantityId = quantity;
  d.sampleType = sampleType;
  return d;
}

TEST(BuildChannelMap, BracketsInATagNameBecomeUnderscoresInTheKey) {
  std::vector<TarnChannelDescription> records{Record(1, u"T[1]", 0)};
  EXPECT_TRUE(BuildChannelMap(records, 21).contains(u"[0]T_1_"));
}

TEST(BuildChannelMap, ReadableRecordsAreKeyedByTheirKeyText) {
  std::vector<TarnChannelDescription> records{Record(10, u"Speed", 3, 6), Record(11, u"Rpm", 7, 2)};
  TarnChannelMap map = BuildChannelMap(records, 21);
  ASSERT_EQ(map.size(), 2u);
  EXPECT_EQ(map.at(u"[3]Speed"), (TarnChannelEntry{10, 6}));
  EXPECT_EQ(map.at(u"[7]Rpm"), (TarnChannelEntry{11, 2}));
}

TEST(BuildChannelMap, TheFirstOfTwoRecordsWithOneKeyIsKept) {
  std::vector<TarnChannelDescription> records{Record(1, u"Speed", 3), Record(2, u"Speed", 3), Record(3, u"Speed", 4)};
  TarnChannelMap map = BuildChannelMap(records, 21);
  EXPECT_EQ(map.size(), 2u);
  EXPECT_EQ(map.at(u"[3]Speed").id, 1u);
}

TEST(BuildChannelMap, UnreadableRecordsAreSkippedAndTheOthersRead) {
  std::vector<TarnChannelDescription> records{Record(1, nullptr, 3), Record(2, u"", 3), Record(3, u"Neg", -1),
                                              Record(4, u"Eight", 3, 8), Record(5, u"Good", 3, 0)};
  TarnChannelMap map = BuildChannelMap(records, 21);
  ASSERT_EQ(map.size(), 1u);
  EXPECT_EQ(map.begin()->first, u"[3]Good");
}

TEST(BuildChannelMap, AQuantityAboveTheLargestKnownIsReadAsZero) {
  std::vector<TarnChannelDescription> records{Record(1, u"Odd", 22), Record(2, u"Known", 21)};
  TarnChannelMap map = BuildChannelMap(records, 21);
  EXPECT_TRUE(map.contains(u"[0]Odd"));
  EXPECT_TRUE(map.contains(u"[21]Known"));
}

TEST(ReconcileChannelList, RemovedReplacedKeptAndAddedNamesAreToldApart) {
  std::map<std::u16string, uint64_t> held{{u"[0]Gone", 1}, {u"[0]Kept", 2}, {u"[0]Moved", 3}};
  TarnChannelMap read{{u"[0]Kept", {2, 7}}, {u"[0]Moved", {9, 7}}, {u"[0]New", {4, 7}}};
  TarnChannelListChange change = ReconcileChannelList(held, read);
  EXPECT_EQ(change.removed, NameList{u"[0]Gone"});
  EXPECT_EQ(change.replaced, NameList{u"[0]Moved"});
  EXPECT_EQ(change.kept, NameList{u"[0]Kept"});
  EXPECT_EQ(change.added, (NameList{u"[0]Moved", u"[0]New"}));
}

TEST(ReconcileChannelList, AFirstListAddsEverything) {
  TarnChannelMap read{{u"[0]A", {1, 7}}, {u"[0]B", {2, 7}}};
  TarnChannelListChange change = ReconcileChannelList({}, read);
  EXPECT_TRUE(change.removed.empty());
  EXPECT_TRUE(change.kept.empty());
  EXPECT_EQ(change.added.size(), 2u);
}

TarnLapMarker Marker(KivTime base, KivTime offset = 0, double origin = 0.0) {
  TarnLapMarker m{};
  m.baseTime = base;
  m.timeOffset = offset;
  m.distanceOrigin = origin;
  return m;
}

TEST(TakeLapData, MarkersInTheSpanAreTakenWithTheFirstOrigin) {
  std::vector<TarnLapMarker> markers{Marker(10, 2, 150.5), Marker(50, 0, 9.0)};
  TarnLapData data;
  ASSERT_TRUE(TakeLapData(0, 100, S_OK, 5, 95, markers, &data));
  EXPECT_EQ(data.span.outingStart, 0);
  EXPECT_EQ(data.span.outingEnd, 100);
  ASSERT_TRUE(data.span.movement);
  EXPECT_EQ(data.span.movement->first, 5);
  EXPECT_EQ(data.distanceOrigin, 150.5);
  EXPECT_EQ(data.MarkerTimes(), (std::vector<KivTime>{12, 50}));
}

TEST(TakeLapData, NoMovementRangeIsNoFailure) {
  TarnLapData data;
  ASSERT_TRUE(TakeLapData(0, 100, S_FALSE, 0, 0, {}, &data));
  EXPECT_FALSE(data.span.movement);
  EXPECT_EQ(data.distanceOrigin, 0.0);
  ASSERT_TRUE(TakeLapData(0, 100, E_FAIL, 70, 3, {}, &data));
  EXPECT_FALSE(data.span.movement);
}

TEST(TakeLapData, AnswersThatDoNotHoldTogetherFail) {
  TarnLapData data;
  data.distanceOrigin = 42.0;
  EXPECT_FALSE(TakeLapData(100, 99, S_FALSE, 0, 0, {}, &data));
  EXPECT_FALSE(TakeLapData(0, 100, S_OK, 60, 50, {}, &data));
  std::vector<TarnLapMarker> nan{Marker(10, 0, std::numeric_limits<double>::quiet_NaN())};
  EXPECT_FALSE(TakeLapData(0, 100, S_FALSE, 0, 0, nan, &data));
  std::vector<TarnLapMarker> late{Marker(10), Marker(101)};
  EXPECT_FALSE(TakeLapData(0, 100, S_FALSE, 0, 0, late, &data));
  std::vector<TarnLapMarker> early{Marker(-1)};
  EXPECT_FALSE(TakeLapData(0, 100, S_FALSE, 0, 0, early, &data));
  EXPECT_EQ(data.distanceOrigin, 42.0) << "a failed take leaves the data as it was";
}

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

TEST(TarnMediaDataTest, ChannelsNeedANameAndTheFirstOfANameCounts) {
  TarnMediaChannelRecord records[4] = {};
  records[0] = {7, u"Cam", 1, 2, 2, 2, 1, 0, 42};
  records[1] = {8, u"", 1, 1, 2, 2, 1, 0, 0};
  records[2] = {9, nullptr, 1, 1, 2, 2, 1, 0, 0};
  records[3] = {10, u"Cam", 1, 3, 2, 2, 1, 5, 0};
  TarnMediaChannelMap map = MediaChannelMap(records);
  ASSERT_EQ(map.size(), 1u);
  EXPECT_EQ(map.at(u"Cam").id, 7u);
  EXPECT_EQ(map.at(u"Cam").type, 2u);
  EXPECT_EQ(map.at(u"Cam").last, 42u);
}

TEST(TarnMediaDataTest, ClipsAreTakenAllOrNothing) {
  const TarnMediaFrame frames[1] = {{5, 1, {}}};
  TarnMediaClipRecord good = {1, u"a.mp4", 3, 0, 10, 20, 1, {}, frames};
  std::vector<TarnMediaClip> clips;
  ASSERT_TRUE(TakeMediaClips(std::span(&good, 1), &clips));
  ASSERT_EQ(clips.size(), 1u);
  EXPECT_EQ(clips[0].frames[0].time, 5);
  for (auto spoil : {+[](TarnMediaClipRecord& r) { r.path = u""; }, +[](TarnMediaClipRecord& r) { r.frameCount = 0; },
                     +[](TarnMediaClipRecord& r) { r.frames = nullptr; }, +[](TarnMediaClipRecord& r) { r.end = 9; }}) {
    TarnMediaClipRecord pair[2] = {good, good};
    spoil(pair[1]);
    EXPECT_FALSE(TakeMediaClips(pair, &clips));
    EXPECT_TRUE(clips.empty());
  }
}

namespace p = tarn_property;
constexpr double kNow = 45000.0;  // a fixed "present" for the date rule

TarnOutingRecord FullRecord() {
  TarnOutingRecord r{};
  r.fastLapTime = 92 * kTicksPerSecond;
  r.createDate = 44000.25;
  r.trackName = u"Lakeside";
  r.driverName = u"A. Driver";
  r.shortComment = u"short";
  r.longComment = u"long";
  r.timeZone = u"CET";
  r.systemDetails = u"logger 3";
  r.carName = u"Car 7";
  r.sessionNumber = 4;
  r.outingNumber = 9;
  r.firstLapNumber = 1;
  r.fastLapNumber = 3;
  r.lastLapNumber = 12;
  r.datasetType = 2;
  r.utcDifference = 60;
  r.engineTest = 1;
  return r;
}

const Variant* Find(const TarnPropertyMap& map, std::u16string_view name) {
  auto it = map.find(std::u16string(name));
  return it == map.end() ? nullptr : &it->second;
}

TEST(OutingProperties, EveryFieldThatPassesItsRuleIsTakenWithItsType) {
  TarnPropertyMap map = OutingProperties(FullRecord(), kNow);
  EXPECT_EQ(map.size(), 17u);
  EXPECT_EQ(Find(map, p::kFastLapTime)->AsTime(), 92 * kTicksPerSecond);
  EXPECT_EQ(Find(map, p::kCreateDate)->AsF64(), 44000.25);
  EXPECT_EQ(*Find(map, p::kTrackName)->AsText(), u"Lakeside");
  EXPECT_EQ(*Find(map, p::kCarName)->AsText(), u"Car 7");
  EXPECT_EQ(*Find(map, p::kSystemDetails)->AsText(), u"logger 3");
  EXPECT_EQ(Find(map, p::kSessionNumber)->AsU32(), 4u);
  EXPECT_EQ(Find(map, p::kOutingNumber)->AsU32(), 9u);
  EXPECT_EQ(Find(map, p::kFastLapNumber)->AsU32(), 3u);
  EXPECT_EQ(Find(map, p::kLastLapNumber)->AsU32(), 12u);
  EXPECT_EQ(Find(map, p::kDatasetType)->AsU32(), 2u);
  EXPECT_EQ(Find(map, p::kUtcDifference)->AsI32(), 60);
  EXPECT_EQ(Find(map, p::kEngineTest)->AsBool(), true);
}

TEST(OutingProperties, NullTextsAreLeftOutButEmptyTextsAreKept) {
  TarnOutingRecord r = FullRecord();
  r.trackName = nullptr;
  r.carName = u"";
  TarnPropertyMap map = OutingProperties(r, kNow);
  EXPECT_EQ(Find(map, p::kTrackName), nullptr);
  ASSERT_NE(Find(map, p::kCarName), nullptr);
  EXPECT_EQ(*Find(map, p::kCarName)->AsText(), u"");
}

TEST(OutingProperties, CreateDateMustBeAfterTheEarliestAndLessThanAWeekAhead) {
  TarnOutingRecord r = FullRecord();
  auto taken = [&](double date) {
    r.createDate = date;
    return Find(OutingProperties(r, kNow), p::kCreateDate) != nullptr;
  };
  EXPECT_FALSE(taken(33000.0));
  EXPECT_TRUE(taken(33000.001));
  EXPECT_TRUE(taken(kNow + 6.99));
  EXPECT_FALSE(taken(kNow + 7.0));
  EXPECT_FALSE(taken(kNow + 30.0));
}

TEST(OutingProperties, UtcDifferenceIsTakenWithinTwelveHoursOnly) {
  TarnOutingRecord r = FullRecord();
  for (int32_t minutes : {720, -720, 0}) {
    r.utcDifference = minutes;
    EXPECT_EQ(Find(OutingProperties(r, kNow), p::kUtcDifference)->AsI32(), minutes);
  }
  for (int32_t minutes : {721, -721}) {
    r.utcDifference = minutes;
    EXPECT_EQ(Find(OutingProperties(r, kNow), p::kUtcDifference), nullptr) << minutes;
  }
}

TEST(OutingProperties, FastLapOutsideTheLapRangeLeavesOutBothFastLapProperties) {
  TarnOutingRecord r = FullRecord();
  for (uint32_t fast : {0u, 13u}) {
    r.fastLapNumber = fast;
    TarnPropertyMap map = OutingProperties(r, kNow);
    EXPECT_EQ(Find(map, p::kFastLapNumber), nullptr) << fast;
    EXPECT_EQ(Find(map, p::kFastLapTime), nullptr) << fast;
  }
  r.fastLapNumber = 12;  // the last lap counts
  EXPECT_NE(Find(OutingProperties(r, kNow), p::kFastLapTime), nullptr);
}

TEST(OutingProperties, LastLapBelowTheFirstIsLeftOutAndSoIsTheFastLap) {
  TarnOutingRecord r = FullRecord();
  r.firstLapNumber = 5;
  r.lastLapNumber = 4;
  r.fastLapNumber = 5;
  TarnPropertyMap map = OutingProperties(r, kNow);
  EXPECT_EQ(Find(map, p::kLastLapNumber), nullptr);
  EXPECT_EQ(Find(map, p::kFastLapNumber), nullptr);
  EXPECT_EQ(Find(map, p::kFirstLapNumber)->AsU32(), 5u);
}

TEST(OutingProperties, DatasetTypeAboveTwoIsLeftOutAndEngineTestIsAlwaysThere) {
  TarnOutingRecord r = FullRecord();
  r.datasetType = 3;
  r.engineTest = 0;
  TarnPropertyMap map = OutingProperties(r, kNow);
  EXPECT_EQ(Find(map, p::kDatasetType), nullptr);
  EXPECT_EQ(Find(map, p::kEngineTest)->AsBool(), false);
}

TEST(OutingProperties, TheClockIsTodayInDaysSince1899) {
  // 2020-01-01 is day 43831; any machine running this is later than that.
  EXPECT_GT(NowAsOleDate(), 43831.0);
  EXPECT_LT(NowAsOleDate(), 43831.0 + 365.0 * 100);
}

TEST(FindFastLap, EachFixtureCase) {
  constexpr KivTime kS = kTicksPerSecond;
  for (const auto table = testing::Fixture("sources/tarn_fast_lap.json"); const auto& c : table["cases"]) {
    std::vector<KivTime> markers;
    for (const auto& m : c[0]) markers.push_back(m.get<KivTime>() * kS);
    TarnLapSpan span{};
    if (!c[1].is_null()) {
      span = {c[1][0].get<KivTime>() * kS, c[1][1].get<KivTime>() * kS, std::nullopt};
      if (!c[1][2].is_null()) {
        span.movement = std::pair{c[1][2].get<KivTime>() * kS, c[1][3].get<KivTime>() * kS};
      }
    }
    const auto fast = FindFastLap(markers, span, c[2].get<KivTime>() * kS);
    ASSERT_EQ(fast.has_value(), !c[3].is_null()) << c;
    if (!fast) continue;
    if (!c[3][0].is_null()) {
      EXPECT_EQ(fast->index, c[3][0].get<uint32_t>()) << c;
    }
    EXPECT_EQ(fast->time, c[3][1].get<KivTime>() * kS) << c;
  }
}

}  // namespace
}  // namespace velmar
