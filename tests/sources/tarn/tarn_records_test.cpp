#include "sources/tarn/tarn_channel_data.h"

#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "sources/tarn/tarn_channel_list.h"
#include "sources/tarn/tarn_event_data.h"
#include "sources/tarn/tarn_lap_data.h"
#include "sources/tarn/tarn_media_data.h"
#include "sources/tarn/tarn_properties.h"
#include "support/fixtures.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using nlohmann::json;

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

class ChannelBlockCases : public ::testing::TestWithParam<std::filesystem::path> {};
TEST_P(ChannelBlockCases, BlocksAsTheTableSays) {
  const json c = ReadFixture(GetParam());
  std::vector<std::vector<double>> samples;
  std::vector<std::vector<int64_t>> times;
  samples.reserve(c["records"].size());
  times.reserve(c["records"].size());
  std::vector<TarnChannelData> records;
  for (const json& r : c["records"]) {
    TarnChannelData d{};
    const auto& v =
        samples.emplace_back(r["samples"].is_null() ? std::vector<double>{} : r["samples"].get<std::vector<double>>());
    d.samples = r["samples"].is_null() ? nullptr : v.data();
    d.count = r.value("count", static_cast<int32_t>(v.size()));
    d.periodic = r.contains("period");
    const json t = d.periodic ? json::array({r["period"]}) : r["times"];
    d.times = t.is_null() ? nullptr : times.emplace_back(t.get<std::vector<int64_t>>()).data();
    d.firstTime = r.value("first", t.is_null() ? KivTime{0} : t[0].get<KivTime>());
    d.continuous = r.value("continuous", 0);
    records.push_back(d);
  }
  json blocks = json::array();
  for (const auto& b : ChannelBlocks(records, 7)) {
    const DataSection& s = *b.data;
    const auto values = s.values().view();
    blocks.push_back(
        {s.periodic(), s.firstTime(), s.lastTime(), s.interval(), std::vector<double>(values.begin(), values.end()),
         s.periodic() ? json() : json(std::vector<KivTime>(s.Times().view().begin(), s.Times().view().end())),
         b.continuous});
  }
  EXPECT_EQ(blocks, c["expect"]);
}
INSTANTIATE_TEST_SUITE_P(Cases, ChannelBlockCases, FixtureCases("sources/tarn/channel_blocks"), FixtureName);

KivResult Code(const json& hex) { return static_cast<KivResult>(std::stoul(hex.get<std::string>(), nullptr, 16)); }

// Records [id, tag or null, quantity, sample type] and the map read from them.
class ChannelMapCases : public ::testing::TestWithParam<std::filesystem::path> {};
TEST_P(ChannelMapCases, KeysAsTheTableSays) {
  const json c = ReadFixture(GetParam());
  std::vector<std::u16string> tags;
  tags.reserve(c["records"].size());
  std::vector<TarnChannelDescription> records;
  for (const json& r : c["records"]) {
    TarnChannelDescription d{};
    d.id = r[0];
    if (!r[1].is_null()) d.tagName = tags.emplace_back(Utf8ToWide(r[1].get<std::string>())).c_str();
    d.quantityId = r[2];
    d.sampleType = r[3];
    records.push_back(d);
  }
  json map = json::object();
  for (const auto& [key, entry] : BuildChannelMap(records, 21)) map[WideToUtf8(key)] = {entry.id, entry.sampleType};
  EXPECT_EQ(map, c["expect"]);
}
INSTANTIATE_TEST_SUITE_P(Cases, ChannelMapCases, FixtureCases("sources/tarn/channel_maps"), FixtureName);

TEST(ReconcileChannelList, RemovedReplacedKeptAndAddedNamesAreToldApart) {
  std::map<std::u16string, uint64_t> held{{u"[0]Gone", 1}, {u"[0]Kept", 2}, {u"[0]Moved", 3}};
  TarnChannelMap read{{u"[0]Kept", {2, 7}}, {u"[0]Moved", {9, 7}}, {u"[0]New", {4, 7}}};
  TarnChannelListChange change = ReconcileChannelList(held, read);
  EXPECT_EQ(change.removed, NameList{u"[0]Gone"});
  EXPECT_EQ(change.replaced, NameList{u"[0]Moved"});
  EXPECT_EQ(change.kept, NameList{u"[0]Kept"});
  EXPECT_EQ(change.added, (NameList{u"[0]Moved", u"[0]New"}));
}

