// Data blocks and iterators: memory per sample, locate by time, and reading
// samples against a plain loop over a vector.
#include <benchmark/benchmark.h>

#include <malloc.h>

#include <map>
#include <memory>
#include <random>
#include <vector>

#include "outing/blocks/channel_iterator.h"
#include "outing/blocks/data_block_aperiodic.h"
#include "outing/blocks/data_block_periodic.h"
#include "outing/blocks/fast_iterator.h"
#include "outing/blocks/sample_cursor.h"

namespace velmar {
namespace {

// Heap bytes in use (small blocks and mapped ones), to weigh a channel.
size_t HeapInUse() {
  const struct mallinfo2 info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

constexpr KivTime kInterval = 10'000;  // 1 ms

ComPtr<CChannelIterator> OneBlockChannel(ComPtr<IKivDataBlockImplBase> block) {
  auto blocks = std::make_shared<DataBlockList>();
  blocks->push_back(std::move(block));
  return MakeKiv<CChannelIterator>(std::move(blocks), nullptr, nullptr);
}

// A periodic channel of n samples. The values are left unwritten: locate
// never reads them, so even 10^8 samples cost no time to set up.
ComPtr<CChannelIterator> PeriodicChannel(size_t n) {
  std::shared_ptr<const DataSection> section;
  (void)DataSection::MakePeriodic(LockedArray<double>::Uninitialized(n), 0, kInterval, &section);
  ComPtr<IKivDataBlockImplBase> block;
  (void)MakeOutingDataBlock(section, 0, 0, false, &block);
  return OneBlockChannel(block);
}

// An aperiodic channel of n samples with uneven spacing (1 or 2 intervals).
ComPtr<CChannelIterator> AperiodicChannel(size_t n) {
  auto times = LockedArray<KivTime>::Uninitialized(n);
  KivTime t = 0;
  std::minstd_rand rng(7);
  for (KivTime& slot : times.Writable()) {
    slot = t;
    t += kInterval * (1 + static_cast<KivTime>(rng() & 1));
  }
  std::shared_ptr<const DataSection> section;
  (void)DataSection::MakeAperiodic(LockedArray<double>::Uninitialized(n), std::move(times), &section);
  ComPtr<IKivDataBlockImplBase> block;
  (void)MakeOutingDataBlock(section, 0, 0, false, &block);
  return OneBlockChannel(block);
}

// Channels are built once per size and kept for the run.
ComPtr<CChannelIterator> Cached(bool periodic, size_t n) {
  static std::map<std::pair<bool, size_t>, ComPtr<CChannelIterator>> cache;
  auto& slot = cache[{periodic, n}];
  if (!slot) slot = periodic ? PeriodicChannel(n) : AperiodicChannel(n);
  return slot;
}

void LocateByTime(benchmark::State& state, bool periodic) {
  const auto n = static_cast<size_t>(state.range(0));
  auto channel = Cached(periodic, n);
  KivTime end = 0;
  (void)channel->GetEndTime(&end);
  std::vector<KivTime> probes(4096);
  std::mt19937_64 rng(42);
  std::uniform_int_distribution<KivTime> when(0, end);
  for (KivTime& p : probes) p = when(rng);
  IKivChannelIterator* it = channel.Get();
  size_t k = 0;
  for (auto _ : state) {
    uint32_t block = 0;
    uint32_t index = 0;
    benchmark::DoNotOptimize(it->FindBlock(probes[k++ & 4095], kFindNearest, kRangeWholeChannel, &block, &index));
    benchmark::DoNotOptimize(index);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()));
  state.SetLabel(periodic ? "periodic" : "aperiodic");
}

void BM_LocatePeriodic(benchmark::State& state) { LocateByTime(state, true); }
void BM_LocateAperiodic(benchmark::State& state) { LocateByTime(state, false); }
BENCHMARK(BM_LocatePeriodic)->Arg(10'000)->Arg(1'000'000)->Arg(100'000'000);
BENCHMARK(BM_LocateAperiodic)->Arg(10'000)->Arg(1'000'000)->Arg(100'000'000);

// Heap bytes of a whole periodic channel (values, section, block, block list,
// iterator) per sample, values made from a reader's vector without a copy.
void BM_MemoryPerSamplePeriodic(benchmark::State& state) {
  const auto n = static_cast<size_t>(state.range(0));
  double perSample = 0;
  for (auto _ : state) {
    const size_t before = HeapInUse();
    std::vector<double> read(n, 1.0);
    std::shared_ptr<const DataSection> section;
    (void)DataSection::MakePeriodic(LockedArray<double>::FromVector(std::move(read)), 0, kInterval, &section);
    ComPtr<IKivDataBlockImplBase> block;
    (void)MakeOutingDataBlock(std::move(section), 0, 0, false, &block);
    auto channel = OneBlockChannel(std::move(block));
    double first = 0;
    (void)channel->GetValueAtTime(0, kValueExact, 0, &first);
    perSample = static_cast<double>(HeapInUse() - before) / static_cast<double>(n);
    benchmark::DoNotOptimize(first);
  }
  state.counters["bytes_per_sample"] = perSample;
  // What a block adds whatever its length (the heap count above misses
  // blocks the allocator recycles from its caches).
  state.counters["block_object_bytes"] = static_cast<double>(sizeof(CPeriodicOutingDataBlock));
  state.counters["section_object_bytes"] = static_cast<double>(sizeof(DataSection));
}
BENCHMARK(BM_MemoryPerSamplePeriodic)->Arg(1'000'000)->Arg(10'000'000)->Iterations(3);

// Reading: 10^6 samples in 10 continuous periodic blocks.
constexpr size_t kReadSamples = 1'000'000;
constexpr size_t kReadBlocks = 10;

struct ReadData {
  std::vector<double> plain;
  ComPtr<CChannelIterator> channel;
};

const ReadData& Reading() {
  static const ReadData data = [] {
    ReadData d;
    d.plain.resize(kReadSamples);
    for (size_t i = 0; i < kReadSamples; ++i) d.plain[i] = static_cast<double>(i % 1000) * 0.5;
    auto blocks = std::make_shared<DataBlockList>();
    const size_t per = kReadSamples / kReadBlocks;
    for (size_t b = 0; b < kReadBlocks; ++b) {
      std::vector<double> part(d.plain.begin() + static_cast<std::ptrdiff_t>(b * per),
                               d.plain.begin() + static_cast<std::ptrdiff_t>((b + 1) * per));
      std::shared_ptr<const DataSection> section;
      (void)DataSection::MakePeriodic(LockedArray<double>::FromVector(std::move(part)),
                                      static_cast<KivTime>(b * per) * kInterval, kInterval, &section);
      ComPtr<IKivDataBlockImplBase> block;
      (void)MakeOutingDataBlock(section, static_cast<uint32_t>(b), 0, b > 0, &block);
      blocks->push_back(block);
    }
    d.channel = MakeKiv<CChannelIterator>(std::move(blocks), nullptr, nullptr);
    return d;
  }();
  return data;
}

// Each reader sums in a function of its own, so that the sum stays in a
// register (a sum kept in memory would cost more than the reading).
double SumPlain(const std::vector<double>& v) {
  double sum = 0;
  for (double x : v) sum += x;
  return sum;
}

double SumBlockReferences(IKivChannelIterator* it) {
  double sum = 0;
  ComPtr<IKivDataBlocks> blocks;
  (void)it->GetDataBlocks(blocks.Put());
  uint32_t count = 0;
  (void)blocks->GetCount(&count);
  for (uint32_t b = 1; b <= count; ++b) {
    ComPtr<IKivDataBlock> block;
    (void)blocks->GetBlock(b, block.Put());
    std::span<const double> values;
    (void)block->GetValuesReference(&values);
    double part = 0;
    for (double x : values) part += x;
    sum += part;
  }
  return sum;
}

double SumFastIterator(IKivChannelIterator* it, size_t calls, KivTime step) {
  CFastIterator walk;
  walk.Attach(it);
  double sum = 0;
  KivTime t = 0;
  for (size_t i = 0; i < calls; ++i, t += step) {
    double v = 0;
    if (walk.GetValue(t, &v) == CFastIterator::kValue) sum += v;
  }
  return sum;
}

double SumCursor(ComPtr<CChannelIterator> it, bool forward) {
  SampleCursor cursor(std::move(it));
  double sum = 0;
  if (forward ? cursor.SeekFirst() : cursor.SeekLast()) {
    do {
      sum += cursor.value();
    } while (forward ? cursor.Next() : cursor.Previous());
  }
  return sum;
}

double SumForEach(const CChannelIterator& it) {
  double sum = 0;
  (void)ForEachSample(*it.blockList(), kTimeMin, kTimeMax, [&sum](KivTime, double v) { sum += v; });
  return sum;
}

// The fast iterator's batch form: all sample times at once, then a sum.
double SumFastIteratorBatch(IKivChannelIterator* it, const std::vector<KivTime>& times, std::vector<double>& values,
                            std::vector<CFastIterator::Result>& results) {
  CFastIterator walk;
  walk.Attach(it);
  walk.GetValues(times, values, results);
  double sum = 0;
  for (double v : values) sum += v;
  return sum;
}

void BM_ReadPlainVector(benchmark::State& state) {
  const std::vector<double>& v = Reading().plain;
  for (auto _ : state) benchmark::DoNotOptimize(SumPlain(v));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kReadSamples));
}
BENCHMARK(BM_ReadPlainVector);

// Through the interfaces: block list, then each block's borrowed values.
void BM_ReadBlockReferences(benchmark::State& state) {
  IKivChannelIterator* it = Reading().channel.Get();
  for (auto _ : state) benchmark::DoNotOptimize(SumBlockReferences(it));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kReadSamples));
}
BENCHMARK(BM_ReadBlockReferences);

