#include "config/standard_properties.h"

#include "velmar/class_registry.h"
#include "velmar/guid.h"

namespace velmar {

namespace {

constexpr Guid CLSID_ColorGradation = Guid::Literal("{A8D7BF86-2650-47D9-9E8B-0B18B42FBC43}");

struct Row {
  const char16_t* name;
  PropertyType type;
  bool key;
};

// In id order from 1.
constexpr Row kRows[] = {
    {u"Tag name", PropertyType::kText, true},          {u"Quantity", PropertyType::kI32, true},
    {u"Display name", PropertyType::kText, true},      {u"Remote name", PropertyType::kText, true},
    {u"User type", PropertyType::kText, false},        {u"Unit", PropertyType::kI32, false},
    {u"Color", PropertyType::kI32, false},             {u"Autoscale", PropertyType::kBool, false},
    {u"Display maximum", PropertyType::kF64, false},   {u"Display minimum", PropertyType::kF64, false},
    {u"Decimal places", PropertyType::kI32, false},    {u"Filter enabled", PropertyType::kBool, false},
    {u"Filter", PropertyType::kObject, false},         {u"Y-axis % maximum", PropertyType::kF64, false},
    {u"Y-axis % minimum", PropertyType::kF64, false},  {u"Y-axis % enabled", PropertyType::kBool, false},
    {u"Color gradation", PropertyType::kObject, false}, {u"Auxiliary axis", PropertyType::kI32, false},
    {u"Interpolation", PropertyType::kI32, false},     {u"Alarm maximum", PropertyType::kF64, false},
    {u"Alarm minimum", PropertyType::kF64, false},     {u"Alarm color", PropertyType::kI32, false},
    {u"Alarm condition", PropertyType::kI32, false},   {u"Use default color", PropertyType::kBool, false},
};

// Older spellings: id, then its name in versions 1 to 6 (null: absent).
struct Spelling {
  int32_t id;
  const char16_t* names[6];
};

constexpr Spelling kSpellings[] = {
    {4, {nullptr, nullptr, nullptr, u"Remote name", u"Remote name", u"Remote name"}},
    {7, {u"Colour", u"Color", u"Color", u"Color", u"Color", u"Color"}},
    {11, {u"DPS", u"Decimal places", u"Decimal places", u"Decimal places", u"Decimal places", u"Decimal places"}},
    {14, {u"Y Axis % max", u"Y Axis % max", u"Y-Axis % max", u"Y-axis % maximum", u"Y-axis % maximum",
          u"Y-axis % maximum"}},
    {15, {u"Y Axis % min", u"Y Axis % min", u"Y-Axis % min", u"Y-axis % minimum", u"Y-axis % minimum",
          u"Y-axis % minimum"}},
    {16, {u"Y Axis % enabled", u"Y Axis % enabled", u"Y-Axis % enabled", u"Y-axis % enabled", u"Y-axis % enabled",
          u"Y-axis % enabled"}},
    {17, {nullptr, u"Color Gradation", u"Color gradation", u"Color gradation", u"Color gradation",
          u"Color gradation"}},
    {18, {nullptr, nullptr, u"Auxiliary axis", u"Auxiliary axis", u"Auxiliary axis", u"Auxiliary axis"}},
    {19, {nullptr, nullptr, u"Interpolation", u"Interpolation", u"Interpolation", u"Interpolation"}},
    {20, {nullptr, nullptr, nullptr, u"Alarm maximum", u"Alarm maximum", u"Alarm maximum"}},
    {21, {nullptr, nullptr, nullptr, u"Alarm minimum", u"Alarm minimum", u"Alarm minimum"}},
    {22, {nullptr, nullptr, nullptr, u"Alarm color", u"Alarm color", u"Alarm color"}},
    {23, {nullptr, nullptr, nullptr, nullptr, u"Alarm condition", u"Alarm condition"}},
    {24, {nullptr, nullptr, nullptr, nullptr, nullptr, u"Use default color"}},
};

const Spelling* SpellingOf(int32_t id) {
  for (const auto& s : kSpellings) {
    if (s.id == id) return &s;
  }
  return nullptr;
}

}  // namespace

bool CStandardProperties::IsPropertyName(int32_t id, const std::u16string& name) const {
  const auto current = GetPropertyName(id);
  return current && *current == name;
}

std::optional<std::u16string> CStandardProperties::GetPropertyName(int32_t id) const {
  PropertyDefinition definition;
  if (!GetPropertyDefinition(id, &definition)) return std::nullopt;
  return definition.name;
}

std::optional<int32_t> CStandardProperties::VersionOf(const std::u16string& text) const {
  auto it = versions_.find(text);
  if (it == versions_.end()) return std::nullopt;
  return it->second;
}

std::optional<int32_t> CStandardProperties::IdOf(int32_t version, const std::u16string& name) const {
  auto names = namesByVersion_.find(version);
  if (names == namesByVersion_.end()) return std::nullopt;
  auto it = names->second.find(name);
  if (it == names->second.end()) return std::nullopt;
  return it->second;
}

const CStandardChannelProperties& CStandardChannelProperties::Instance() {
  static const CStandardChannelProperties kInstance;
  return kInstance;
}

CStandardChannelProperties::CStandardChannelProperties() {
  BuildVersionMap();
  BuildVersionNames();
}

bool CStandardChannelProperties::GetPropertyDefinition(int32_t id, PropertyDefinition* definition) const {
  if (!definition || id < GetFirstPropertyId() || id > GetLastPropertyId()) return false;
  const Row& row = kRows[id - 1];
  *definition = {id, row.name, row.type, row.key};
  return true;
}

bool CStandardChannelProperties::GetDefaultValue(int32_t id, Variant* value) const {
  if (!value) return false;
  switch (id) {
    case 5: *value = Variant::Text(u""); return true;
    case 6: case 18: *value = Variant::I32(0); return true;
    case 7: *value = Variant::I32(0xFF0000); return true;
    case 8: case 24: *value = Variant::Bool(true); return true;
    case 9: case 20: *value = Variant::F64(1000.0); return true;
    case 10: case 15: case 21: *value = Variant::F64(0.0); return true;
    case 11: case 19: *value = Variant::I32(2); return true;
    case 12: case 16: *value = Variant::Bool(false); return true;
    case 13: *value = Variant::Object(nullptr); return true;
    case 14: *value = Variant::F64(100.0); return true;
    case 17: {
      // A new gradation object, when its class is installed.
      ComPtr<IKivUnknown> gradation;
      if (Failed(ClassRegistry::Process().CreateInstance(CLSID_ColorGradation, &gradation)) || !gradation) return false;
      *value = Variant::Object(std::move(gradation));
      return true;
    }
    case 22: *value = Variant::I32(255); return true;
    case 23: *value = Variant::I32(3); return true;
    default: return false;
  }
}

void CStandardChannelProperties::BuildVersionMap() {
  versions_ = {{u"1_0", 1}, {u"1_1", 2}, {u"1_2", 2}, {u"2_0", 3}, {u"2_1", 3}, {u"2_2", 3},
               {u"3_0", 4}, {u"3_1", 4}, {u"3_2", 4}, {u"4_0", 5}, {u"12_0", 6}};
}

void CStandardChannelProperties::BuildVersionNames() {
  namesByVersion_.clear();
  for (int32_t version = 1; version <= GetLastVersion(); ++version) {
    NamesById& names = namesByVersion_[version];
    for (int32_t id = GetFirstPropertyId(); id <= GetLastPropertyId(); ++id) {
      const Spelling* spelling = SpellingOf(id);
      const char16_t* name = spelling ? spelling->names[version - 1] : kRows[id - 1].name;
      if (name) names[name] = id;
    }
  }
}

}  // namespace velmar
