// Unit scaling of a channel's values: stored value = value x factor + offset,
// from the channel's unit to its quantity's base unit.
#pragma once

#include <span>

#include "velmar/property_set.h"
#include "velmar/units.h"

namespace velmar {

// A channel's quantity and unit as its property gives them.
struct ChannelUnit {
  QuantityId quantity = kQuantityDimensionless;
  UnitId unit = kBaseUnit;
  friend bool operator==(const ChannelUnit&, const ChannelUnit&) = default;
};

struct ChannelScaling {
  double factor = 1.0;
  double offset = 0.0;

  bool IsIdentity() const { return factor == 1.0 && offset == 0.0; }
  double Apply(double value) const { return value * factor + offset; }
  friend bool operator==(const ChannelScaling&, const ChannelScaling&) = default;
};

// The scaling that reads `unit` into its quantity's base unit: the converter
// asked for (quantity, unit, 0). Quantity 0 or no converter: identity and
// S_OK. A unit the converter does not know: its code, and identity.
[[nodiscard]] KivResult ReadingScaling(const ChannelUnit& unit, IKivUnits* units, ChannelScaling* scaling);

// The "Quantity" and "Unit" of a channel property (u32 or i32 each);
// dimensionless when the property is null or lacks them.
[[nodiscard]] ChannelUnit UnitFromProperty(IKivPropertySet* property);

// out[k] = scaling.Apply(in[k]); `out` as long as `in`.
void ApplyScaling(const ChannelScaling& scaling, std::span<const double> in, std::span<double> out);

}  // namespace velmar
