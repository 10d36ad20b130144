#include "core/branded_outing_information.h"

#include <algorithm>
#include <array>
#include <optional>

namespace velmar {

namespace {

struct KeyEntry {
  std::u16string_view key;
  uint32_t group;
  std::optional<uint32_t> labelId;
};

constexpr std::array<KeyEntry, 19> kOutingInformationKeys = {{
    {u"Driver name", 3, 0},
    {u"Track name", 3, 2},
    {u"Session number", 3, 5},
    {u"Outing number", 3, 4},
    {u"First lap number", 4, 8},
    {u"Fast lap number", 4, 6},
    {u"Short comment", 6, std::nullopt},
    {u"Long comment", 6, std::nullopt},
    {u"Car name", 3, 1},
    {u"Create date", 5, std::nullopt},
    {u"Time zone", 2, std::nullopt},
    {u"UTC difference", 2, std::nullopt},
    {u"Fast lap time", 4, 7},
    {u"Last lap number", 4, 9},
    {u"GUID", 2, std::nullopt},
    {u"Engine test", 3, 3},
    {u"Dataset type", 2, std::nullopt},
    {u"System details", 6, std::nullopt},
    {u"Fast lap speed", 4, 17},
}};

}  // namespace

const BrandedProperty* CBrandedProperties::Find(std::u16string_view key) const {
  auto it = std::find_if(properties_.begin(), properties_.end(), [&](const auto& p) { return p.key == key; });
  return it == properties_.end() ? nullptr : &*it;
}

std::u16string CBrandedProperties::LabelOf(std::u16string_view key) const {
  const BrandedProperty* property = Find(key);
  return property ? property->label : std::u16string(key);
}

CBrandedOutingInformation::CBrandedOutingInformation() { Build(); }

CBrandedOutingInformation::CBrandedOutingInformation(CDataFactoryBrandingHelper branding)
    : branding_(std::move(branding)) {
  Build();
}

void CBrandedOutingInformation::Build() {
  for (const KeyEntry& entry : kOutingInformationKeys) {
    std::u16string label(entry.key);
    if (entry.labelId) label = branding_.GetLabel(*entry.labelId, LabelForm::kFirstUpper);
    Add({std::u16string(entry.key), std::move(label), entry.group});
  }
}

}  // namespace velmar
