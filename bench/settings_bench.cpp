// The settings file: Save (and the file's commit) and Load of a file with
// 10 tasks of 10 selections each, N channel property keys and N/10 event
// names. Load at several N shows how it grows with the keys; the file size
// is the "bytes" counter.
#include <benchmark/benchmark.h>

#include <filesystem>

#include "velmar/classes.h"
#include "velmar/persist.h"
#include "velmar/property_factories.h"
#include "velmar/storage.h"
#include "velmar/tasks.h"
#include "velmar/text.h"
#include "velmar/velmar.h"

namespace velmar {
namespace {

constexpr uint32_t kMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_TRANSACTED;

struct Session {
  ComPtr<IKivVelmar8> root;
  ComPtr<IKivPersistStorage> persist;
  ComPtr<IKivStorage> storage;

  Session() {
    if (Failed(KivCreateInstance(CLSID_KivVelmar, &root))) std::abort();
    persist = QueryAs<IKivPersistStorage>(root.Get());
  }
  ~Session() {
    if (persist) (void)persist->HandsOffStorage();
    (void)root->Close();
  }
};

void Fill(IKivVelmar8* root, int keys) {
  ComPtr<IKivTasks> tasks;
  (void)root->GetTasks(tasks.Put());
  for (int t = 0; t < 10; ++t) {
    ComPtr<IKivTask> task;
    DataSelectionList added;
    if (Failed(tasks->AddTask(task.Put())) ||
        Failed(task->Update(kTaskAddSelections, nullptr, 10, 0, u"", u"", 0, u"", 0, KIV_FALSE, 1, &added)))
      std::abort();
  }
  ComPtr<IKivChannelPropertyFactory> channels;
  ComPtr<IKivEventPropertyFactory> events;
  (void)root->GetChannelPropertyFactory(channels.Put());
  (void)root->GetEventPropertyFactory(events.Put());
  ComPtr<IKivPropertySet> set;
  for (int k = 0; k < keys; ++k) {
    (void)channels->GetPropertySet(u"Channel " + Utf8ToWide(std::to_string(k)), k % 20, set.Put());
    (void)set->SetProperties({{u"Display maximum", Variant::F64(k)}, {u"Decimal places", Variant::I32(2)}});
  }
  for (int k = 0; k < keys / 10; ++k) (void)events->GetPropertySet(u"Event " + Utf8ToWide(std::to_string(k)), set.Put());
}

std::filesystem::path MadeFile(int keys) {
  const auto path = std::filesystem::temp_directory_path() / ("velmar_settings_bench_" + std::to_string(keys) + ".kvs");
  std::filesystem::remove(path);
  Session s;
  if (Failed(StgCreateDocfile(path, kMode, s.storage.Put())) || Failed(s.persist->InitNew(s.storage.Get()))) std::abort();
  Fill(s.root.Get(), keys);
  if (Failed(s.persist->Save(s.storage.Get(), KIV_TRUE)) || Failed(s.storage->Commit(STGC_DEFAULT))) std::abort();
  return path;
}

void BM_Save(benchmark::State& state) {
  const auto path = MadeFile(static_cast<int>(state.range(0)));
  Session s;
  if (Failed(StgOpenStorage(path, kMode, s.storage.Put())) || Failed(s.persist->Load(s.storage.Get()))) std::abort();
  for (auto _ : state) {
    if (Failed(s.persist->Save(s.storage.Get(), KIV_TRUE)) || Failed(s.storage->Commit(STGC_DEFAULT))) std::abort();
  }
  state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(path));
}

void BM_Load(benchmark::State& state) {
  const auto path = MadeFile(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    Session s;
    if (Failed(StgOpenStorage(path, kMode, s.storage.Put())) || Failed(s.persist->Load(s.storage.Get()))) std::abort();
  }
  state.counters["bytes"] = static_cast<double>(std::filesystem::file_size(path));
}

BENCHMARK(BM_Save)->Arg(5000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Load)->Arg(1250)->Arg(2500)->Arg(5000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace velmar

BENCHMARK_MAIN();
