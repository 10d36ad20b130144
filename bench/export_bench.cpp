// Collecting a channel for export: one hour at 100 Hz (360 000 samples in
// blocks of 10 000) copied at the native rate, and resampled to 10 Hz and to
// 1 kHz. Samples per second are the source's samples read.
#include <benchmark/benchmark.h>

#include "export/export_channel.h"
#include "export/fake_channel.h"

namespace velmar {
namespace {

constexpr KivTime kHour = 3600LL * 10'000'000;

ComPtr<testing::FakeChannel> HourAt100Hz() {
  nlohmann::json blocks = nlohmann::json::array();
  for (KivTime start = 0; start < kHour; start += 10'000 * 100'000LL) {
    blocks.push_back({{"start", start}, {"interval", 100'000}, {"count", 10'000}, {"continuous", start > 0}});
  }
  return testing::MakeFakeChannel(blocks);
}

void BM_ExportChannel(benchmark::State& state) {
  auto channel = HourAt100Hz();
  const KivTime period = state.range(0);
  for (auto _ : state) {
    CExportChannel item(u"Speed", 0, kHour, channel.Get(), 3.6, 0.0, 0, period);
    if (item.state() != CExportItem::kCollected) state.SkipWithError("nothing collected");
    benchmark::DoNotOptimize(item.blocks().data());
  }
  state.SetItemsProcessed(state.iterations() * 360'000);
}
BENCHMARK(BM_ExportChannel)->Arg(0)->Arg(1'000'000)->Arg(10'000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace velmar

BENCHMARK_MAIN();
