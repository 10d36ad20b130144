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
  d.details.emplace(p::kTrackName, Variant::Text(u"Lakeside"));
  d.details.emplace(p::kDriverName, Variant::Text(u"A. Driver"));
  d.details.emplace(p::kSessionNumber, Variant::U32(3));
  d.details.emplace(p::kFirstLapNumber, Variant::U32(1));
  d.details.emplace(p::kLastLapNumber, Variant::U32(4));
  d.details.emplace(p::kUtcDifference, Variant::I32(-120));
  d.details.emplace(p::kEngineTest, Variant::Bool(false));
  d.outingRange = std::pair{KivTime{0}, 100 * kS};
  d.movementRange = std::pair{5 * kS, 95 * kS};

  TarnDataSetChannel speed;
  speed.name = u"Speed";
  speed.quantity = kQuantitySpeed;
  speed.unit = 1;
  speed.displayMaximum = 300.0;
  speed.blocks.push_back({0, kS, {}, {10.0, 20.0, 30.0}, false});
  speed.blocks.push_back({50 * kS, kS, {}, {40.0, 50.0}, true});
  TarnDataSetChannel gear;
  gear.name = u"Gear";
  gear.blocks.push_back({0, 0, {kS / 2, 7 * kS, 60 * kS}, {1.0, 2.0, 3.0}, false});
  d.channels = {speed, gear};

  TarnDataSetEvent pit;
  pit.name = u"Pit";
  pit.source = u"Logger";
  pit.message = u"in";
  pit.time = 40 * kS;
  TarnDataSetEvent pitOut = pit;
  pitOut.message = u"out";
  pitOut.time = 45 * kS;
  pitOut.payload = {1, 2, 3};
  TarnDataSetEvent flag;
  flag.name = u"Flag";
  flag.source = u"Race control";
  flag.message = u"yellow";
  flag.time = 20 * kS;
  flag.kind = 1;
  d.events = {pit, pitOut, flag};

  d.constants.push_back({u"Wheelbase", 2.75, std::nullopt, u"m"});
  d.constants.push_back({u"Setup", 0.0, u"wet", u""});
  d.blobs.push_back({Guid::Literal("{6B1A3C55-30D6-4B8E-9E43-5E2D7D0C2B11}"), u"Map", {4, 5, 6, 7}});
  d.lapMarkers = {{20 * kS, 12.5, true}, {50 * kS, 0.0, true}, {90 * kS, 0.0, false}};
  return d;
}

}  // namespace velmar::testing