class LapDataCases : public ::testing::TestWithParam<std::filesystem::path> {};
TEST_P(LapDataCases, TakesWhatHoldsTogether) {
  const json c = ReadFixture(GetParam());
  std::vector<TarnLapMarker> markers;
  for (const json& m : c["markers"]) markers.push_back({0, m[0], m[1], FixtureNumber(m[2]), 0, 0, {}});
  TarnLapData data;
  data.distanceOrigin = 42.0;
  const json& move = c["movement"];
  ASSERT_EQ(TakeLapData(c["outing"][0], c["outing"][1], Code(move[0]), move[1], move[2], markers, &data),
            !c["expect"].is_null());
  if (c["expect"].is_null()) {
    EXPECT_EQ(data.distanceOrigin, 42.0) << "a failed take leaves the data as it was";
    return;
  }
  EXPECT_EQ(json::array({data.span.outingStart, data.span.outingEnd}), c["outing"]);
  const auto& moved = data.span.movement;
  EXPECT_EQ(moved ? json::array({moved->first, moved->second}) : json(), c["expect"]["movement"]);
  EXPECT_EQ(data.distanceOrigin, c["expect"]["origin"].get<double>());
  EXPECT_EQ(json(data.MarkerTimes()), c["expect"]["times"]);
}
INSTANTIATE_TEST_SUITE_P(Cases, LapDataCases, FixtureCases("sources/tarn/lap_data"), FixtureName);

const uint8_t kFixed[kTarnEventFixedDataSize] = {1, 2, 3};
const uint8_t kPayload[] = {9, 8, 7, 6};

TarnEventRecord Event(KivTime t) { return {static_cast<uint64_t>(t), t, u"Pit", u"Logger", u"in", nullptr, kFixed, 0, 0, 0}; }

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

// The base record with the case's fields over it; texts live in `texts`.
TarnOutingRecord RecordOf(const json& fields, std::vector<std::u16string>* texts) {
  json f = Fixture("sources/tarn/outing_record.json");
  f.merge_patch(fields);
  texts->reserve(8);
  auto text = [&](const char* key) -> const char16_t* {
    return f.contains(key) ? texts->emplace_back(Utf8ToWide(f[key].get<std::string>())).c_str() : nullptr;
  };
  TarnOutingRecord r{};
  r.fastLapTime = f["fastLapTime"].get<KivTime>() * kTicksPerSecond;
  r.createDate = f["createDate"];
  r.trackName = text("trackName");
  r.driverName = text("driverName");
  r.shortComment = text("shortComment");
  r.longComment = text("longComment");
  r.timeZone = text("timeZone");
  r.systemDetails = text("systemDetails");
  r.carName = text("carName");
  r.sessionNumber = f["sessionNumber"];
  r.outingNumber = f["outingNumber"];
  r.firstLapNumber = f["firstLapNumber"];
  r.fastLapNumber = f["fastLapNumber"];
  r.lastLapNumber = f["lastLapNumber"];
  r.datasetType = f["datasetType"];
  r.utcDifference = f["utcDifference"];
  r.engineTest = f["engineTest"];
  return r;
}

// A property as the fixtures write it: a text as such, others tagged with their kind.
json PropertyJson(const Variant& v) {
  if (v.AsText()) return WideToUtf8(*v.AsText());
  if (v.AsU32()) return {{"u32", *v.AsU32()}};
  if (v.AsI32()) return {{"i32", *v.AsI32()}};
  if (v.AsF64()) return {{"f64", *v.AsF64()}};
  if (v.AsBool()) return {{"bool", *v.AsBool()}};
  if (v.AsTime()) return {{"time", static_cast<double>(*v.AsTime()) / kTicksPerSecond}};
  return "unexpected kind";
}

// Each field is taken when it passes its rule; null in "expect" is left out.
class OutingPropertyCases : public ::testing::TestWithParam<std::filesystem::path> {};
TEST_P(OutingPropertyCases, FieldsPassTheirRules) {
  const json c = ReadFixture(GetParam());
  std::vector<std::u16string> texts;
  const TarnPropertyMap map = OutingProperties(RecordOf(c["record"], &texts), 45000.0);
  if (c.contains("count")) {
    EXPECT_EQ(map.size(), c["count"].get<size_t>());
  }
  for (const auto& [name, want] : c["expect"].items()) {
    const auto it = map.find(Utf8ToWide(name));
    EXPECT_EQ(it == map.end() ? json() : PropertyJson(it->second), want) << name;
  }
}
INSTANTIATE_TEST_SUITE_P(Cases, OutingPropertyCases, FixtureCases("sources/tarn/outing_properties"), FixtureName);

TEST(OutingProperties, TheClockIsTodayInDaysSince1899) {
  // 2020-01-01 is day 43831; any machine running this is later than that.
  EXPECT_GT(NowAsOleDate(), 43831.0);
  EXPECT_LT(NowAsOleDate(), 43831.0 + 365.0 * 100);
}

TEST(FindFastLap, EachFixtureCase) {
  constexpr KivTime kS = kTicksPerSecond;
  for (const auto table = Fixture("sources/tarn_fast_lap.json"); const auto& c : table["cases"]) {
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
}  // namespace velmar::testing
