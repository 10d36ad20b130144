// The `.trn` store: opening a file as far as its channel list, for small and
// large files (the open must not grow with the samples), and reading a
// 10-second window of a 1-hour channel against reading all of it.
//
// The fixture files are made once per run in a temporary folder.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "velmar/tarn_store.h"
#include "velmar/text.h"

namespace {

using namespace velmar;
namespace fs = std::filesystem;

constexpr int kChannels = 200;
constexpr int64_t kPeriod100Hz = kTicksPerSecond / 100;
constexpr int32_t kHourAt100Hz = 3600 * 100;

struct Fixtures {
  fs::path dir;
  std::u16string small;    // 200 channels x 10^5 samples
  std::u16string large;    // 200 channels x 10^6 samples
  std::u16string hour;     // one channel, 1 hour at 100 Hz
  uint64_t hourChannel = 0;
};
Fixtures gFixtures;

ComPtr<IKivTarnStoreFactory> Factory() {
  ComPtr<IKivTarnStoreFactory> f;
  if (Failed(CreateTarnStoreFactory(&f))) std::abort();
  return f;
}

void Check(KivResult r, const char* what) {
  if (Failed(r)) {
    std::fprintf(stderr, "store_bench: %s failed: %s\n", what, ResultName(r));
    std::exit(1);
  }
}

// Makes a file of `channels` periodic channels with `samples` samples each,
// in one write: `sampleType` 0 (bytes) keeps the large file small on disk.
uint64_t MakeFile(const std::u16string& path, int channels, int32_t samples, uint32_t sampleType) {
  ComPtr<IKivTarnStore> store;
  Check(Factory()->CreateFile(path, IKivTarnStore::iid, store.PutVoid()), "create");
  ComPtr<IKivTarnWriteHandle> handle;
  Check(store.As<IKivTarnWriteAccess>()->GetWriteHandle(kDefaultWaitLimit, IKivTarnWriteHandle::iid,
                                                        handle.PutVoid()),
        "write handle");
  auto writer = handle.As<IKivTarnChannelWriter>();
  std::vector<std::u16string> names;
  std::vector<TarnChannelDescription> descriptions(channels);
  for (int i = 0; i < channels; ++i) names.push_back(u"Channel " + W(std::to_string(i)));
  for (int i = 0; i < channels; ++i) {
    descriptions[i] = TarnChannelDescription{};
    descriptions[i].tagName = descriptions[i].displayName = names[i].c_str();
    descriptions[i].sampleType = sampleType;
  }
  std::vector<uint64_t> ids, blocks;
  Check(writer->AddChannels(channels, descriptions.data(), &ids), "add channels");
  std::vector<std::byte> values(static_cast<size_t>(samples) * TarnSampleSize(sampleType));
  for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<std::byte>(i * 31);
  for (uint64_t id : ids) {
    TarnChannelData block{};
    block.times = &kPeriod100Hz;
    block.samples = values.data();
    block.count = samples;
    block.periodic = 1;
    Check(writer->AddChannelData(1, &id, &block, &blocks), "add data");
  }
  Check(handle->Commit(), "commit");
  return ids[0];
}

void MakeFixtures() {
  gFixtures.dir = fs::temp_directory_path() / ("velmar-store-bench-" + Guid::New().ToString());
  fs::create_directories(gFixtures.dir);
  gFixtures.small = W((gFixtures.dir / "small.trn").string());
  gFixtures.large = W((gFixtures.dir / "large.trn").string());
  gFixtures.hour = W((gFixtures.dir / "hour.trn").string());
  auto start = std::chrono::steady_clock::now();
  MakeFile(gFixtures.small, kChannels, 100'000, 0);
  MakeFile(gFixtures.large, kChannels, 1'000'000, 0);
  gFixtures.hourChannel = MakeFile(gFixtures.hour, 1, kHourAt100Hz, 7);
  std::fprintf(stderr, "fixtures made in %.1f s (large file %.0f MB)\n",
               std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(),
               static_cast<double>(fs::file_size(gFixtures.dir / "large.trn")) / 1e6);
}

void OpenToChannelList(benchmark::State& state, const std::u16string* path) {
  auto factory = Factory();
  for (auto _ : state) {
    ComPtr<IKivTarnChannels> channels;
    Check(factory->OpenFile(*path, IKivTarnChannels::iid, channels.PutVoid()), "open");
    ComPtr<IKivTarnChannelRecords> list;
    Check(channels->GetChannelList(kDefaultWaitLimit, list.Put()), "channel list");
    uint32_t count = 0;
    const TarnChannelDescription* records = nullptr;
    (void)list->GetRecords(&count, &records);
    if (count != kChannels) state.SkipWithError("wrong channel count");
    benchmark::DoNotOptimize(records);
  }
}
BENCHMARK_CAPTURE(OpenToChannelList, samples_1e5, &gFixtures.small)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(OpenToChannelList, samples_1e6, &gFixtures.large)->Unit(benchmark::kMicrosecond);

void ReadChannel(benchmark::State& state, KivTime from, KivTime to, int32_t expected) {
  ComPtr<IKivTarnChannels> channels;
  Check(Factory()->OpenFile(gFixtures.hour, IKivTarnChannels::iid, channels.PutVoid()), "open");
  for (auto _ : state) {
    ComPtr<IKivTarnChannelDataRecords> data;
    Check(channels->GetChannelData(kDefaultWaitLimit, gFixtures.hourChannel, from, to, data.Put()), "read");
    uint32_t count = 0;
    const TarnChannelData* records = nullptr;
    (void)data->GetRecords(&count, &records);
    if (count != 1 || records[0].count != expected) state.SkipWithError("wrong sample count");
    benchmark::DoNotOptimize(records);
  }
}
// Ten seconds from the middle of the hour: 1001 samples, both ends included.
BENCHMARK_CAPTURE(ReadChannel, window_10s, 1800 * kTicksPerSecond, 1810 * kTicksPerSecond, 1001)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(ReadChannel, whole_hour, kTimeMin, kTimeMax, kHourAt100Hz)->Unit(benchmark::kMicrosecond);

// Keeps each benchmark's time per iteration, to report the ratios.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs)
      if (run.run_type == Run::RT_Iteration) times_[run.benchmark_name()] = run.GetAdjustedRealTime();
    ConsoleReporter::ReportRuns(runs);
  }
  double Time(const std::string& name) const {
    auto it = times_.find(name);
    return it == times_.end() ? 0 : it->second;
  }

