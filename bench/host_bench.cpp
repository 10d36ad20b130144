// What a user sees: the `velmar` command-line host run end to end, as a
// process, on a text data set of 300,000 rows x 20 numeric channels in one
// channel block, against pandas.read_csv of the same file in the same run.
//
// Each benchmark starts the host (root, outing factory, outing, channel
// reads) as a child process and reports its wall time per run (the mean, and
// the median that the ratios use), its peak resident memory, and the ratio
// to the peer:
//   - channels TEXT: every sample of every channel, min and max;
//   - dump TEXT one channel to a file;
//   - convert TEXT to .trn, as MB/s of text;
//   - channels TRN: every sample of the store, as samples/s.
// The peer is scripts/bench_pandas.py: pandas' own parse time, interpreter
// start and import excluded, the best of three.
//
// Files live in $VELMAR_BENCH_DIR (default /tmp) and are made when missing.
// $VELMAR_CLI picks another host binary (to compare builds).
#include "child_process.h"

namespace velmar::bench {
namespace {

namespace fs = std::filesystem;

constexpr uint64_t kRows = 300000;
constexpr double kSamples = 20.0 * kRows;

const fs::path& TextFile() {
  static const fs::path path = SampleTextFile("host_bench_300k.txt", kRows);
  return path;
}

double TextBytes() { return static_cast<double>(fs::file_size(TextFile())); }

// pandas' parse of the text file, in seconds; measured once per run.
double PandasSeconds() {
  static const double seconds =
      PeerSeconds({"/usr/bin/python3", VELMAR_SOURCE_DIR "/scripts/bench_pandas.py", TextFile().string(), "3"});
  return seconds;
}

const fs::path& StoreFile() {
  static const fs::path path = [] {
    fs::path p = BenchDir() / "host_bench_300k.trn";
    std::error_code ec;
    fs::remove(p, ec);
    RunChild({Cli(), "convert", TextFile().string(), p.string()});
    return p;
  }();
  return path;
}

void BM_ChannelsText(benchmark::State& state) {
  const double pandas = PandasSeconds();
  RunResult r = RunHost(state, {Cli(), "channels", TextFile().string()});
  state.counters["pandas_s"] = pandas;
  state.counters["x_pandas"] = pandas / r.seconds;  // goal: at least 3
  // Goal: at most 1.3 x the samples' bytes plus the file's.
  state.counters["peak_budget_MiB"] = (1.3 * kSamples * sizeof(double) + TextBytes()) / (1 << 20);
}
BENCHMARK(BM_ChannelsText)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(7);

void BM_DumpText(benchmark::State& state) {
  const std::string out = (BenchDir() / "host_bench_dump.tsv").string();
  RunResult r = RunHost(state, {Cli(), "dump", TextFile().string(), "Engine Speed"}, out);  // goal: at most 0.15 s
  state.counters["pandas_s"] = PandasSeconds();
  state.counters["x_pandas"] = PandasSeconds() / r.seconds;
}
BENCHMARK(BM_DumpText)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(7);

void BM_ConvertText(benchmark::State& state) {
  const std::string out = (BenchDir() / "host_bench_convert.trn").string();
  RunResult r = RunHost(state, {Cli(), "convert", TextFile().string(), out}, "/dev/null", RemoveOutput);
  state.counters["MB_per_s"] = TextBytes() / 1e6 / r.seconds;  // goal: at least 150
  state.counters["pandas_s"] = PandasSeconds();
  state.counters["x_pandas"] = PandasSeconds() / r.seconds;
}
BENCHMARK(BM_ConvertText)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(7);

void BM_ChannelsStore(benchmark::State& state) {
  RunResult r = RunHost(state, {Cli(), "channels", StoreFile().string()});
  state.counters["Msamples_per_s"] = kSamples / 1e6 / r.seconds;  // goal: at least 50
}
BENCHMARK(BM_ChannelsStore)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(7);

}  // namespace
}  // namespace velmar::bench

BENCHMARK_MAIN();
