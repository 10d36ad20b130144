#include "config/key_property_set.h"

#include <algorithm>

namespace velmar {

CKeyPropertySet::CKeyPropertySet(PropertyList initial) {
  for (auto& property : initial) values_[property.name] = std::move(property.value);
}

KivResult CKeyPropertySet::GetProperty(const std::u16string& name, Variant* value) {
  if (!value) return E_POINTER;
  auto it = values_.find(name);
  if (it == values_.end()) return E_INVALIDARG;
  *value = it->second;
  return S_OK;
}

bool CKeyPropertySet::Store(const Property& property) {
  auto [it, inserted] = values_.try_emplace(property.name, property.value);
  if (inserted) return true;
  if (it->second == property.value) return false;
  it->second = property.value;
  return true;
}

void CKeyPropertySet::Report() {
  if (onChange_) onChange_();
}

KivResult CKeyPropertySet::SetProperty(const std::u16string& name, const Variant& value) {
  if (name.empty()) return E_INVALIDARG;
  if (!Store({name, value})) return S_FALSE;
  Report();
  return S_OK;
}

KivResult CKeyPropertySet::GetProperties(PropertyList* properties) {
  if (!properties) return E_POINTER;
  properties->clear();
  for (const auto& [name, value] : values_) properties->push_back({name, value});
  return S_OK;
}

KivResult CKeyPropertySet::SetProperties(const PropertyList& properties) {
  if (std::any_of(properties.begin(), properties.end(), [](const auto& p) { return p.name.empty(); })) {
    return E_INVALIDARG;
  }
  bool changed = false;
  for (const auto& property : properties) changed = Store(property) || changed;
  if (!changed) return S_FALSE;
  Report();
  return S_OK;
}

}  // namespace velmar
