// The module's class table: every class a host can make by identity, and
// the built-in sources, put into the process-wide class registry once.
// KivRegisterBuiltInClasses and KivCreateInstance (velmar/classes.h) are
// the public face of this; the exported entry points of a loadable module
// sit on the same table.
#pragma once

#include "velmar/class_registry.h"
#include "velmar/result.h"

namespace velmar {

// Registers the library's classes into `registry` (the process table or a
// test's own). Rows of the public class table that this build cannot make
// are entered with their program ids and no creation function.
[[nodiscard]] KivResult RegisterBuiltInClasses(ClassRegistry& registry);

}  // namespace velmar
