#include "outing/channels/channel_header.h"

#include <algorithm>
#include <optional>

#include "velmar/channel_key.h"

namespace velmar {

namespace {

// Index of the "[" that matches the "]" at `close`, nested pairs counted;
// npos when there is none.
size_t MatchingOpen(std::u16string_view text, size_t close) {
  size_t depth = 0;
  for (size_t i = close; i-- > 0;) {
    if (text[i] == u']') {
      ++depth;
    } else if (text[i] == u'[') {
      if (depth == 0) return i;
      --depth;
    }
  }
  return std::u16string_view::npos;
}

// The quantity of the first key of that name in the database.
std::optional<int32_t> FindKeyQuantity(IKivChannelPropertyFactory* properties, const std::u16string& name) {
  uint32_t count = 0;
  if (!properties || Failed(properties->GetKeyCount(&count))) return std::nullopt;
  for (uint32_t index = 1; index <= count; ++index) {
    std::u16string keyName;
    int32_t quantity = 0;
    if (Succeeded(properties->GetKey(index, &keyName, &quantity)) && keyName == name) return quantity;
  }
  return std::nullopt;
}

// A new property for the column: its unit, and the text of a unit nobody knows.
void AddHeaderProperty(IKivChannelPropertyFactory* properties, const std::u16string& name, const HeaderUnit& unit,
                       std::u16string_view unitText) {
  ComPtr<IKivPropertySet> set;
  if (!properties || Failed(properties->GetPropertySet(name, unit.unit.quantity, set.Put())) || !set) return;
  (void)set->SetProperty(u"Unit", Variant::U32(static_cast<uint32_t>(unit.unit.unit)));
  if (!unit.known && !unitText.empty()) (void)set->SetProperty(u"User type", Variant::Text(std::u16string(unitText)));
}

}  // namespace

HeaderChannel ResolveHeaderChannel(const std::u16string& name, std::u16string_view unitText,
                                   IKivChannelPropertyFactory* properties, IKivUnitTable* table, bool blankRetry) {
  const HeaderUnit unit = LookUpHeaderUnit(unitText, table);
  std::u16string foundName = name;
  std::optional<int32_t> found = FindKeyQuantity(properties, name);
  if (!found && blankRetry) {
    foundName = UnderscoresToBlanks(name);
    found = FindKeyQuantity(properties, foundName);
  }
  if (!found) {
    AddHeaderProperty(properties, name, unit, unitText);
    return {CChannelKey(name, static_cast<uint32_t>(unit.unit.quantity)), unit.unit};
  }
  HeaderChannel channel{CChannelKey(name, static_cast<uint32_t>(*found)), unit.unit};
  // The header's own unit says what the values are; without one, the property does.
  ComPtr<IKivPropertySet> set;
  if (!unit.known && Succeeded(properties->GetPropertySet(foundName, *found, set.Put())) && set) {
    channel.unit = UnitFromProperty(set.Get());
  }
  return channel;
}

HeaderName SplitHeaderName(std::u16string_view header) {
  HeaderName out;
  if (!header.empty() && header.back() == u']') {
    const size_t close = header.size() - 1;
    const size_t open = MatchingOpen(header, close);
    if (open != std::u16string_view::npos) {
      out.unit = std::u16string(header.substr(open + 1, close - open - 1));
      out.hasUnit = true;
      header = header.substr(0, open);
    }
  }
  out.name = ReplaceBrackets(header);
  return out;
}

HeaderUnit LookUpHeaderUnit(std::u16string_view unitText, IKivUnitTable* table) {
  HeaderUnit out;
  if (unitText.empty()) return out;
  QuantityId quantity = kQuantityDimensionless;
  UnitId unit = kBaseUnit;
  if (table && table->FindUnit(std::u16string(unitText), &quantity, &unit) == S_OK) {
    out.unit = ChannelUnit{quantity, unit};
    out.known = true;
  } else {
    out.userType = std::u16string(unitText);
  }
  return out;
}

std::u16string UnderscoresToBlanks(std::u16string_view name) {
  std::u16string out(name);
  std::replace(out.begin(), out.end(), u'_', u' ');
  return out;
}

}  // namespace velmar
