// Export of 20 channels x 65535 rows to a .xlsx workbook (the channel write
// of a spreadsheet outing: the grid walk, the cells, the save), against
// pandas.DataFrame.to_excel (openpyxl engine) of the same table, run in the
// same process run as a child. Also the same write to .xls.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <filesystem>

#include "child_process.h"
#include "export/fake_channel.h"
#include "peer_times.h"
#include "sources/spreadsheet/excel_file_handles.h"
#include "velmar/text.h"

namespace velmar::bench {
namespace {

constexpr size_t kChannels = 20;
constexpr size_t kRows = 65535;
constexpr KivTime kPeriod = 100'000;  // 10 ms

// The table of the peer: channel c's value at t is sin(t (c + 1)) x 100 + c.
std::vector<std::unique_ptr<CExportChannel>> Items() {
  std::vector<std::unique_ptr<CExportChannel>> items;
  for (size_t c = 0; c < kChannels; ++c) {
    std::vector<double> values(kRows);
    for (size_t k = 0; k < kRows; ++k) values[k] = std::sin(static_cast<double>(k) * 0.01 * (c + 1)) * 100.0 + c;
    auto fake = testing::MakeFakeChannel(nlohmann::json{{{"start", 0}, {"interval", kPeriod}, {"values", values}}});
    const KivTime end = static_cast<KivTime>(kRows - 1) * kPeriod;
    items.push_back(std::make_unique<CExportChannel>(u"Channel " + Utf8ToWide(std::to_string(c + 1)), 0, end,
                                                     fake.Get(), 1.0, 0.0, 0, kPeriod));
  }
  return items;
}

PeerTimes Peer() {
  static const PeerTimes times = RunPeer("/usr/bin/python3 " VELMAR_SOURCE_DIR "/scripts/bench_pandas_xlsx.py " +
                                         (BenchDir() / "spreadsheet_bench_peer.xlsx").string() + " 20 65535");
  return times;
}

void WriteWorkbook(benchmark::State& state, const char* name, bool peer) {
  const auto items = Items();
  const std::filesystem::path path = BenchDir() / name;
  const PeerTimes peerTimes = peer ? Peer() : PeerTimes{};
  double total = 0;
  double cpu = 0;
  for (auto _ : state) {
    const double cpuStart = ProcessCpuSeconds();
    std::filesystem::remove(path);
    const auto start = Clock::now();
    CExcelFileHandles file(path);
    if (Failed(CWorkbookFile::Create(path, kExcelSheets)) || Failed(file.Open()) ||
        Failed(file.WriteChannels(items)) || Failed(file.Close())) {
      state.SkipWithError("the workbook was not written");
      return;
    }
    total += std::chrono::duration<double>(Clock::now() - start).count();
    cpu += ProcessCpuSeconds() - cpuStart;
  }
  const double wall = total / static_cast<double>(state.iterations());
  cpu /= static_cast<double>(state.iterations());
  state.counters["cells"] = static_cast<double>(kRows * (kChannels + 1));
  if (peer) {
    state.counters["pandas_ms"] = peerTimes.wall * 1000.0;
    state.counters["ratio_vs_pandas"] = peerTimes.wall / wall;  // above 1: faster than the peer
    // On a loaded machine the wall clock also counts waits; CPU time does not.
    state.counters["cpu_ratio_vs_pandas"] = peerTimes.cpu / cpu;
  }
}

void BM_ExportXlsx(benchmark::State& state) { WriteWorkbook(state, "spreadsheet_bench.xlsx", true); }
BENCHMARK(BM_ExportXlsx)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

void BM_ExportXls(benchmark::State& state) { WriteWorkbook(state, "spreadsheet_bench.xls", false); }
BENCHMARK(BM_ExportXls)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(3);

}  // namespace
}  // namespace velmar::bench

BENCHMARK_MAIN();