// Every (time, value) of the channel, block by block.
void BM_ReadForEachSample(benchmark::State& state) {
  const CChannelIterator& it = *Reading().channel;
  for (auto _ : state) benchmark::DoNotOptimize(SumForEach(it));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kReadSamples));
}
BENCHMARK(BM_ReadForEachSample);

// The fast iterator asked at every sample time, in rising order.
void BM_ReadFastIterator(benchmark::State& state) {
  IKivChannelIterator* it = Reading().channel.Get();
  for (auto _ : state) benchmark::DoNotOptimize(SumFastIterator(it, kReadSamples, kInterval));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kReadSamples));
}
BENCHMARK(BM_ReadFastIterator);

void BM_ReadFastIteratorBatch(benchmark::State& state) {
  IKivChannelIterator* it = Reading().channel.Get();
  std::vector<KivTime> times(kReadSamples);
  for (size_t i = 0; i < kReadSamples; ++i) times[i] = static_cast<KivTime>(i) * kInterval;
  std::vector<double> values(kReadSamples);
  std::vector<CFastIterator::Result> results(kReadSamples);
  for (auto _ : state) benchmark::DoNotOptimize(SumFastIteratorBatch(it, times, values, results));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kReadSamples));
}
BENCHMARK(BM_ReadFastIteratorBatch);

// The fast iterator resampling at half the interval (every other call interpolates).
void BM_ReadFastIteratorResampled(benchmark::State& state) {
  IKivChannelIterator* it = Reading().channel.Get();
  for (auto _ : state) benchmark::DoNotOptimize(SumFastIterator(it, 2 * kReadSamples, kInterval / 2));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * 2 * kReadSamples));
}
BENCHMARK(BM_ReadFastIteratorResampled);

// The cursor walking forward, and backward.
void ReadCursor(benchmark::State& state, bool forward) {
  for (auto _ : state) benchmark::DoNotOptimize(SumCursor(Reading().channel, forward));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kReadSamples));
}
void BM_ReadCursorForward(benchmark::State& state) { ReadCursor(state, true); }
void BM_ReadCursorBackward(benchmark::State& state) { ReadCursor(state, false); }
BENCHMARK(BM_ReadCursorForward);
BENCHMARK(BM_ReadCursorBackward);

}  // namespace
}  // namespace velmar

BENCHMARK_MAIN();
