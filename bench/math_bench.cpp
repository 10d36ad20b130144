// Math channels: "a * b + c" over three 100 Hz channels of a two-hour outing
// (720,000 samples each), evaluated by the add-in's evaluator, against numpy
// doing the same on the same arrays in the same run (x_numpy, by process CPU
// time: goal at least 0.5). Also the cost of reaching the root through the module's entry point:
// DllGetClassObject then CreateInstance.
#include <benchmark/benchmark.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <cmath>
#include <cstring>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "core/module/module_frame.h"
#include "math_evaluator.h"
#include "outing/blocks/channel_iterator.h"
#include "outing/blocks/data_block_aperiodic.h"
#include "outing/blocks/data_block_section.h"
#include "velmar/classes.h"

namespace velmar {
namespace {

constexpr uint32_t kSamples = 100 * 7200;
constexpr KivTime kInterval = 100000;  // 10 ms

std::vector<double> Wave(double phase) {
  std::vector<double> values(kSamples);
  for (uint32_t i = 0; i < kSamples; ++i) values[i] = std::sin(i * 1e-3 + phase) * 100.0;
  return values;
}

ComPtr<IKivChannelIterator> Periodic(std::vector<double> values) {
  std::shared_ptr<const DataSection> section;
  ComPtr<IKivDataBlockImplBase> block;
  if (Failed(DataSection::MakePeriodic(LockedArray<double>::FromVector(std::move(values)), 0, kInterval, &section)) ||
      Failed(MakeOutingDataBlock(section, 0, 0, true, &block))) {
    std::abort();
  }
  return MakeKiv<CChannelIterator>(std::make_shared<DataBlockList>(DataBlockList{block}), nullptr, nullptr);
}

double ProcessSeconds() {
  timespec now{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// numpy's CPU time for the same evaluation, in seconds; measured once a run.
double NumpySeconds(const std::vector<std::vector<double>>& columns) {
  static const double seconds = [&] {
    const auto file = std::filesystem::temp_directory_path() / "velmar_math_bench.f64";
    {
      std::ofstream out(file, std::ios::binary);
      for (const auto& c : columns) out.write(reinterpret_cast<const char*>(c.data()), c.size() * sizeof(double));
    }
    const std::string command = "/usr/bin/python3 " VELMAR_SOURCE_DIR "/scripts/bench_numpy_math.py " +
                                file.string() + " " + std::to_string(kSamples);
    FILE* pipe = ::popen(command.c_str(), "r");
    char line[256] = {};
    if (!pipe || !std::fgets(line, sizeof line, pipe) || ::pclose(pipe) != 0) std::abort();
    std::filesystem::remove(file);
    std::fprintf(stderr, "peer: %s", line);
    const char* open = std::strchr(line, '(');
    if (!open) std::abort();
    return std::strtod(open + 1, nullptr) / 1000.0;
  }();
  return seconds;
}

void BM_MathChannelMulAdd(benchmark::State& state) {
  const std::vector<std::vector<double>> columns{Wave(0), Wave(1), Wave(2)};
  std::vector<ComPtr<IKivChannelIterator>> held{Periodic(columns[0]), Periodic(columns[1]), Periodic(columns[2])};
  std::vector<IKivChannelIterator*> operands{held[0].Get(), held[1].Get(), held[2].Get()};
  math::MathProgram program;
  std::u16string message;
  if (!math::Compile({u"Mix", u"a * b + c", {}}, &program, &message)) std::abort();
  DataBlockList blocks;
  // Process CPU time, as the peer measures it: the machine may be shared.
  const double start = ProcessSeconds();
  for (auto _ : state) {
    if (Failed(math::Evaluate(program, operands, &blocks))) std::abort();
    benchmark::DoNotOptimize(blocks.data());
  }
  const double ours = (ProcessSeconds() - start) /
                      static_cast<double>(std::max<benchmark::IterationCount>(state.iterations(), 1));
  const double numpy = NumpySeconds(columns);
  state.counters["Msamples_per_s"] = kSamples / ours / 1e6;
  state.counters["numpy_ms"] = numpy * 1000;
  state.counters["x_numpy"] = numpy / ours;  // goal: at least 0.5
}
BENCHMARK(BM_MathChannelMulAdd)->Unit(benchmark::kMillisecond);

void BM_GetClassObjectAndCreateRoot(benchmark::State& state) {
  ModuleFrame frame;
  for (auto _ : state) {
    ComPtr<IKivClassFactory> factory;
    ComPtr<IKivVelmar> root;
    if (Failed(frame.GetClassObject(CLSID_KivVelmar, IKivClassFactory::iid, factory.PutVoid())) ||
        Failed(factory->CreateInstance(nullptr, IKivVelmar::iid, root.PutVoid()))) {
      std::abort();
    }
    (void)root->Close();
  }
}
BENCHMARK(BM_GetClassObjectAndCreateRoot)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace velmar

BENCHMARK_MAIN();
