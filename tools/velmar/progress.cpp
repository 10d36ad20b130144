#include "progress.h"

#include <unistd.h>

#include <cstdio>

namespace velmar::cli {
namespace {

constexpr std::chrono::milliseconds kShowAfter{1000};
constexpr char kSpinner[] = {'|', '/', '-', '\\'};

}  // namespace

Progress::Progress(bool enabled) : enabled_(enabled) {}

Progress::~Progress() { End(); }

void Progress::Begin(std::string what) {
  what_ = std::move(what);
  start_ = Clock::now();
  active_ = true;
}

void Progress::Tick() {
  if (!enabled_ || !active_) return;
  const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start_);
  if (elapsed < kShowAfter) return;
  std::fprintf(stderr, "\r%s", Line(what_, elapsed, frame_++).c_str());
  std::fflush(stderr);
  drawn_ = true;
}

void Progress::End() {
  if (drawn_) {
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
  }
  drawn_ = false;
  active_ = false;
}

std::string Progress::Line(const std::string& what, std::chrono::milliseconds elapsed, unsigned frame) {
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.1f s", static_cast<double>(elapsed.count()) / 1000.0);
  return std::string("[") + kSpinner[frame % sizeof kSpinner] + "] loading " + what + "  " + seconds;
}

bool Progress::StderrIsTerminal() { return ::isatty(STDERR_FILENO) == 1; }

}  // namespace velmar::cli
