#include "outing/information/outing_information_prop_def.h"

#include <cmath>
#include <limits>

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

// `number` in the kind of `held`; false when it does not fit.
bool ConvertNumber(double number, const Variant& held, Variant* out) {
  const double rounded = std::nearbyint(number);  // half to even in the default rounding mode
  switch (held.kind()) {
    case Variant::Kind::kI32:
      if (rounded < std::numeric_limits<int32_t>::min() || rounded > std::numeric_limits<int32_t>::max()) return false;
      *out = Variant::I32(static_cast<int32_t>(rounded));
      return true;
    case Variant::Kind::kU32:
      if (rounded < 0 || rounded > std::numeric_limits<uint32_t>::max()) return false;
      *out = Variant::U32(static_cast<uint32_t>(rounded));
      return true;
    case Variant::Kind::kF64:
      *out = Variant::F64(number);
      return true;
    case Variant::Kind::kBool:
      *out = Variant::Bool(number != 0);
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
  if (!number || !ConvertNumber(*number, *held, converted)) return DISP_E_TYPEMISMATCH;
  return S_OK;
}

}  // namespace velmar
