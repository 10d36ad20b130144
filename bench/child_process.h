// Runs a program as a child process for the end-to-end benchmarks: its wall
// time and peak resident memory, per run and as the median over a
// benchmark's iterations. RunHost hands the last argument (the output file)
// to `before`, untimed, ahead of each run. Also the pieces every host
// benchmark shares: the generated text file, a peer script's own time, the
// removal of an output (with a store's side files) ahead of a run.
#pragma once

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <vector>

#include "sources/text/sample_generator.h"

namespace velmar::bench {

using Clock = std::chrono::steady_clock;

// Where the benchmark files live: $VELMAR_BENCH_DIR, else /tmp.
inline std::filesystem::path BenchDir() {
  const char* dir = std::getenv("VELMAR_BENCH_DIR");
  return dir ? std::filesystem::path(dir) : std::filesystem::path("/tmp");
}

#ifdef VELMAR_CLI_PATH
// The host binary: $VELMAR_CLI (to compare builds), else the one built here.
inline std::string Cli() {
  const char* cli = std::getenv("VELMAR_CLI");
  return cli ? cli : VELMAR_CLI_PATH;
}
#endif

struct RunResult {
  double seconds = 0;
  double peakBytes = 0;
  std::string out;  // standard output, when asked for
};

// Runs argv as a child, its output to `outPath` (or a pipe when empty).
inline RunResult RunChild(const std::vector<std::string>& args, const std::string& outPath = "/dev/null") {
  int pipeFds[2] = {-1, -1};
  const bool capture = outPath.empty();
  if (capture && ::pipe(pipeFds) != 0) std::abort();
  const auto start = Clock::now();
  const pid_t pid = ::fork();
  if (pid == 0) {
    int out = capture ? pipeFds[1] : ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ::dup2(out, 1);
    std::vector<char*> argv;
    for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  RunResult result;
  if (capture) {
    ::close(pipeFds[1]);
    char buf[4096];
    ssize_t n;
    while ((n = ::read(pipeFds[0], buf, sizeof buf)) > 0) result.out.append(buf, static_cast<size_t>(n));
    ::close(pipeFds[0]);
  }
  int status = 0;
  struct rusage usage {};
  if (::wait4(pid, &status, 0, &usage) != pid || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    std::fprintf(stderr, "host_bench: %s failed\n", args[0].c_str());
    std::exit(1);
  }
  result.seconds = std::chrono::duration<double>(Clock::now() - start).count();
  result.peakBytes = static_cast<double>(usage.ru_maxrss) * 1024.0;
  return result;
}

// Runs the host `args` once per iteration; reports time and peak memory.
// The result's time is the median run: other work on a shared machine
// lengthens single runs, and a median shrugs that off. `before` runs ahead
// of each, untimed.
inline RunResult RunHost(benchmark::State& state, const std::vector<std::string>& args, const std::string& out = "/dev/null",
                  void (*before)(const std::string&) = nullptr) {
  RunResult worst;
  std::vector<double> times;
  for (auto _ : state) {
    if (before) before(args.back());
    RunResult r = RunChild(args, out);
    state.SetIterationTime(r.seconds);
    times.push_back(r.seconds);
    worst.peakBytes = std::max(worst.peakBytes, r.peakBytes);
  }
  std::sort(times.begin(), times.end());
  worst.seconds = times[times.size() / 2];
  state.counters["median_ms"] = worst.seconds * 1000;
  state.counters["peak_MiB"] = worst.peakBytes / (1 << 20);
  return worst;
}

// A text data set of `rows` rows x 20 channels in $VELMAR_BENCH_DIR, made
// when missing.
inline std::filesystem::path SampleTextFile(const char* name, uint64_t rows) {
  std::filesystem::path p = BenchDir() / name;
  std::error_code ec;
  if (!std::filesystem::exists(p, ec) && !WriteSampleFile(p, GenerateWideRows(rows)).ok()) std::abort();
  return p;
}

// A peer script's own time in seconds, from its line "... (N ms ...": the
// interpreter's start and imports left out. The line goes to stderr.
inline double PeerSeconds(const std::vector<std::string>& args) {
  RunResult r = RunChild(args, "");
  const size_t open = r.out.find('(');
  if (open == std::string::npos) std::abort();
  std::fprintf(stderr, "peer: %s", r.out.c_str());
  return std::strtod(r.out.c_str() + open + 1, nullptr) / 1000.0;
}

// Removes an output file, with a store's side files, ahead of a run.
inline void RemoveOutput(const std::string& file) {
  std::error_code ec;
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) std::filesystem::remove(file + suffix, ec);
}

}  // namespace velmar::bench
