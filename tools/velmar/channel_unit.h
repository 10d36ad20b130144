// The unit of a channel's values as a host finds it: the channel's entry in
// the root's channel property database gives its quantity (and, for a unit
// the table does not know, its "User type" text). Values come out of a
// channel in the quantity's base unit, so that is the unit shown.
#pragma once

#include <string>

#include "velmar/units.h"
#include "velmar/velmar.h"

namespace velmar::cli {

struct ChannelUnit {
  std::u16string text;  // empty when nothing is known
  QuantityId quantity = kQuantityDimensionless;
};

// The unit of channel `name`; an empty text when nothing is known. A channel
// key ("[3]Speed") names its quantity itself; a key of quantity 0, or a plain
// name, is looked up in the database by name.
ChannelUnit FindChannelUnit(IKivVelmar* root, const std::u16string& name);

}  // namespace velmar::cli
