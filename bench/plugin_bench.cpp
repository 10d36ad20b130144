// A Python plug-in channel of 1,000,000 samples read through the library
// (factory, channel, iterator, values) against a recorded channel of the
// same size held as an outing holds it. The plug-in's arrays cross in one
// copy per block, with no call per sample.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "outing/blocks/channel_iterator.h"
#include "outing/blocks/data_block_aperiodic.h"
#include "outing/blocks/data_block_section.h"
#include "velmar/channel.h"
#include "velmar/plugin_tools.h"

namespace velmar {
namespace {

constexpr size_t kSamples = 1'000'000;

double SumValues(IKivChannelIterator2* iterator) {
  ComPtr<IKivDataBlocks> blocks;
  uint32_t count = 0;
  double sum = 0;
  (void)iterator->GetDataBlocks(blocks.Put());
  (void)blocks->GetCount(&count);
  for (uint32_t b = 1; b <= count; ++b) {
    ComPtr<IKivDataBlock> block;
    std::vector<double> values;
    (void)blocks->GetBlock(b, block.Put());
    (void)block->GetValues(&values);
    sum += values.back();
  }
  return sum;
}

void RecordedChannel(benchmark::State& state) {
  std::vector<double> values(kSamples);
  for (size_t k = 0; k < kSamples; ++k) values[k] = 0.5 * static_cast<double>(k);
  std::shared_ptr<const DataSection> section;
  (void)DataSection::MakePeriodic(LockedArray<double>::FromVector(std::move(values)), 0, 10'000, &section);
  for (auto _ : state) {
    // A fresh channel each time, as the plug-in's is.
    ComPtr<IKivDataBlockImplBase> block;
    (void)MakeOutingDataBlock(section, 0, 0, false, &block);
    auto blocks = std::make_shared<DataBlockList>();
    blocks->push_back(block);
    auto iterator = MakeKiv<CChannelIterator>(std::move(blocks), nullptr, nullptr);
    benchmark::DoNotOptimize(SumValues(iterator.Get()));
  }
  state.SetItemsProcessed(state.iterations() * kSamples);
}
BENCHMARK(RecordedChannel)->Unit(benchmark::kMillisecond);

// A "Tools" folder with one data factory of a 1,000,000-sample ramp.
std::filesystem::path MakeTools() {
  auto dir = std::filesystem::temp_directory_path() / "velmar-plugin-bench";
  std::filesystem::create_directories(dir);
  std::ofstream(dir / "ramp.py") << R"(import numpy as np
from kivara.tools import ArrayChannel, ContainsTools, IDataFactory, tool
marker = ContainsTools()

@tool(name="Ramp")
class Ramp(IDataFactory):
    def __init__(self):
        super().__init__()
        self.values = np.arange(1_000_000, dtype=np.float64) * 0.5
    Keys = ["Ramp"]
    def __getitem__(self, key):
        return ArrayChannel(self.values, start=0, interval=10_000)
)";
  return dir;
}

void PluginChannel(benchmark::State& state) {
  setenv("KIVARA_TOOLS", MakeTools().c_str(), 1);
  KivRescanPlugins();
  ComPtr<IKivChannelFactory> factory;
  if (Failed(KivCreatePluginChannelFactory(u"ramp.Ramp", nullptr, factory.Put()))) {
    state.SkipWithError("the plug-in could not be made");
    return;
  }
  for (auto _ : state) {
    ComPtr<IKivChannel> channel;
    ComPtr<IKivChannelIterator2> iterator;
    (void)factory->GetItem(u"Ramp", channel.Put());
    (void)channel->GetIterator(iterator.Put());
    benchmark::DoNotOptimize(SumValues(iterator.Get()));
  }
  state.SetItemsProcessed(state.iterations() * kSamples);
}
BENCHMARK(PluginChannel)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace velmar

BENCHMARK_MAIN();
