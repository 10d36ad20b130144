// The display labels of outing information: for each outing-information key
// ("Driver name", "Car name" ...) the label a client shows and a group
// number, whose meaning lies with the client that reads it. Labels with a
// label id come from the branding module, else from the library's own
// table; the other keys are their own labels.
//
// Client thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/branding_labels.h"
#include "core/data_factory_branding_helper.h"

namespace velmar {

struct BrandedProperty {
  std::u16string key;
  std::u16string label;
  uint32_t group = 0;
};

// A table of display labels, looked up by key (exact text).
class CBrandedProperties {
 public:
  size_t Count() const { return properties_.size(); }
  // In table order; REQUIRES: index < Count().
  const BrandedProperty& At(size_t index) const { return properties_[index]; }
  // Null when the table has no such key.
  const BrandedProperty* Find(std::u16string_view key) const;
  // The key's label; the key itself when the table lacks it.
  std::u16string LabelOf(std::u16string_view key) const;

 protected:
  CBrandedProperties() = default;
  void Add(BrandedProperty property) { properties_.push_back(std::move(property)); }

 private:
  std::vector<BrandedProperty> properties_;
};

// The outing-information keys with their groups and labels, built from the
// branding in force when it is made.
class CBrandedOutingInformation : public CBrandedProperties {
 public:
  // Reads the branding module named in the registry.
  CBrandedOutingInformation();
  explicit CBrandedOutingInformation(CDataFactoryBrandingHelper branding);

  // A label by id (kLabelLap, kLabelCarHalt ...), from the same branding.
  std::u16string GetLabel(uint32_t id, LabelForm form) const { return branding_.GetLabel(id, form); }

 private:
  void Build();

  CDataFactoryBrandingHelper branding_;
};

}  // namespace velmar
