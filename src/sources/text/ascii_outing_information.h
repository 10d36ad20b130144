// The information object of a text outing: the properties its
// {OutingInformation} block fills (driver, track, session...), read only.
// Changes to the block go through a transaction, which rewrites the file
// and reloads; the reload makes a new information object.
//
// Client thread only.
#pragma once

#include <string>
#include <vector>

#include "sources/text/text_format.h"
#include "velmar/property_set.h"
#include "velmar/unknown.h"

namespace velmar {

class CAsciiOutingInformation final : public KivObject<IKivPropertySet> {
 public:
  explicit CAsciiOutingInformation(const std::vector<InformationProperty>& properties);

  // E_INVALIDARG for a name the block did not fill.
  KivResult GetProperty(const std::u16string& name, Variant* value) override;
  // Edits are transactions of the outing, not of this object: E_ACCESSDENIED.
  KivResult SetProperty(const std::u16string& name, const Variant& value) override;
  KivResult Reserved() override { return E_NOTIMPL; }
  // Every property, in name order.
  KivResult GetProperties(PropertyList* properties) override;
  KivResult SetProperties(const PropertyList& properties) override;

  // The cache replaced this object by a newer load's.
  void Orphan() { orphaned_ = true; }
  bool orphaned() const { return orphaned_; }

 private:
  PropertyList properties_;  // name order
  bool orphaned_ = false;
};

}  // namespace velmar
