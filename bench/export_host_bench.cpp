// `velmar export` end to end, as a process, on one hour of 20 channels at
// 100 Hz (7.2 M samples), against pandas in the same run:
//   - resampled: the .trn of the hour to a new text data set at 10 Hz, against
//     scripts/bench_pandas_export.py (read_csv of the same table, numpy.interp
//     onto the grid, DataFrame.to_csv); goal at least 3 x faster. Its peak
//     memory against the bytes of the samples it goes through (goal below 2 x);
//   - native: the .trn to a new .trn at the native rate, as MB/s of samples
//     written (goal at least 100).
//
// Files live in $VELMAR_BENCH_DIR (default /tmp) and are made when missing;
// $VELMAR_CLI picks another host binary.
#include "child_process.h"

namespace velmar::bench {
namespace {

constexpr uint64_t kRows = 360000;  // an hour at 100 Hz
constexpr double kSamples = 20.0 * kRows;

const std::filesystem::path& TextHour() {
  static const std::filesystem::path path = SampleTextFile("export_bench_hour.txt", kRows);
  return path;
}

const std::filesystem::path& StoreHour() {
  static const std::filesystem::path path = [] {
    std::filesystem::path p = BenchDir() / "export_bench_hour.trn";
    std::error_code ec;
    if (!std::filesystem::exists(p, ec)) RunChild({Cli(), "--no-progress", "convert", TextHour().string(), p.string()});
    return p;
  }();
  return path;
}

double PandasSeconds() {
  static const double seconds =
      PeerSeconds({"/usr/bin/python3", VELMAR_SOURCE_DIR "/scripts/bench_pandas_export.py", TextHour().string(),
                   (BenchDir() / "export_bench_pandas.tsv").string(), "10", "3"});
  return seconds;
}

void BM_ExportResampledToText(benchmark::State& state) {
  const std::string in = StoreHour().string();
  const double pandas = PandasSeconds();
  const std::string out = (BenchDir() / "export_bench_10hz.txt").string();
  RunResult r = RunHost(state, {Cli(), "--no-progress", "export", "--rate", "10", in, out}, "/dev/null", RemoveOutput);
  state.counters["pandas_s"] = pandas;
  state.counters["x_pandas"] = pandas / r.seconds;  // goal: at least 3
  // Goal: below 2 x the samples the export goes through (the hour read);
  // against the samples it writes (a tenth of them) for comparison.
  state.counters["peak_x_samples"] = r.peakBytes / (kSamples * sizeof(double));
  state.counters["peak_x_written"] = r.peakBytes / (kSamples / 10.0 * sizeof(double));
}
BENCHMARK(BM_ExportResampledToText)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);

void BM_ExportNativeToStore(benchmark::State& state) {
  const std::string in = StoreHour().string();
  const std::string out = (BenchDir() / "export_bench_native.trn").string();
  RunResult r = RunHost(state, {Cli(), "--no-progress", "export", in, out}, "/dev/null", RemoveOutput);
  state.counters["MB_per_s"] = kSamples * sizeof(double) / 1e6 / r.seconds;  // goal: at least 100
}
BENCHMARK(BM_ExportNativeToStore)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);

}  // namespace
}  // namespace velmar::bench

BENCHMARK_MAIN();
