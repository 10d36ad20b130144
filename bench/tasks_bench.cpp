// What reading through a task's selection costs: a channel read through its
// proxy against the channel itself, the offset filter against a plain loop
// adding the offset, and task Update adding and removing many selections.
#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>
#include <span>
#include <vector>

#include "outing/channels/offset_filter.h"
#include "platform/async/dispatcher.h"
#include "platform/async/job_engine.h"
#include "sources/text/text_outing_source.h"
#include "tasks/task.h"
#include "velmar/sample.h"
#include "velmar/text.h"

namespace velmar {
namespace {

// Every value touched, in four lanes so that the adds do not wait on each
// other: the readers and the peer pay the same for it.
double Sum(std::span<const double> values) {
  double lanes[4] = {0, 0, 0, 0};
  size_t i = 0;
  for (; i + 4 <= values.size(); i += 4)
    for (size_t k = 0; k < 4; ++k) lanes[k] += values[i + k];
  for (; i < values.size(); ++i) lanes[0] += values[i];
  return lanes[0] + lanes[1] + lanes[2] + lanes[3];
}

// One generated outing (20 laps at 100 Hz), in a task's selection, loaded.
struct Loaded {
  Loaded() {
    if (Failed(RegisterTextOutingSource()) || Failed(StgCreateMemoryStorage(storage.Put())) ||
        Failed(CreateTask(&task)) || Failed(task->InitNew(storage.Get())))
      std::abort();
    const auto path = std::filesystem::temp_directory_path() / "velmar_tasks_bench.txt";
    if (Failed(KivWriteSampleOuting(Utf8ToWide(path.string()), {20, 100.0, 1}))) std::abort();
    DataSelectionList added;
    if (Failed(OpenTextOuting(Utf8ToWide(path.string()), false, &outing)) ||
        Failed(task->Update(kTaskAddSelections, nullptr, 1, 0, u"", u"", 0, u"", 0, KIV_FALSE, 1, &added)) ||
        Failed(added.front()->Update(kSelectionOuting, outing.Get(), nullptr, 0, 0, 0, KIV_FALSE)))
      std::abort();
    selection = added.front();
    NameList names;
    (void)QueryAs<IKivChannelFactory>(outing.Get())->GetNames(&names);
    Settle();
    (void)QueryAs<IKivChannelFactory>(outing.Get())->GetItem(u"Speed", direct.Put());
    (void)QueryAs<IKivChannelFactory>(selection.Get())->GetItem(u"Speed", proxy.Put());
    (void)Values(direct.Get());
  }
  void Settle() { (void)Async_RunUntilSettled(dispatcher, std::chrono::seconds(60)); }
  // Reads every value in place; waits for the data the first time.
  size_t Values(IKivChannel* channel) {
    ComPtr<IKivChannelIterator2> iterator;
    for (int round = 0; channel->GetIterator(iterator.Put()) == KIV_E_PENDING && round < 5; ++round) Settle();
    ComPtr<IKivDataBlocks> blocks;
    uint32_t count = 0;
    size_t n = 0;
    if (!iterator || Failed(iterator->GetDataBlocks(blocks.Put())) || Failed(blocks->GetCount(&count))) std::abort();
    double sum = 0;
    for (uint32_t i = 1; i <= count; ++i) {
      ComPtr<IKivDataBlock> block;
      std::span<const double> values;
      if (Failed(blocks->GetBlock(i, block.Put())) || Failed(block->GetValuesReference(&values))) std::abort();
      sum += Sum(values);
      n += values.size();
    }
    benchmark::DoNotOptimize(sum);
    return n;
  }

