// The one way out for a non-recoverable situation (a settings stream that
// can no longer be written): five lines on the debug output, the message to
// the user (standard error, and the host's callback of velmar/fatal_stop.h),
// and the process ends with code 3142. Tests replace the routine to see the
// text instead; a replaced routine may return, and the caller then gives
// E_FAIL.
//
// Any thread.
#pragma once

#include <functional>
#include <string>

#include "velmar/fatal_stop.h"

namespace velmar {

inline constexpr int kFatalExitCode = kKivFatalExitCode;

using FatalStopRoutine = std::function<void(const std::u16string& message)>;

// Runs the routine in force; the default one does not return.
void FatalStop(const std::u16string& message);
// Replaces the routine; an empty one puts the default back.
void SetFatalStopRoutine(FatalStopRoutine routine);

}  // namespace velmar
