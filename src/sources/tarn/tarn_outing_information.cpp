#include "sources/tarn/tarn_outing_information.h"

#include "sources/tarn/tarn_info_write.h"

namespace velmar {

void CTarnOutingInformation::SetFastLap(bool filterEnabled, std::optional<TarnFastLap> fastLap) {
  filterEnabled_ = filterEnabled;
  fastLap_ = filterEnabled ? fastLap : std::nullopt;
}

TarnPropertyMap CTarnOutingInformation::Current() const {
  namespace p = tarn_property;
  TarnPropertyMap map = read_ ? read_->properties() : TarnPropertyMap{};
  if (!filterEnabled_) return map;
  uint32_t first = 0;
  auto it = map.find(std::u16string(p::kFirstLapNumber));
  if (it != map.end()) first = it->second.AsU32().value_or(0);
  map[std::u16string(p::kFastLapNumber)] = Variant::U32(fastLap_ ? first + fastLap_->index : 0);
  map[std::u16string(p::kFastLapTime)] = Variant::Time(fastLap_ ? fastLap_->time : 0);
  return map;
}

KivResult CTarnOutingInformation::GetProperty(const std::u16string& name, Variant* value) {
  if (!value) return E_POINTER;
  TarnPropertyMap map = Current();
  auto it = map.find(name);
  if (it == map.end()) return E_INVALIDARG;
  *value = it->second;
  return S_OK;
}

KivResult CTarnOutingInformation::Edit(const PropertyList& pairs) {
  if (!read_) return E_FAIL;
  PropertyList checked;
  for (const Property& pair : pairs) {
    Variant value;
    if (KivResult r = ValidateTarnProperty(pair, read_->properties(), &value); Failed(r)) return r;
    checked.push_back({pair.name, std::move(value)});
  }
  if (!writer_) return E_FAIL;
  return writer_->QueueInformation(std::move(checked));
}

KivResult CTarnOutingInformation::SetProperty(const std::u16string& name, const Variant& value) {
  return Edit({{name, value}});
}

KivResult CTarnOutingInformation::GetProperties(PropertyList* properties) {
  if (!properties) return E_POINTER;
  PropertyList list;
  for (auto& [name, value] : Current()) list.push_back({name, value});
  *properties = std::move(list);
  return S_OK;
}

KivResult CTarnOutingInformation::SetProperties(const PropertyList& properties) {
  return properties.empty() ? E_FAIL : Edit(properties);
}

}  // namespace velmar
