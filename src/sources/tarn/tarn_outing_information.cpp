#include "sources/tarn/tarn_outing_information.h"

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

KivResult CTarnOutingInformation::SetProperty(const std::u16string&, const Variant&) { return E_ACCESSDENIED; }

KivResult CTarnOutingInformation::GetProperties(PropertyList* properties) {
  if (!properties) return E_POINTER;
  PropertyList list;
  for (auto& [name, value] : Current()) list.push_back({name, value});
  *properties = std::move(list);
  return S_OK;
}

KivResult CTarnOutingInformation::SetProperties(const PropertyList&) { return E_ACCESSDENIED; }

}  // namespace velmar
