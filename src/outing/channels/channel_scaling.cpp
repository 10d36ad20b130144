#include "outing/channels/channel_scaling.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>

namespace velmar {

KivResult ReadingScaling(const ChannelUnit& unit, IKivUnits* units, ChannelScaling* scaling) {
  if (!scaling) return E_POINTER;
  *scaling = ChannelScaling{};
  if (unit.quantity == kQuantityDimensionless || !units) return S_OK;
  ChannelScaling found;
  KivResult hr = units->GetFactor(unit.quantity, unit.unit, kBaseUnit, &found.factor);
  if (Succeeded(hr)) hr = units->GetOffset(unit.quantity, unit.unit, kBaseUnit, &found.offset);
  if (Failed(hr)) return hr;
  *scaling = found;
  return S_OK;
}

namespace {

// A u32 or a non-negative i32 property; nothing otherwise.
std::optional<uint32_t> UnsignedProperty(IKivPropertySet& property, const std::u16string& name) {
  Variant value;
  if (property.GetProperty(name, &value) != S_OK) return std::nullopt;
  if (auto u = value.AsU32()) return *u;
  if (auto i = value.AsI32(); i && *i >= 0) return static_cast<uint32_t>(*i);
  return std::nullopt;
}

}  // namespace

ChannelUnit UnitFromProperty(IKivPropertySet* property) {
  if (!property) return {};
  const auto quantity = UnsignedProperty(*property, u"Quantity");
  const auto unit = UnsignedProperty(*property, u"Unit");
  if (!quantity || *quantity > static_cast<uint32_t>(INT32_MAX)) return {};
  return ChannelUnit{static_cast<QuantityId>(*quantity), unit.value_or(kBaseUnit)};
}

void ApplyScaling(const ChannelScaling& scaling, std::span<const double> in, std::span<double> out) {
  const size_t n = std::min(in.size(), out.size());
  if (scaling.IsIdentity()) {
    std::copy_n(in.begin(), n, out.begin());
    return;
  }
  for (size_t k = 0; k < n; ++k) out[k] = scaling.Apply(in[k]);
}

}  // namespace velmar
