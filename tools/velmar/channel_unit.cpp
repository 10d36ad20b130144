#include "channel_unit.h"

#include "velmar/channel_key.h"
#include "velmar/property_factories.h"

namespace velmar::cli {
namespace {

ComPtr<IKivUnitTable> UnitTable() {
  ComPtr<IKivUnitTable> table;
  if (Failed(CreateUnitsComponent(&table))) table = nullptr;
  return table;
}

std::u16string UnitText(QuantityId quantity, UnitId unit) {
  ComPtr<IKivUnitTable> table = UnitTable();
  std::u16string text;
  if (table) (void)table->GetUnitText(quantity, unit, &text);
  return text;
}

std::u16string BaseUnitText(QuantityId quantity) { return UnitText(quantity, kBaseUnit); }

// The "Unit" of a property: the unit the channel was recorded in.
UnitId RecordedUnit(IKivPropertySet* set) {
  Variant value;
  if (!set || Failed(set->GetProperty(u"Unit", &value))) return kBaseUnit;
  const std::optional<double> unit = value.ToDouble();
  return unit ? static_cast<UnitId>(*unit) : kBaseUnit;
}

std::u16string TextProperty(IKivPropertySet* set, const std::u16string& name) {
  Variant value;
  if (Failed(set->GetProperty(name, &value))) return {};
  const std::u16string* text = value.AsText();
  return text ? *text : std::u16string();
}

}  // namespace

double BaseUnitOffset(const ChannelUnit& unit, double offset) {
  if (unit.quantity == kQuantityDimensionless || unit.unit == kBaseUnit) return offset;
  ComPtr<IKivUnitTable> table = UnitTable();
  double zero = 0.0, shifted = offset;
  if (!table || Failed(table->ConvertValue(unit.quantity, unit.unit, kBaseUnit, 0.0, &zero)) ||
      Failed(table->ConvertValue(unit.quantity, unit.unit, kBaseUnit, offset, &shifted)))
    return offset;
  return shifted - zero;
}

void FromBaseUnit(const ChannelUnit& unit, std::vector<double>& values) {
  if (unit.quantity == kQuantityDimensionless || unit.unit == kBaseUnit) return;
  ComPtr<IKivUnitTable> table = UnitTable();
  if (!table) return;
  for (double& value : values) {
    double converted = value;
    if (Succeeded(table->ConvertValue(unit.quantity, kBaseUnit, unit.unit, value, &converted))) value = converted;
  }
}

ChannelUnit FindChannelUnit(IKivVelmar* root, const std::u16string& listed, bool baseUnits) {
  ChannelUnit found;
  CChannelKey key;
  if (CChannelKey::Parse(listed, &key) && static_cast<QuantityId>(key.id()) > kQuantityDimensionless) {
    found.quantity = static_cast<QuantityId>(key.id());
    found.text = BaseUnitText(found.quantity);
    return found;
  }
  const std::u16string name = ChannelDisplayName(listed);
  ComPtr<IKivChannelPropertyFactory> properties;
  if (!root || Failed(root->GetChannelPropertyFactory(properties.Put())) || !properties) return found;
  uint32_t count = 0;
  (void)properties->GetKeyCount(&count);
  for (uint32_t index = 1; index <= count; ++index) {
    std::u16string keyName;
    int32_t quantity = 0;
    if (Failed(properties->GetKey(index, &keyName, &quantity)) || keyName != name) continue;
    ComPtr<IKivPropertySet> set;
    if (Failed(properties->GetPropertySet(keyName, quantity, set.Put()))) set = nullptr;
    if (quantity > kQuantityDimensionless) {
      found.quantity = quantity;
      found.unit = baseUnits ? kBaseUnit : RecordedUnit(set.Get());
      found.text = UnitText(quantity, found.unit);
      return found;
    }
    if (set) found.text = TextProperty(set.Get(), u"User type");
  }
  return found;
}

}  // namespace velmar::cli
