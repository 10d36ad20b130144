// A named set of typed properties: what an outing says about itself (driver,
// track, session...), and the shared properties of a channel.
#pragma once

#include <string>
#include <vector>

#include "velmar/unknown.h"
#include "velmar/variant.h"

namespace velmar {

struct Property {
  std::u16string name;
  Variant value;
  friend bool operator==(const Property&, const Property&) = default;
};
using PropertyList = std::vector<Property>;

struct IKivPropertySet : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{D3CCC867-9644-49E5-8117-4068C987FC31}");
  // E_INVALIDARG for a name the set does not hold.
  virtual KivResult GetProperty(const std::u16string& name, Variant* value) = 0;
  virtual KivResult SetProperty(const std::u16string& name, const Variant& value) = 0;
  // Kept for the slot order; gives E_NOTIMPL.
  virtual KivResult Reserved() = 0;
  // Every property, in name order.
  virtual KivResult GetProperties(PropertyList* properties) = 0;
  virtual KivResult SetProperties(const PropertyList& properties) = 0;
};

}  // namespace velmar
