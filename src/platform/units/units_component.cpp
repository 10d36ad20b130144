#include "platform/units/units_component.h"

#include <algorithm>

#include "platform/units/units_file.h"

namespace velmar {

KivResult UnitsComponent::ConvertValue(QuantityId quantity, UnitId from, UnitId to, double value,
                                       double* converted) {
  if (!converted) return E_POINTER;
  UnitScaling s;
  if (KivResult r = catalog_.Scaling(quantity, from, to, &s); Failed(r)) return r;
  *converted = s.Apply(value);
  return S_OK;
}

KivResult UnitsComponent::GetUnitText(QuantityId quantity, UnitId unit, std::u16string* text) {
  if (!text) return E_POINTER;
  const UnitDef* u = nullptr;
  if (KivResult r = catalog_.Lookup(quantity, unit, &u); Failed(r)) return r;
  *text = u->symbol;
  return S_OK;
}

KivResult UnitsComponent::FindUnit(const std::u16string& text, QuantityId* quantity, UnitId* unit) {
  if (!quantity || !unit) return E_POINTER;
  auto found = catalog_.Candidates(text);
  if (found.empty()) return KIV_E_UNKNOWN_UNIT;
  *quantity = found.front().quantity;
  *unit = found.front().unit;
  return S_OK;
}

KivResult UnitsComponent::GetQuantityIds(std::vector<QuantityId>* ids) {
  if (!ids) return E_POINTER;
  ids->clear();
  for (const auto& q : catalog_.quantities()) ids->push_back(q.id);
  return S_OK;
}

KivResult UnitsComponent::GetUnitIds(QuantityId quantity, std::vector<UnitId>* ids) {
  if (!ids) return E_POINTER;
  const QuantityDef* q = catalog_.FindQuantity(quantity);
  if (!q) return KIV_E_UNKNOWN_QUANTITY;
  ids->clear();
  for (const auto& u : q->units) ids->push_back(u.id);
  return S_OK;
}

KivResult UnitsComponent::GetFactor(QuantityId quantity, UnitId from, UnitId to, double* factor) {
  if (!factor) return E_POINTER;
  double offset = 0.0;
  return GetScaling(quantity, from, to, factor, &offset);
}

KivResult UnitsComponent::GetOffset(QuantityId quantity, UnitId from, UnitId to, double* offset) {
  if (!offset) return E_POINTER;
  double factor = 1.0;
  return GetScaling(quantity, from, to, &factor, offset);
}

KivResult UnitsComponent::GetScaling(QuantityId quantity, UnitId from, UnitId to, double* factor,
                                     double* offset) {
  if (!factor || !offset) return E_POINTER;
  UnitScaling s;
  if (KivResult r = catalog_.Scaling(quantity, from, to, &s); Failed(r)) return r;
  *factor = s.factor;
  *offset = s.offset;
  return S_OK;
}

KivResult UnitsComponent::GetDefaultUnit(QuantityId quantity, UnitId* unit) {
  if (!unit) return E_POINTER;
  const QuantityDef* q = catalog_.FindQuantity(quantity);
  if (!q) return KIV_E_UNKNOWN_QUANTITY;
  *unit = q->defaultUnit;
  return S_OK;
}

KivResult UnitsComponent::GetQuantityName(QuantityId quantity, std::u16string* name) {
  if (!name) return E_POINTER;
  const QuantityDef* q = catalog_.FindQuantity(quantity);
  if (!q) return KIV_E_UNKNOWN_QUANTITY;
  *name = q->name;
  return S_OK;
}

KivResult UnitsComponent::GetUnitName(QuantityId quantity, UnitId unit, std::u16string* name) {
  if (!name) return E_POINTER;
  const UnitDef* u = nullptr;
  if (KivResult r = catalog_.Lookup(quantity, unit, &u); Failed(r)) return r;
  *name = u->name;
  return S_OK;
}

KivResult UnitsComponent::ConvertValues(QuantityId quantity, UnitId from, UnitId to,
                                        std::span<const double> in, std::span<double> out) {
  if (in.size() != out.size()) return E_INVALIDARG;
  if (!in.empty() && (!in.data() || !out.data())) return E_POINTER;
  UnitScaling s;
  if (KivResult r = catalog_.Scaling(quantity, from, to, &s); Failed(r)) return r;
  const double f = s.factor;
  const double o = s.offset;
  std::transform(in.begin(), in.end(), out.begin(), [f, o](double v) { return v * f + o; });
  return S_OK;
}

KivResult UnitsComponent::ConvertByText(const std::u16string& from, const std::u16string& to,
                                        double value, double* converted) {
  if (!converted) return E_POINTER;
  auto a = catalog_.Candidates(from);
  auto b = catalog_.Candidates(to);
  if (a.empty() || b.empty()) return KIV_E_UNKNOWN_UNIT;
  // A text may name units of several quantities ("g"): take the first pair
  // that shares a quantity.
  for (const UnitRef& x : a) {
    for (const UnitRef& y : b) {
      if (x.quantity == y.quantity) return ConvertValue(x.quantity, x.unit, y.unit, value, converted);
    }
  }
  return E_INVALIDARG;
}

KivResult CreateUnitsComponent(const Guid& iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  KivResult loaded = S_OK;
  const UnitCatalog* catalog = SharedUnitCatalog(&loaded);
  if (!catalog) return loaded;
  auto object = MakeKiv<UnitsComponent>(*catalog);
  return object->QueryInterface(iid, out);
}

}  // namespace velmar
