// The information object of a live outing: the properties of the server's
// details record, by the rules of the store's, and each information pair
// the server sent ("Source" as "System", and the connection status), read
// only. A new one takes the place of the old at each rebuild.
//
// Client thread only.
#pragma once

#include <map>
#include <string>

#include "platform/realtime/rt_messages.h"
#include "sources/tarn/tarn_properties.h"
#include "velmar/property_set.h"

namespace velmar {

class CRTOutingInformation final : public KivObject<IKivPropertySet> {
 public:
  CRTOutingInformation(const rt::WireDetails& details, const std::map<std::u16string, std::u16string>& pairs);

  // E_INVALIDARG for a name the outing doesn't have.
  KivResult GetProperty(const std::u16string& name, Variant* value) override;
  // Nothing can be written to a live outing: E_ACCESSDENIED.
  KivResult SetProperty(const std::u16string& name, const Variant& value) override;
  KivResult Reserved() override { return E_NOTIMPL; }
  KivResult GetProperties(PropertyList* properties) override;
  KivResult SetProperties(const PropertyList& properties) override;

 private:
  TarnPropertyMap properties_;
};

}  // namespace velmar
