#include "tarn_test_helper.h"

#include <sqlite3.h>

#include <algorithm>

#include "jobs/job_item.h"
#include "jobs/job_thread.h"
#include "platform/store/fault_vfs.h"
#include "platform/store/store_factory.h"
#include "tarn_outing_helper.h"
#include "sources/tarn/tarn_convert.h"
#include "velmar/text.h"

namespace velmar::testing {

std::u16string TarnTest::PathOf(const std::string& name) const { return Utf8ToWide((dir_.path() / name).string()); }

std::u16string TarnTest::Write(const TarnDataSet& data, const std::string& name) {
  std::u16string path = PathOf(name);
  EXPECT_EQ(WriteTarnDataSet(path, data), S_OK);
  return path;
}

namespace {

class WaitJob final : public CJobItem {
 public:
  WaitJob(std::shared_future<void> gate, std::promise<void>* running) : gate_(std::move(gate)), running_(running) {}
  int CancelJob() override { return 0; }

 protected:
  KivResult Run() override {
    running_->set_value();
    gate_.wait();
    return S_OK;
  }

 private:
  std::shared_future<void> gate_;
  std::promise<void>* running_;
};

}  // namespace

StoreThreadGate::StoreThreadGate() {
  std::promise<void> running;
  auto job = MakeKiv<WaitJob>(gate_.get_future().share(), &running);
  EXPECT_EQ(Async_QueueNewJob(DaeThread(), job.Get()), S_OK);
  running.get_future().wait();
}

void StoreThreadGate::Open() {
  if (!open_) gate_.set_value();
  open_ = true;
}

ComPtr<IKivTarnStore> OpenStore(const std::u16string& path) {
  ComPtr<IKivTarnStoreFactory> factory;
  EXPECT_EQ(CreateTarnStoreFactory(&factory), S_OK);
  ComPtr<IKivTarnStore> store;
  EXPECT_EQ(factory->OpenFile(path, IKivTarnStore::iid, store.PutVoid()), S_OK);
  return store;
}

TarnStoreFactoryMaker FaultyStoreMaker() {
  return [](ComPtr<IKivTarnStoreFactory>* out) {
    return store::CreateTarnStoreFactory({.vfs = store::FaultVfs::Get().kName}, out);
  };
}

ComPtr<CTarnOuting> OpenTarnOuting(const std::u16string& path, const TarnStoreFactoryMaker& maker) {
  ComPtr<CTarnOuting> outing;
  EXPECT_EQ(OpenOutingOnCache<CTarnOuting>(
                path, false, [&] { return MakeKiv<CTarnOutingCache>(path, kTarnType, maker); }, &outing),
            S_OK);
  return outing;
}

Lines LinesStarting(const Lines& log, std::initializer_list<std::string_view> prefixes) {
  Lines kept;
  for (const std::string& line : log) {
    if (std::any_of(prefixes.begin(), prefixes.end(), [&](std::string_view p) { return line.starts_with(p); })) {
      kept.push_back(line);
    }
  }
  return kept;
}

void SetFormatVersion(const std::u16string& path, int version) {
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(WideToUtf8(path).c_str(), &db), SQLITE_OK);
  std::string sql = "UPDATE store_info SET value = " + std::to_string(version) + " WHERE key = 'format_version'";
  EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(db);
}

TarnDataSet SampleDataSet() {
  namespace p = tarn_property;
  TarnDataSet d;
  d.details = {{std::u16string(p::kTrackName), Variant::Text(u"Lakeside")},
               {std::u16string(p::kDriverName), Variant::Text(u"A. Driver")},
               {std::u16string(p::kSessionNumber), Variant::U32(3)},
               {std::u16string(p::kFirstLapNumber), Variant::U32(1)},
               {std::u16string(p::kLastLapNumber), Variant::U32(4)},
               {std::u16string(p::kUtcDifference), Variant::I32(-120)},
               {std::u16string(p::kEngineTest), Variant::Bool(false)}};
  d.outingRange = std::pair{KivTime{0}, 100 * kS};
  d.movementRange = std::pair{5 * kS, 95 * kS};
  d.channels = {
      {.name = u"Speed",
       .quantity = kQuantitySpeed,
       .unit = 1,
       .displayMaximum = 300.0,
       .userType = {},
       .blocks = {{0, kS, {}, {10.0, 20.0, 30.0}, false}, {50 * kS, kS, {}, {40.0, 50.0}, true}}},
      {.name = u"Gear", .userType = {}, .blocks = {{0, 0, {kS / 2, 7 * kS, 60 * kS}, {1.0, 2.0, 3.0}, false}}}};
  d.events = {
      {.time = 40 * kS, .name = u"Pit", .source = u"Logger", .message = u"in", .payload = {}},
      {.time = 45 * kS, .name = u"Pit", .source = u"Logger", .message = u"out", .payload = {1, 2, 3}},
      {.time = 20 * kS, .name = u"Flag", .source = u"Race control", .message = u"yellow", .payload = {}, .kind = 1}};
  d.constants = {{u"Wheelbase", 2.75, std::nullopt, u"m"}, {u"Setup", 0.0, u"wet", u""}};
  d.blobs = {{Guid::Literal("{6B1A3C55-30D6-4B8E-9E43-5E2D7D0C2B11}"), u"Map", {4, 5, 6, 7}}};
  d.lapMarkers = {{20 * kS, 12.5, true}, {50 * kS, 0.0, true}, {90 * kS, 0.0, false}};
  return d;
}

}  // namespace velmar::testing
