#include "outing/information/outing_information_prop_def.h"

#include "outing/information/property_conversion.h"

namespace velmar {
namespace {

using T = OutingPropertyType;

constexpr OutingPropertyDef kTable[] = {
    {u"Driver name", T::kText, true},       {u"Track name", T::kText, true},
    {u"Session number", T::kI32, true},     {u"Outing number", T::kI32, true},
    {u"First lap number", T::kI32, true},   {u"Fast lap number", T::kI32, false},
    {u"Short comment", T::kText, true},     {u"Long comment", T::kText, true},
    {u"Car name", T::kText, true},          {u"Create date", T::kDate, false},
    {u"Time zone", T::kText, false},        {u"UTC difference", T::kI32, false},
    {u"Fast lap time", T::kTime, false},    {u"Last lap number", T::kI32, false},
    {u"GUID", T::kText, false},             {u"Engine test", T::kBool, true},
    {u"Dataset type", T::kU32, false},      {u"System details", T::kText, true},
    {u"Fast lap speed", T::kNumber, false},
};

bool IsNumberForm(const Variant& v) {
  switch (v.kind()) {
    case Variant::Kind::kI32:
    case Variant::Kind::kU32:
    case Variant::Kind::kF64:
    case Variant::Kind::kBool:
      return true;
    default:
      return false;
  }
}

}  // namespace

std::span<const OutingPropertyDef> COutingInformationPropDef::Table() { return kTable; }

const OutingPropertyDef* COutingInformationPropDef::Find(std::u16string_view name) {
  for (const OutingPropertyDef& def : kTable) {
    if (def.name == name) return &def;
  }
  return nullptr;
}

KivResult COutingInformationPropDef::CheckEdit(std::u16string_view name, const Variant& value, const Variant* held,
                                               Variant* converted) {
  const OutingPropertyDef* def = Find(name);
  if (!def || !def->editable) return E_INVALIDARG;
  if (def->type == T::kText) {
    const std::u16string* text = value.AsText();
    if (!text || text->empty()) return E_INVALIDARG;
  } else if (!IsNumberForm(value)) {
    return E_INVALIDARG;
  }
  if (!held || held->kind() == value.kind()) {
    *converted = value;
    return S_OK;
  }
  const std::optional<double> number = value.ToDouble();
  if (!number || !ConvertNumber(*number, held->kind(), converted)) return DISP_E_TYPEMISMATCH;
  return S_OK;
}

}  // namespace velmar
