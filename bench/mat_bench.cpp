// MAT-file speed: 20 channels x 1,000,000 samples (100 Hz for 2 h 47 min),
// written by our writer, then opened as an outing and every sample of
// every channel read for its min and max, as
// `velmar channels` does, against scipy.io.loadmat of the same file plus
// numpy's min/max of each array in the same run (scripts/bench_scipy_mat.py,
// the best of three, interpreter start excluded). The write is reported in
// MB/s.
//
// The file is kept at $VELMAR_BENCH_DIR/mat_bench_20x1M.mat (default /tmp).
#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "outing/factory/outing_factory.h"
#include "peer_times.h"
#include "platform/async/dispatcher.h"
#include "platform/async/job_engine.h"
#include "sources/matfile/matlab_outing.h"
#include "velmar/channel.h"
#include "velmar/data_block.h"
#include "velmar/outing_factory.h"
#include "velmar/text.h"

namespace velmar {
namespace {

namespace fs = std::filesystem;
using bench::PeerTimes;
using bench::ProcessCpuSeconds;
using bench::RunPeer;

constexpr size_t kChannels = 20;
constexpr size_t kSamples = 1'000'000;

fs::path BenchDir() {
  const char* dir = std::getenv("VELMAR_BENCH_DIR");
  return dir ? fs::path(dir) : fs::path("/tmp");
}

// 100 Hz from 0; each channel a sine of its own frequency.
void Columns(size_t channel, std::vector<KivTime>* times, std::vector<double>* values) {
  times->resize(kSamples);
  values->resize(kSamples);
  for (size_t i = 0; i < kSamples; ++i) {
    (*times)[i] = static_cast<KivTime>(i) * 100'000;
    (*values)[i] = 1000.0 * std::sin(0.001 * static_cast<double>(i * (channel + 1)));
  }
}

bool WriteFile(const fs::path& path) {
  std::error_code ec;
  fs::remove(path, ec);
  if (!CMatlabFileHandles::Create(path).ok()) return false;
  CMatlabFileHandles file(path);
  if (!file.Open(true).ok()) return false;
  std::vector<KivTime> times;
  std::vector<double> values;
  for (size_t c = 0; c < kChannels; ++c) {
    Columns(c, &times, &values);
    const std::u16string name = u"Channel " + Utf8ToWide(std::to_string(c + 1));
    if (!file.WriteChannel({name, times, values}).ok()) return false;
  }
  return true;
}

const fs::path& BenchFile() {
  static const fs::path path = [] {
    const fs::path p = BenchDir() / "mat_bench_20x1M.mat";
    std::error_code ec;
    const auto size = fs::file_size(p, ec);
    if ((ec || size < kChannels * kSamples * 16) && !WriteFile(p)) std::abort();
    return p;
  }();
  return path;
}

const PeerTimes& ScipyTimes() {
  static const PeerTimes times =
      RunPeer("/usr/bin/python3 " VELMAR_SOURCE_DIR "/scripts/bench_scipy_mat.py " + BenchFile().string() + " 3");
  return times;
}

// The extremes of values, in four independent lanes so that the processor
// overlaps them, as numpy's vectorised min and max do.
struct MinMax {
  double lo[4] = {kInf, kInf, kInf, kInf};
  double hi[4] = {-kInf, -kInf, -kInf, -kInf};
  static constexpr double kInf = std::numeric_limits<double>::infinity();

  void Add(std::span<const double> values) {
    size_t i = 0;
    for (; i + 4 <= values.size(); i += 4) {
      for (size_t k = 0; k < 4; ++k) {
        lo[k] = values[i + k] < lo[k] ? values[i + k] : lo[k];
        hi[k] = values[i + k] > hi[k] ? values[i + k] : hi[k];
      }
    }
    for (; i < values.size(); ++i) {
      lo[0] = std::min(lo[0], values[i]);
      hi[0] = std::max(hi[0], values[i]);
    }
  }
  double Min() const { return std::min(std::min(lo[0], lo[1]), std::min(lo[2], lo[3])); }
  double Max() const { return std::max(std::max(hi[0], hi[1]), std::max(hi[2], hi[3])); }
};

// Opens the file as an outing and reads each channel's values for min/max.
size_t OpenAndReadAll(Dispatcher& d) {
  auto factory = MakeKiv<COutingFactory>();
  const Variant paths = MakeTextArray({Utf8ToWide(BenchFile().string())});
  OutingList outings;
  if (factory->CreateEx(KIV_FALSE, KIV_FALSE, kMatFileOutingTypeId.ToWide(), &paths, &outings) != S_OK) std::abort();
  auto channels = QueryAs<IKivChannelFactory>(outings.front().Get());
  NameList names;
  (void)channels->GetNames(&names);
  (void)Async_RunUntilSettled(d, std::chrono::seconds(60));
  (void)channels->GetNames(&names);
  size_t samples = 0;
  for (const std::u16string& name : names) {
    ComPtr<IKivChannel> channel;
    ComPtr<IKivChannelIterator2> iterator;
    ComPtr<IKivDataBlocks> blocks;
    uint32_t count = 0;
    if (Failed(channels->GetItem(name, channel.Put())) || Failed(channel->GetIterator(iterator.Put())) ||
        Failed(iterator->GetDataBlocks(blocks.Put())) || Failed(blocks->GetCount(&count))) {
      std::abort();
    }
    MinMax extremes;
    for (uint32_t b = 1; b <= count; ++b) {
      ComPtr<IKivDataBlock> block;
      std::span<const double> values;
      if (Failed(blocks->GetBlock(b, block.Put())) || Failed(block->GetValuesReference(&values))) std::abort();
      extremes.Add(values);
      samples += values.size();
    }
    benchmark::DoNotOptimize(extremes.Min() + extremes.Max());
  }
  return samples;
}

void BM_OpenAndReadAllChannels(benchmark::State& state) {
  Dispatcher d;
  Dispatcher::ScopedCurrent current(d);
  if (Failed(RegisterMatlabOutingSource())) std::abort();
  const PeerTimes peer = ScipyTimes();
  size_t samples = 0;
  double total = 0;
  const double cpuStart = ProcessCpuSeconds();
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    samples = OpenAndReadAll(d);
    (void)Async_RunUntilSettled(d, std::chrono::seconds(60));  // the cache goes with its outing
    total += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
  // Every thread's time: on a loaded machine the wall clock also counts waits.
  const double cpu = (ProcessCpuSeconds() - cpuStart) / static_cast<double>(state.iterations());
  if (samples != kChannels * kSamples) state.SkipWithError("not every sample was read");
  const double wall = total / static_cast<double>(state.iterations());
  state.counters["cpu_ms"] = cpu * 1000.0;
  state.counters["scipy_ms"] = peer.wall * 1000.0;
  state.counters["scipy_cpu_ms"] = peer.cpu * 1000.0;
  // Above 1: faster than the peer.
  state.counters["ratio_vs_scipy"] = peer.wall / wall;
  state.counters["cpu_ratio_vs_scipy"] = peer.cpu / cpu;
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * samples));
}
BENCHMARK(BM_OpenAndReadAllChannels)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(5);

void BM_WriteChannels(benchmark::State& state) {
  const fs::path path = BenchDir() / "mat_bench_write.mat";
  for (auto _ : state) {
    if (!WriteFile(path)) state.SkipWithError("write failed");
  }
  std::error_code ec;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * fs::file_size(path, ec)));
  fs::remove(path, ec);
}
BENCHMARK(BM_WriteChannels)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace
}  // namespace velmar

BENCHMARK_MAIN();