  Dispatcher dispatcher;
  Dispatcher::ScopedCurrent current{dispatcher};
  ComPtr<IKivStorage> storage;
  ComPtr<CTask> task;
  ComPtr<IKivOuting> outing;
  ComPtr<IKivDataSelection4> selection;
  ComPtr<IKivChannel> direct, proxy;
};

Loaded& Shared() {
  static Loaded loaded;
  return loaded;
}

void BM_ReadChannelDirectly(benchmark::State& state) {
  Loaded& l = Shared();
  size_t n = 0;
  for (auto _ : state) n = l.Values(l.direct.Get());
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * n));
}
BENCHMARK(BM_ReadChannelDirectly);

void BM_ReadChannelThroughProxy(benchmark::State& state) {
  Loaded& l = Shared();
  size_t n = 0;
  for (auto _ : state) n = l.Values(l.proxy.Get());
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * n));
}
BENCHMARK(BM_ReadChannelThroughProxy);

// A new filter each time, so every value is computed as it is read.
void BM_ReadThroughOffsetFilter(benchmark::State& state) {
  Loaded& l = Shared();
  size_t n = 0;
  for (auto _ : state) {
    ComPtr<CBasicOffsetFilter> filter;
    if (Failed(CreateOffsetFilter(l.direct.Get(), 1.5, &filter))) std::abort();
    n = l.Values(filter.Get());
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * n));
}
BENCHMARK(BM_ReadThroughOffsetFilter);

// The same filter read again: its values were computed by the first read.
void BM_RereadThroughOffsetFilter(benchmark::State& state) {
  Loaded& l = Shared();
  ComPtr<CBasicOffsetFilter> filter;
  if (Failed(CreateOffsetFilter(l.direct.Get(), 1.5, &filter))) std::abort();
  size_t n = l.Values(filter.Get());
  for (auto _ : state) n = l.Values(filter.Get());
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * n));
}
BENCHMARK(BM_RereadThroughOffsetFilter);

// The peer: the same samples copied with the offset added in a plain loop.
void BM_PlainOffsetLoop(benchmark::State& state) {
  Loaded& l = Shared();
  std::vector<double> input;
  ComPtr<IKivChannelIterator2> iterator;
  ComPtr<IKivDataBlocks> blocks;
  ComPtr<IKivDataBlock> block;
  if (Failed(l.direct->GetIterator(iterator.Put())) || Failed(iterator->GetDataBlocks(blocks.Put())) ||
      Failed(blocks->GetBlock(1, block.Put())) || Failed(block->GetValues(&input)))
    std::abort();
  for (auto _ : state) {
    std::vector<double> out(input.size());
    for (size_t i = 0; i < input.size(); ++i) out[i] = input[i] + 1.5;
    benchmark::DoNotOptimize(Sum(out));
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * input.size()));
}
BENCHMARK(BM_PlainOffsetLoop);

// Adding N selections to a task in one Update and removing them in another.
void BM_TaskAddAndRemoveSelections(benchmark::State& state) {
  const auto n = static_cast<uint32_t>(state.range(0));
  ComPtr<IKivStorage> storage;
  ComPtr<CTask> task;
  if (Failed(StgCreateMemoryStorage(storage.Put())) || Failed(CreateTask(&task)) || Failed(task->InitNew(storage.Get())))
    std::abort();
  std::vector<Variant> all;
  for (uint32_t i = 1; i <= n; ++i) all.push_back(Variant::I32(static_cast<int32_t>(i)));
  const Variant indexes = Variant::Array(all);
  for (auto _ : state) {
    DataSelectionList added;
    if (Failed(task->Update(kTaskAddSelections, nullptr, n, 0, u"", u"", 0, u"", 0, KIV_FALSE, 1, &added)) ||
        Failed(task->Update(kTaskRemoveSelections, &indexes, 0, 0, u"", u"", 0, u"", 0, KIV_FALSE, 1, &added)))
      std::abort();
  }
  state.SetComplexityN(n);
}
BENCHMARK(BM_TaskAddAndRemoveSelections)->RangeMultiplier(2)->Range(25, 400)->Complexity();

}  // namespace
}  // namespace velmar

BENCHMARK_MAIN();
