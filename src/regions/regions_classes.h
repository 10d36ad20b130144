// Registers the classes of time regions in a class registry: the lap and
// segment finders and the library's circuit map.
#pragma once

#include "velmar/class_registry.h"

namespace velmar {

[[nodiscard]] KivResult RegisterRegionsClasses(ClassRegistry& registry);

}  // namespace velmar
