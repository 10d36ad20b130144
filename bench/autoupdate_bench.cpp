// The folder watch: one scan of a folder of 10,000 .trn files against a
// plain directory walk that reads each file's status (the peer), and the
// time from a new file landing in a watched folder to the task taking it up.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "sources/autoupdate/autoupdate_scan.h"
#include "tasks/data_selection.h"
#include "velmar/classes.h"
#include "velmar/client_thread.h"
#include "velmar/convert.h"
#include "velmar/outing_factory.h"
#include "velmar/sample.h"
#include "velmar/tasks.h"
#include "velmar/text.h"
#include "velmar/velmar.h"

namespace velmar {
namespace {

namespace fs = std::filesystem;
constexpr int kFiles = 10'000;

void Check(bool ok, const char* what) {
  if (!ok) {
    std::fprintf(stderr, "autoupdate_bench: %s failed\n", what);
    std::abort();
  }
}

fs::path Root() { return fs::temp_directory_path() / "velmar_autoupdate_bench"; }

// A generated outing as a .trn, made once.
const fs::path& SampleTrn() {
  static const fs::path trn = [] {
    fs::remove_all(Root());
    fs::create_directories(Root());
    const fs::path text = Root() / "sample.txt", trn = Root() / "sample.trn";
    Check(Succeeded(KivRegisterBuiltInClasses()), "registering");
    Check(KivWriteSampleOuting(Utf8ToWide(text.string()), {1, 10.0, 3}) == S_OK, "the sample");
    ComPtr<IKivNewOutingFactory> factory;
    Check(KivCreateInstance(CLSID_KivOutingFactory, &factory) == S_OK, "the factory");
    const Variant paths = MakeTextArray({Utf8ToWide(text.string())});
    OutingList outings;
    Check(factory->Create(KIV_FALSE, kTextOutingTypeId.ToWide(), &paths, &outings) == S_OK, "opening");
    const auto wait = [] { return KivClientThread::Current().RunUntilSettled(std::chrono::seconds(60)); };
    // Its channels are read through a selection that holds it.
    auto selection = MakeKiv<CDataSelection>();
    Check(selection->AddChannelSource(QueryAs<IKivChannelFactory>(outings.front().Get()).Get()) == S_OK, "selecting");
    Check(KivConvertToTarn(outings.front().Get(), Utf8ToWide(trn.string()), wait) == S_OK, "converting");
    selection->Close();
    outings.clear();
    wait();
    return trn;
  }();
  return trn;
}

// 10,000 names for the sample (hard links: the folder's cost, not the disk's).
const fs::path& BigFolder() {
  static const fs::path folder = [] {
    const fs::path& sample = SampleTrn();  // first: it clears the bench's folder
    const fs::path f = Root() / "big";
    fs::create_directories(f);
    for (int i = 0; i < kFiles; ++i) fs::create_hard_link(sample, f / ("outing_" + std::to_string(i) + ".trn"));
    return f;
  }();
  return folder;
}

void BM_WatchScan10000(benchmark::State& state) {
  CAutoupdate watch(Utf8ToWide(BigFolder().string() + "/"), kWatchEachFile, [](const std::u16string&) {});
  watch.Scan(true);
  for (auto _ : state) watch.Scan(false);
  state.counters["files"] = kFiles;
}
BENCHMARK(BM_WatchScan10000)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_PeerDirectoryWalk10000(benchmark::State& state) {
  const fs::path folder = BigFolder();
  for (auto _ : state) {
    size_t seen = 0;
    for (const auto& entry : fs::directory_iterator(folder))
      seen += entry.path().extension() == ".trn" && fs::last_write_time(entry.path()).time_since_epoch().count() > 0;
    benchmark::DoNotOptimize(seen);
  }
}
BENCHMARK(BM_PeerDirectoryWalk10000)->Unit(benchmark::kMillisecond)->UseRealTime();

class TakenUp final : public CTaskNotifications3Receiver {
 public:
  void OnWatchTookFile(IKivTask*, const std::u16string&) override { ++count; }
  int count = 0;
};

// From the copy of a new file into the folder to the task's word that it
// took it up, as a selection of its own.
void BM_WatchTakeUp(benchmark::State& state) {
  (void)SampleTrn();
  const fs::path folder = Root() / "logger";
  fs::remove_all(folder);
  fs::create_directories(folder);
  const KivClientThread client = KivClientThread::Current();
  ComPtr<IKivVelmar> root;
  ComPtr<IKivTasks> tasks;
  ComPtr<IKivTask> task;
  Check(KivCreateInstance(CLSID_KivVelmar, &root) == S_OK && root->GetTasks(tasks.Put()) == S_OK &&
            tasks->AddTask(task.Put()) == S_OK,
        "the task");
  TakenUp taken;
  auto sink = MakeKiv<CTaskNotifications3Sink<>>();
  sink->SetReceiver(&taken);
  Check(sink->Connect(task.Get()), "the sink");
  const std::u16string text = Utf8ToWide(folder.string() + "/");
  Check(task->Update(kTaskWatch, nullptr, 0, 0, u"", u"", 0, text, 0, KIV_TRUE, kWatchEachFile, nullptr) == S_OK,
        "the watch");
  client.RunFor(std::chrono::milliseconds(1500));  // the first scan has taken in the empty folder
  int n = 0;
  for (auto _ : state) {
    const int before = taken.count;
    fs::copy_file(SampleTrn(), folder / ("new_" + std::to_string(n++) + ".trn"));
    Check(client.RunUntil([&] { return taken.count > before; }, std::chrono::seconds(30)), "taking up");
  }
  (void)task->Update(kTaskWatch, nullptr, 0, 0, u"", u"", 0, text, 0, KIV_FALSE, kWatchEachFile, nullptr);
  sink->SetReceiver(nullptr);
  sink->Disconnect(task.Get());
  task = nullptr;
  tasks = nullptr;
  (void)root->Close();
  root = nullptr;
  client.RunUntilSettled(std::chrono::seconds(60));
}
BENCHMARK(BM_WatchTakeUp)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(8);

}  // namespace
}  // namespace velmar

BENCHMARK_MAIN();
