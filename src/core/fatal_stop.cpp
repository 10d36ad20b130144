#include "core/fatal_stop.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "velmar/text.h"

namespace velmar {
namespace {

std::mutex& RoutineMutex() {
  static std::mutex mu;
  return mu;
}

KivFatalStopCallback& HostCallback() {
  static KivFatalStopCallback callback;  // guarded by RoutineMutex
  return callback;
}

void DefaultFatalStop(const std::u16string& message) {
  constexpr const char* kBang = "!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!!";
  const std::string text = WideToUtf8(message);
  // The debug output, then the user.
  std::fprintf(stderr, "%s\n!!!!!! TerminateWithStackTrace !!!!!!\n%s\n%s\n%s\n", kBang, kBang, text.c_str(), kBang);
  std::fprintf(stderr, "Fatal Error: %s\n", text.c_str());
  std::fflush(stderr);
  KivFatalStopCallback callback;
  {
    std::lock_guard lock(RoutineMutex());
    callback = HostCallback();
  }
  if (callback) callback(u"Fatal Error", message);
  std::_Exit(kFatalExitCode);
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

void KivSetFatalStopCallback(KivFatalStopCallback callback) {
  std::lock_guard lock(RoutineMutex());
  HostCallback() = std::move(callback);
}

}  // namespace velmar
