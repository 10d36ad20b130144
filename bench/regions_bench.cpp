// The finders: the cost of throwing the regions away and building them
// again (what every marker edit costs a client). The lap finder against the
// number of markers; the segment finder against the samples of the position
// channel (100 Hz, laps of 90 s, 20 segments; 720 000 samples are a 2-hour
// outing), beside a bare loop that reads each of those samples once.
#include <benchmark/benchmark.h>

#include <string>

#include "outing/blocks/data_block_aperiodic.h"
#include "outing/blocks/data_block_section.h"
#include "regions/circuit_map.h"
#include "regions/fake_segment_outing.h"
#include "regions/lap_finder.h"
#include "regions/segment_finder.h"

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

constexpr KivTime kInterval = 100'000;  // 100 Hz
constexpr int64_t kLapSamples = 9'000;  // 90 s
constexpr double kLapLength = 4000.0;
constexpr int kSegments = 20;

// Distance along the lap, wrapping at each lap's end, in one periodic block.
ComPtr<CChannelIterator> PositionIterator(int64_t samples) {
  std::vector<double> values(static_cast<size_t>(samples));
  for (int64_t i = 0; i < samples; ++i) {
    values[static_cast<size_t>(i)] = static_cast<double>(i % kLapSamples) * kLapLength / kLapSamples;
  }
  std::shared_ptr<const DataSection> section;
  ComPtr<IKivDataBlockImplBase> block;
  if (Failed(DataSection::MakePeriodic(LockedArray<double>::FromVector(std::move(values)), 0, kInterval, &section)) ||
      Failed(MakeOutingDataBlock(section, 0, 0, false, &block))) {
    return nullptr;
  }
  return MakeKiv<CChannelIterator>(std::make_shared<const DataBlockList>(DataBlockList{block}), nullptr, nullptr);
}

ComPtr<CCircuitMap> TwentySegments() {
  std::string markers;
  std::string segments;
  for (int i = 0; i <= kSegments; ++i) {
    markers += (i ? "," : "") + std::string("{\"distance\": ") + std::to_string(i * kLapLength / kSegments) + "}";
    if (i < kSegments) {
      segments += (i ? "," : "") + std::string("{\"name\": \"S") + std::to_string(i + 1) + "\", \"start\": " +
                  std::to_string(i) + ", \"end\": " + std::to_string(i + 1) + "}";
    }
  }
  auto map = MakeKiv<CCircuitMap>();
  (void)map->LoadJson("{\"lap_length\": 4000, \"markers\": [" + markers + "], \"segments\": [" + segments + "]}",
                      nullptr);
  return map;
}

void BM_RebuildSegments(benchmark::State& state) {
  const int64_t samples = state.range(0);
  auto outing = MakeKiv<testing::SegmentOuting>();
  outing->end = outing->stopped = (samples - 1) * kInterval;
  for (int64_t lap = 1; lap * kLapSamples <= samples; ++lap) {
    outing->markers.push_back({(lap * kLapSamples - 1) * kInterval, uint32_t(lap), false});
  }
  auto channel = MakeKiv<testing::FakePositionChannel>();
  channel->iterator = PositionIterator(samples);
  auto map = TwentySegments();
  auto finder = MakeKiv<CSegmentFinder>(CBrandedOutingInformation(CDataFactoryBrandingHelper()));
  if (finder->SetOuting(outing.Get()) != S_OK || !channel->iterator) state.SkipWithError("setup failed");
  finder->SetCircuitMapData(map.Get());
  finder->SetPositionChannel(channel.Get());
  int32_t count = 0;
  for (auto _ : state) {
    outing->FireMarkersChanged();
    ComPtr<IKivTimeRegions> regions;
    benchmark::DoNotOptimize(finder->GetRegions(regions.Put()));
    (void)regions->GetCount(&count);
  }
  state.counters["regions"] = count;
  state.SetComplexityN(samples);
  state.SetItemsProcessed(state.iterations() * samples);
}
BENCHMARK(BM_RebuildSegments)->Arg(90'000)->Arg(180'000)->Arg(360'000)->Arg(720'000)->Complexity(benchmark::oN)
    ->Unit(benchmark::kMillisecond);

// The floor: every position sample read once through the same blocks.
void BM_ReadEveryPosition(benchmark::State& state) {
  const int64_t samples = state.range(0);
  auto iterator = PositionIterator(samples);
  for (auto _ : state) {
    ComPtr<IKivDataBlocks> blocks;
    (void)iterator->GetDataBlocks(blocks.Put());
    uint32_t n = 0;
    (void)blocks->GetCount(&n);
    double sum = 0;
    for (uint32_t b = 1; b <= n; ++b) {
      ComPtr<IKivDataBlock> block;
      std::span<const double> values;
      (void)blocks->GetBlock(b, block.Put());
      (void)block->GetValuesReference(&values);
      for (double v : values) sum += v;
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetComplexityN(samples);
  state.SetItemsProcessed(state.iterations() * samples);
}
BENCHMARK(BM_ReadEveryPosition)->Arg(90'000)->Arg(180'000)->Arg(360'000)->Arg(720'000)->Complexity(benchmark::oN)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace velmar
BENCHMARK_MAIN();
