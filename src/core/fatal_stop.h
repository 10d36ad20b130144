// The one way out for a non-recoverable situation (a settings stream that
// can no longer be written): the text goes to the log and the process ends
// with code 3142. Tests replace the routine to see the text instead.
//
// Any thread.
#pragma once

#include <functional>
#include <string>

namespace velmar {

inline constexpr int kFatalExitCode = 3142;

using FatalStopRoutine = std::function<void(const std::u16string& message)>;

// Runs the routine in force; the default one does not return.
void FatalStop(const std::u16string& message);
// Replaces the routine; an empty one puts the default back.
void SetFatalStopRoutine(FatalStopRoutine routine);

}  // namespace velmar
