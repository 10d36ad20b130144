// velmar events FILE remove --name N --time S: one stored event removed
// through the outing's events writer in one transaction.
#pragma once

#include <string>

#include "commands.h"

namespace velmar::cli {

struct EventRemoval {
  std::string name;
  double seconds = 0.0;
};

// Throws HostError with the transaction's messages when the removal fails.
void RemoveEvent(const std::string& file, const EventRemoval& removal, const CommandContext& context);

}  // namespace velmar::cli
