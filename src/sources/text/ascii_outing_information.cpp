#include "sources/text/ascii_outing_information.h"

#include <algorithm>
#include <new>

namespace velmar {

CAsciiOutingInformation::CAsciiOutingInformation(const std::vector<InformationProperty>& properties) {
  for (const auto& p : properties) properties_.push_back({p.property, p.value});
  std::sort(properties_.begin(), properties_.end(),
            [](const Property& a, const Property& b) { return a.name < b.name; });
}

KivResult CAsciiOutingInformation::GetProperty(const std::u16string& name, Variant* value) {
  if (!value) return E_POINTER;
  auto it = std::lower_bound(properties_.begin(), properties_.end(), name,
                             [](const Property& p, const std::u16string& n) { return p.name < n; });
  if (it == properties_.end() || it->name != name) return E_INVALIDARG;
  try {
    *value = it->value;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

KivResult CAsciiOutingInformation::SetProperty(const std::u16string&, const Variant&) { return E_ACCESSDENIED; }

KivResult CAsciiOutingInformation::GetProperties(PropertyList* properties) {
  if (!properties) return E_POINTER;
  try {
    *properties = properties_;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

KivResult CAsciiOutingInformation::SetProperties(const PropertyList&) { return E_ACCESSDENIED; }

}  // namespace velmar
