// The property set of one entry of a property database: named typed values,
// kept in name order. A change is reported to the database that owns the
// set, which tells its clients.
//
// Client thread only.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "velmar/property_set.h"

namespace velmar {

class CKeyPropertySet final : public KivObject<IKivPropertySet> {
 public:
  // Called after one or more properties changed; cleared when the entry goes.
  using ChangeCallback = std::function<void()>;

  explicit CKeyPropertySet(PropertyList initial = {});

  void SetChangeCallback(ChangeCallback callback) { onChange_ = std::move(callback); }

  // E_POINTER on a null out; E_INVALIDARG for a name the set does not hold.
  KivResult GetProperty(const std::u16string& name, Variant* value) override;
  // Adds or replaces; E_INVALIDARG for an empty name; the value already held
  // gives S_FALSE and no report.
  KivResult SetProperty(const std::u16string& name, const Variant& value) override;
  KivResult Reserved() override { return E_NOTIMPL; }
  KivResult GetProperties(PropertyList* properties) override;
  // All or nothing: an empty name refuses the whole list. One report.
  KivResult SetProperties(const PropertyList& properties) override;

 private:
  bool Store(const Property& property);
  void Report();

  std::map<std::u16string, Variant> values_;
  ChangeCallback onChange_;
};

}  // namespace velmar
