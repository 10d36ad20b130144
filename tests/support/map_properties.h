// A property set over a map, as a source's information object or the
// property database gives one; tests fill `values` directly.
#pragma once

#include <map>
#include <string>

#include "velmar/property_set.h"

namespace velmar::testing {

class CMapProperties final : public KivObject<IKivPropertySet> {
 public:
  KivResult GetProperty(const std::u16string& name, Variant* value) override {
    auto it = values.find(name);
    if (it == values.end()) return E_INVALIDARG;
    *value = it->second;
    return S_OK;
  }
  KivResult SetProperty(const std::u16string& name, const Variant& value) override {
    values[name] = value;
    return S_OK;
  }
  KivResult Reserved() override { return E_NOTIMPL; }
  KivResult GetProperties(PropertyList* properties) override {
    properties->clear();
    for (const auto& [name, value] : values) properties->push_back({name, value});
    return S_OK;
  }
  KivResult SetProperties(const PropertyList&) override { return E_NOTIMPL; }

  std::map<std::u16string, Variant> values;
};

}  // namespace velmar::testing
