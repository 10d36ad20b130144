// A situation the library cannot recover from (a settings file that can no
// longer be written whole) ends the process with exit code 3142. Before it
// does, the message goes to standard error and to the host's callback, if
// the host set one: the place to show it to the user ("Fatal Error").
//
// Any thread; the callback runs on the thread that stops.
#pragma once

#include <functional>
#include <string>

namespace velmar {

inline constexpr int kKivFatalExitCode = 3142;

// title, message
using KivFatalStopCallback = std::function<void(const std::u16string&, const std::u16string&)>;

// Replaces the callback; an empty one removes it.
void KivSetFatalStopCallback(KivFatalStopCallback callback);

}  // namespace velmar
