// The class table in the registry file, as a component's self-registration
// writes it: per class its identity key (name, program ids, the module's
// path, threading model, categories) and its two program-id keys, then the
// type library. Removal takes the category entries first, then the rest.
//
// Any thread; each key write goes to the file at once.
#pragma once

#include <string>

#include "velmar/class_registry.h"
#include "velmar/registry.h"
#include "velmar/result.h"

namespace velmar {

// `classes` is the key the class entries live under (per user,
// "Software\Classes"); `module` the path written as the server.
// Stops at the first failure and gives its code.
[[nodiscard]] KivResult RegisterClassTable(const RegistryKey& classes, const std::u16string& module,
                                           const ClassRegistry& registry);
// Entries already gone count as removed.
[[nodiscard]] KivResult UnregisterClassTable(const RegistryKey& classes);

}  // namespace velmar
