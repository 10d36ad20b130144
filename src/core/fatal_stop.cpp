#include "core/fatal_stop.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "velmar/text.h"

namespace velmar {
namespace {

void DefaultFatalStop(const std::u16string& message) {
  constexpr const char* kBang = "!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!\n";
  std::fprintf(stderr, "%s!!!!!! TerminateWithStackTrace !!!!!!\n%s%s\n%s", kBang, kBang,
               WideToUtf8(message).c_str(), kBang);
  std::fflush(stderr);
  std::_Exit(kFatalExitCode);
}

std::mutex& RoutineMutex() {
  static std::mutex mu;
  return mu;
}

FatalStopRoutine& Routine() {
  static FatalStopRoutine routine = DefaultFatalStop;  // guarded by RoutineMutex
  return routine;
}

}  // namespace

void FatalStop(const std::u16string& message) {
  FatalStopRoutine routine;
  {
    std::lock_guard lock(RoutineMutex());
    routine = Routine();
  }
  routine(message);
}

void SetFatalStopRoutine(FatalStopRoutine routine) {
  std::lock_guard lock(RoutineMutex());
  Routine() = routine ? std::move(routine) : FatalStopRoutine(DefaultFatalStop);
}

}  // namespace velmar