 private:
  std::map<std::string, double> times_;
};

// Prints a ratio against its bound; false when the bound is missed.
bool ReportRatio(const char* what, double ratio, double bound, bool atMost) {
  bool ok = atMost ? ratio <= bound : ratio >= bound;
  std::printf("%-46s %8.2f  (%s %.1f)  %s\n", what, ratio, atMost ? "at most" : "at least", bound,
              ok ? "ok" : "MISSED");
  return ok;
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  MakeFixtures();
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  std::error_code ec;
  fs::remove_all(gFixtures.dir, ec);

  bool ok = true;
  double small = reporter.Time("OpenToChannelList/samples_1e5");
  double large = reporter.Time("OpenToChannelList/samples_1e6");
  if (small > 0 && large > 0) {
    std::printf("open to channel list: 10^5 samples %.1f us, 10^6 samples %.1f us\n", small, large);
    ok &= ReportRatio("open time ratio, 10^6 / 10^5 samples", large / small, 1.2, true);
  }
  double window = reporter.Time("ReadChannel/window_10s");
  double whole = reporter.Time("ReadChannel/whole_hour");
  if (window > 0 && whole > 0) {
    std::printf("read: 10 s window %.1f us, whole hour %.1f us\n", window, whole);
    ok &= ReportRatio("whole hour / 10 s window read time", whole / window, 100, false);
  }
  return ok ? 0 : 2;
}
