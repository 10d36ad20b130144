#include "channel_unit.h"

#include "velmar/channel_key.h"
#include "velmar/property_factories.h"

namespace velmar::cli {
namespace {

std::u16string BaseUnitText(QuantityId quantity) {
  ComPtr<IKivUnitTable> table;
  std::u16string text;
  if (Succeeded(CreateUnitsComponent(&table)) && table) (void)table->GetUnitText(quantity, kBaseUnit, &text);
  return text;
}

std::u16string TextProperty(IKivPropertySet* set, const std::u16string& name) {
  Variant value;
  if (Failed(set->GetProperty(name, &value))) return {};
  const std::u16string* text = value.AsText();
  return text ? *text : std::u16string();
}

}  // namespace

ChannelUnit FindChannelUnit(IKivVelmar* root, const std::u16string& listed) {
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
    if (quantity > kQuantityDimensionless) {
      found.quantity = quantity;
      found.text = BaseUnitText(quantity);
      return found;
    }
    ComPtr<IKivPropertySet> set;
    if (Succeeded(properties->GetPropertySet(keyName, quantity, set.Put())) && set) {
      found.text = TextProperty(set.Get(), u"User type");
    }
  }
  return found;
}

}  // namespace velmar::cli
