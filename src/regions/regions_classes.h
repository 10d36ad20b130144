// Registers the classes of time regions in a class registry: the lap,
// outing and segment finders, the span navigator and the library's circuit
// map.
#pragma once

#include "velmar/class_registry.h"

namespace velmar {

[[nodiscard]] KivResult RegisterRegionsClasses(ClassRegistry& registry);

// Makes one of those classes without the registry: finders a task makes
// for its selections must exist even where no host registered them.
// CLASS_E_CLASSNOTAVAILABLE for any other identity.
[[nodiscard]] KivResult CreateRegionsClass(const Guid& clsid, IKivUnknown** out);

}  // namespace velmar
