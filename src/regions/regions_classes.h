// Registers the time-region finders that a host makes by identity.
#pragma once

#include "velmar/class_registry.h"

namespace velmar {

[[nodiscard]] KivResult RegisterRegionsClasses(ClassRegistry& registry);

}  // namespace velmar
