// The unit of a channel's values as a host finds it: the channel's entry in
// the root's channel property database gives its quantity and "Unit" (and,
// for a unit the table does not know, its "User type" text). Values come
// out of a channel in the quantity's base unit; a host shows them in the
// channel's own unit, converted back, unless asked for base units.
#pragma once

#include <string>
#include <vector>

#include "velmar/units.h"
#include "velmar/velmar.h"

namespace velmar::cli {

struct ChannelUnit {
  std::u16string text;  // empty when nothing is known
  QuantityId quantity = kQuantityDimensionless;
  UnitId unit = kBaseUnit;  // the unit `text` names
};

// The unit of channel `name`; an empty text when nothing is known. A channel
// key ("[3]Speed") names its quantity itself; a key of quantity 0, or a plain
// name, is looked up in the database by name. With `baseUnits`, or without a
// "Unit", the quantity's base unit.
// An offset in `unit` as the same step in the quantity's base unit.
double BaseUnitOffset(const ChannelUnit& unit, double offset);

ChannelUnit FindChannelUnit(IKivVelmar* root, const std::u16string& name, bool baseUnits = true);

// Values in the quantity's base unit, turned into `unit`'s own unit.
void FromBaseUnit(const ChannelUnit& unit, std::vector<double>& values);

}  // namespace velmar::cli
