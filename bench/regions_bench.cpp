// The lap finder: the cost of throwing the laps away and building them again
// (what every marker edit costs a client) against the number of markers.
#include <benchmark/benchmark.h>

#include "regions/lap_finder.h"
#include "regions/fake_lap_outing.h"

namespace velmar {
namespace {

void BM_RebuildLaps(benchmark::State& state) {
  const auto count = static_cast<KivTime>(state.range(0));
  auto outing = MakeKiv<testing::FakeLapOuting>();
  outing->end = outing->stopped = (count + 1) * 90 * testing::kSec;
  for (KivTime i = 1; i <= count; ++i) outing->markers.push_back({i * 90 * testing::kSec, uint32_t(i), false});
  auto finder = MakeKiv<CLapFinder>(CBrandedOutingInformation(CDataFactoryBrandingHelper()));
  if (finder->SetOuting(outing.Get()) != S_OK) state.SkipWithError("SetOuting failed");
  for (auto _ : state) {
    outing->FireMarkersChanged();  // a marker edit: the laps go
    ComPtr<IKivTimeRegions> regions;
    benchmark::DoNotOptimize(finder->GetRegions(regions.Put()));
  }
  state.SetComplexityN(state.range(0));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_RebuildLaps)->RangeMultiplier(10)->Range(100, 100'000)->Complexity();

}  // namespace
}  // namespace velmar
BENCHMARK_MAIN();
