// The add-in modules that ship with the library, loaded into the process's
// class table as a host loads any add-in.
#pragma once

#include "velmar/result.h"

namespace velmar::cli {

// Loads the math channels add-in: VELMAR_MATH_ADDIN, else the one built
// beside this program, else the installed one. The last failure when none
// loads (S_FALSE when it was loaded before).
[[nodiscard]] KivResult LoadMathAddIn();

}  // namespace velmar::cli
