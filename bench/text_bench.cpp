// Import speed of the text data set: a ~100 MB file with one channel block of
// 20 numeric columns, made by the sample generator. Compares our load with a
// bare fast_float pass over the same bytes; scripts/bench_pandas.py gives
// pandas.read_csv on the same file.
//
// The file is kept at $VELMAR_BENCH_DIR/text_bench_wide.txt (default /tmp)
// so that the pandas peer can read it too; it is made when missing.
#include <benchmark/benchmark.h>
#include <fast_float/fast_float.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "sources/text/ascii_file_handles.h"
#include "sources/text/ascii_outing_job_item.h"
#include "sources/text/format_value.h"
#include "sources/text/sample_generator.h"
#include "sources/text/text_reader.h"

namespace velmar {
namespace {

constexpr uint64_t kTargetBytes = 100u << 20;

const std::filesystem::path& BenchFile() {
  static const std::filesystem::path path = [] {
    const char* dir = std::getenv("VELMAR_BENCH_DIR");
    std::filesystem::path p = std::filesystem::path(dir ? dir : "/tmp") / "text_bench_wide.txt";
    std::error_code ec;
    auto size = std::filesystem::file_size(p, ec);
    if (ec || size < kTargetBytes * 95 / 100 || size > kTargetBytes * 105 / 100) {
      std::string bytes = GenerateWideTable(kTargetBytes);
      if (!WriteSampleFile(p, bytes).ok()) std::abort();
    }
    std::fprintf(stderr, "benchmark file: %s\n", p.c_str());
    return p;
  }();
  return path;
}

const std::string& BenchBytes() {
  static const std::string bytes = [] {
    std::string out;
    FILE* f = std::fopen(BenchFile().c_str(), "rb");
    char buf[1 << 16];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, n);
    std::fclose(f);
    return out;
  }();
  return bytes;
}

// What a load job does: open and read the file, index it, read every block.
void BM_LoadFile(benchmark::State& state) {
  ChannelReadOptions options;
  options.maxThreads = static_cast<unsigned>(state.range(0));
  size_t columns = 0;
  for (auto _ : state) {
    CAsciiFileHandles file(BenchFile());
    if (!file.Open(false).ok()) state.SkipWithError("open failed");
    auto info = file.ReadInformation();
    std::vector<TextColumn> out;
    if (!file.ReadChannels(&out, options).ok()) state.SkipWithError("read failed");
    auto events = file.ReadEvents();
    auto constants = file.ReadConstants();
    columns = out.size();
    benchmark::DoNotOptimize(out.data());
  }
  state.counters["columns"] = static_cast<double>(columns);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(BenchBytes().size()));
}
BENCHMARK(BM_LoadFile)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3);

// The load job's whole work: the above, then the columns handed over as
// raw channels, events grouped, lap markers made.
void BM_LoadOuting(benchmark::State& state) {
  ChannelReadOptions options;
  options.maxThreads = static_cast<unsigned>(state.range(0));
  for (auto _ : state) {
    AsciiOutingData data;
    if (!LoadAsciiOuting(BenchFile(), DefaultTextFileOps(), &data, options).ok()) state.SkipWithError("load failed");
    benchmark::DoNotOptimize(data.channels.size());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(BenchBytes().size()));
}
BENCHMARK(BM_LoadOuting)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3);

// The same from bytes already in memory.
void BM_LoadMemory(benchmark::State& state) {
  const std::string& bytes = BenchBytes();
  TextReadOptions options;
  options.channels.maxThreads = static_cast<unsigned>(state.range(0));
  for (auto _ : state) {
    TextDataSet data;
    if (!ReadTextDataSet(bytes, options, &data).ok()) state.SkipWithError("read failed");
    benchmark::DoNotOptimize(data.columns.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
}
BENCHMARK(BM_LoadMemory)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3);

// The floor: every number of the table through fast_float, nothing kept.
void BM_BareFastFloat(benchmark::State& state) {
  const std::string& bytes = BenchBytes();
  const char* begin = bytes.data();
  const char* end = begin + bytes.size();
  size_t numbers = 0;
  for (auto _ : state) {
    double sum = 0;
    numbers = 0;
    const char* p = begin;
    while (p < end) {
      const char* eol = static_cast<const char*>(std::memchr(p, '\n', static_cast<size_t>(end - p)));
      if (!eol) eol = end;
      if ((*p >= '0' && *p <= '9') || *p == '-') {  // a table row
        while (p < eol) {
          double v;
          auto r = fast_float::from_chars(p, eol, v);
          sum += v;
          ++numbers;
          p = r.ptr + 1;  // past the TAB or CR
        }
      }
      p = eol + 1;
    }
    benchmark::DoNotOptimize(sum);
  }
  state.counters["numbers"] = static_cast<double>(numbers);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
}
BENCHMARK(BM_BareFastFloat)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3);

// The index pass alone.
void BM_Scan(benchmark::State& state) {
  const std::string& bytes = BenchBytes();
  for (auto _ : state) benchmark::DoNotOptimize(Scan(bytes).channels.size());
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
}
BENCHMARK(BM_Scan)->Unit(benchmark::kMillisecond)->UseRealTime();

// Writing: a 10 MB table through the group writer and FormatValue.
void BM_GenerateWide(benchmark::State& state) {
  size_t size = 0;
  for (auto _ : state) size = GenerateWideTable(10u << 20).size();
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}
BENCHMARK(BM_GenerateWide)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace velmar

BENCHMARK_MAIN();
