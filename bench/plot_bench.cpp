// The lap comparison pictures and numbers, end to end and in the library:
//   - plot: `velmar plot` of 3 laps x 4 channels of a 100 Hz outing to PNG,
//     as a child process, against `velmar laps` of the same file in the same
//     run (the peer: opening the outing and cutting its laps, which a plot
//     needs first);
//   - delta: `velmar delta` on a 1-hour and a 2-hour 100 Hz outing, against
//     `velmar laps` of the same files;
//   - KivComputeTimeDelta alone on laps of 10^4 to 10^6 samples, with the
//     fitted complexity (linear in samples).
// Files live in $VELMAR_BENCH_DIR (default /tmp) and are made when missing.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include "velmar/lap_compare.h"
#include "velmar/sample.h"
#include "velmar/text.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

fs::path BenchDir() {
  const char* dir = std::getenv("VELMAR_BENCH_DIR");
  return dir ? fs::path(dir) : fs::path("/tmp");
}

// A 100 Hz sample outing of `laps` laps (about 92 s each), made once.
std::string Outing(int laps) {
  const fs::path path = BenchDir() / ("plot_bench_" + std::to_string(laps) + "laps.txt");
  std::error_code error;
  if (!fs::exists(path, error) &&
      velmar::Failed(velmar::KivWriteSampleOuting(velmar::Utf8ToWide(path.string()), {laps, 100.0, 1}))) {
    std::abort();
  }
  return path.string();
}

// Wall seconds of one run of the host; aborts when it fails.
double RunCli(const std::string& args) {
  const std::string command = std::string(VELMAR_CLI_PATH) + " --no-progress " + args + " >/dev/null";
  const auto start = Clock::now();
  if (std::system(command.c_str()) != 0) std::abort();
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// The peer's time for a file: the best of three `velmar laps`.
double LapsSeconds(const std::string& file) {
  static std::map<std::string, double> known;
  if (!known.count(file)) {
    double best = 1e9;
    for (int i = 0; i < 3; ++i) best = std::min(best, RunCli("laps " + file));
    known[file] = best;
  }
  return known[file];
}

void Timed(benchmark::State& state, const std::string& file, const std::string& args) {
  const double peer = LapsSeconds(file);
  double total = 0;
  for (auto _ : state) {
    const double seconds = RunCli(args);
    total += seconds;
    state.SetIterationTime(seconds);
  }
  const double mean = total / static_cast<double>(state.iterations());
  state.counters["seconds"] = mean;
  state.counters["ratio_to_laps"] = mean / peer;
}

void BM_Plot3Laps4Channels(benchmark::State& state) {
  const std::string file = Outing(3);
  const std::string out = (BenchDir() / "plot_bench.png").string();
  Timed(state, file, "plot " + file + " Speed Throttle 'Brake Pressure' Gear --laps 1,2,3 -o " + out);
}
BENCHMARK(BM_Plot3Laps4Channels)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_DeltaOnALongOuting(benchmark::State& state) {
  const std::string file = Outing(static_cast<int>(state.range(0)));
  Timed(state, file, "delta " + file + " --lap 3 --ref 2 --json");
  state.SetLabel(std::to_string(state.range(0) * 92 / 60) + " min");
}
BENCHMARK(BM_DeltaOnALongOuting)->Arg(39)->Arg(78)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

// A lap of n samples at 100 Hz, 60 m/s with a wobble, so the grid walk meets
// uneven spacing.
velmar::KivLapTrace Lap(int64_t n, double pace) {
  velmar::KivLapTrace lap;
  for (int64_t i = 0; i < n; ++i) {
    lap.times.push_back(i * 100000);
    lap.distances.push_back(static_cast<double>(i) * 0.6 * pace + 0.3 * std::sin(static_cast<double>(i) * 0.01));
    lap.values.push_back(0);
  }
  return lap;
}

void BM_TimeDeltaComputation(benchmark::State& state) {
  const velmar::KivLapTrace lap = Lap(state.range(0), 1.0), reference = Lap(state.range(0), 1.01);
  velmar::KivTimeDelta delta;
  for (auto _ : state) {
    if (velmar::Failed(velmar::KivComputeTimeDelta(lap, reference, 1.0, &delta))) std::abort();
    benchmark::DoNotOptimize(delta.seconds.data());
  }
  state.SetComplexityN(state.range(0));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_TimeDeltaComputation)->RangeMultiplier(10)->Range(10000, 1000000)->Complexity(benchmark::oN);

}  // namespace

BENCHMARK_MAIN();
