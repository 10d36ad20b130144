// Channel names from column headers. A header may end in its unit in square
// brackets, "Speed[km/h]": the unit is split off the end, and any bracket
// left in the name becomes "_", so the name can serve in a channel key.
#pragma once

#include <string>
#include <string_view>

#include "velmar/channel_key.h"
#include "outing/channels/channel_scaling.h"
#include "velmar/property_factories.h"
#include "velmar/units.h"

namespace velmar {

struct HeaderName {
  std::u16string name;
  std::u16string unit;   // the text between the brackets; empty when none
  bool hasUnit = false;  // the header ended in a bracketed unit (maybe empty)
  friend bool operator==(const HeaderName&, const HeaderName&) = default;
};

// Splits "name[unit]". Only a last character "]" starts a unit; its "[" is
// the matching one, nested pairs counted. Without a matching "[" there is no
// unit. Brackets left in the name become "_".
[[nodiscard]] HeaderName SplitHeaderName(std::u16string_view header);

// A header's unit as the unit table knows it.
struct HeaderUnit {
  ChannelUnit unit;    // dimensionless when unknown or absent
  bool known = false;  // the table knows the text
  // The text to keep as the channel's "User type": a unit text the table
  // does not know; empty otherwise.
  std::u16string userType;
};

// Looks the unit text up in the table. No text, or no table: dimensionless.
[[nodiscard]] HeaderUnit LookUpHeaderUnit(std::u16string_view unitText, IKivUnitTable* table);

// `name` with every "_" replaced by a blank: the second try of a property
// lookup for sources that allow it.
[[nodiscard]] std::u16string UnderscoresToBlanks(std::u16string_view name);

// A column's channel: its key and the unit its values are recorded in.
struct HeaderChannel {
  CChannelKey key;
  ChannelUnit unit;
};

// The rest of the reading of a header, after the split: the name is looked
// up in the channel property database (again with "_" as blanks when
// `blankRetry`), the key made from the id found and the name, and the unit
// text looked up in the unit table. A name without a property gets one, of
// the unit's quantity, with "Unit" and, for a unit text the table does not
// know, "User type". The values are in the header's unit, or, for a header
// without a known one, in the found property's "Quantity" and "Unit".
// `properties` or `table` may be null: that step is left out.
[[nodiscard]] HeaderChannel ResolveHeaderChannel(const std::u16string& name, std::u16string_view unitText,
                                                 IKivChannelPropertyFactory* properties, IKivUnitTable* table,
                                                 bool blankRetry);

}  // namespace velmar
