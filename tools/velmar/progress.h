// A progress line on stderr while the host waits for the library's worker
// threads. A load gives no fraction done, so the line shows what is being
// waited for, a spinner and the time so far. It appears only once a wait has
// lasted over a second, and only when stderr is a terminal, so scripts and
// pipes never see it.
#pragma once

#include <chrono>
#include <string>

namespace velmar::cli {

class Progress {
 public:
  using Clock = std::chrono::steady_clock;

  // `enabled` false keeps the line off whatever the terminal is.
  explicit Progress(bool enabled);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  // Starts timing a wait for `what` (a file name).
  void Begin(std::string what);
  // Redraws the line when the wait has lasted long enough.
  void Tick();
  // Clears the line, if one was drawn.
  void End();

  // The text of the line after `elapsed`, spinner frame `frame`.
  static std::string Line(const std::string& what, std::chrono::milliseconds elapsed, unsigned frame);
  // Whether stderr is a terminal.
  static bool StderrIsTerminal();

 private:
  bool enabled_;
  bool active_ = false;
  bool drawn_ = false;
  unsigned frame_ = 0;
  std::string what_;
  Clock::time_point start_;
};

}  // namespace velmar::cli
