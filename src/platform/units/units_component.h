// The units component object: IKivUnits and IKivUnitTable over one catalog.
// Holds no state of its own, so one object may be shared by any threads.
#pragma once

#include "platform/units/unit_catalog.h"
#include "velmar/units.h"

namespace velmar {

class UnitsComponent final : public KivObject<IKivUnits, IKivUnitTable> {
 public:
  // `catalog` must outlive the object (the shared catalog lives for the process).
  explicit UnitsComponent(const UnitCatalog& catalog) : catalog_(catalog) {}

  // IKivUnitTable
  KivResult ConvertValue(QuantityId quantity, UnitId from, UnitId to, double value,
                         double* converted) override;
  KivResult GetUnitText(QuantityId quantity, UnitId unit, std::u16string* text) override;
  KivResult FindUnit(const std::u16string& text, QuantityId* quantity, UnitId* unit) override;
  KivResult GetQuantityIds(std::vector<QuantityId>* ids) override;
  KivResult GetUnitIds(QuantityId quantity, std::vector<UnitId>* ids) override;

  // IKivUnits
  KivResult GetFactor(QuantityId quantity, UnitId from, UnitId to, double* factor) override;
  KivResult GetOffset(QuantityId quantity, UnitId from, UnitId to, double* offset) override;
  KivResult GetScaling(QuantityId quantity, UnitId from, UnitId to, double* factor,
                       double* offset) override;
  KivResult GetDefaultUnit(QuantityId quantity, UnitId* unit) override;
  KivResult GetQuantityName(QuantityId quantity, std::u16string* name) override;
  KivResult GetUnitName(QuantityId quantity, UnitId unit, std::u16string* name) override;
  KivResult ConvertValues(QuantityId quantity, UnitId from, UnitId to, std::span<const double> in,
                          std::span<double> out) override;
  KivResult ConvertByText(const std::u16string& from, const std::u16string& to, double value,
                          double* converted) override;

 private:
  const UnitCatalog& catalog_;
};

}  // namespace velmar
