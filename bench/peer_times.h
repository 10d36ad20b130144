// The times of a peer script run as a child (python with scipy, pandas...):
// it prints its best wall clock in brackets, "(12.3 ms)", and its process
// CPU time in square brackets, "[10.1 ms]"; interpreter start and imports
// are its own to leave out. And this process's CPU time, to compare with.
#pragma once

#include <time.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace velmar::bench {

struct PeerTimes {
  double wall = std::nan("");  // seconds
  double cpu = std::nan("");
};

// Runs `command`; nothing (NaN) when it fails. Its line goes to stderr.
inline PeerTimes RunPeer(const std::string& command) {
  PeerTimes out;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) return out;
  char line[512] = {};
  const bool read = std::fgets(line, sizeof line, pipe) != nullptr;
  if (::pclose(pipe) != 0 || !read) return out;
  std::fprintf(stderr, "peer: %s", line);
  // The last brackets: a peer's name may hold some too.
  if (const char* wall = std::strrchr(line, '(')) out.wall = std::strtod(wall + 1, nullptr) / 1000.0;
  if (const char* cpu = std::strrchr(line, '[')) out.cpu = std::strtod(cpu + 1, nullptr) / 1000.0;
  return out;
}

inline double ProcessCpuSeconds() {
  timespec t{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

}  // namespace velmar::bench
