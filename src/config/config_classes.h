// Registers the classes of the shared configuration in a class registry:
// the objects a root owns (colour table, favourites, priorities,
// quantity-to-colour mapping, global constant factory, real-time settings,
// common channels), the three property databases the root creates by class
// identity, and the units component when nobody has registered it yet.
#pragma once

#include "velmar/class_registry.h"

namespace velmar {

[[nodiscard]] KivResult RegisterConfigClasses(ClassRegistry& registry);

}  // namespace velmar
