// A circuit map read from a JSON file and placed on the session's root, so
// that its finders cut by it. Throws HostError naming the file and the
// fault when the map is refused; nothing of a refused map reaches the root.
#pragma once

#include <string>

#include "host_session.h"

namespace velmar::cli {

void UseCircuitMap(HostSession& session, const std::string& file);

}  // namespace velmar::cli
