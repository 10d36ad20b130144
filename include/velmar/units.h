// The units component: a table of physical quantities and their units, and
// conversion between any two units of one quantity.
//
// A quantity has a stable id and a list of units. A unit is identified by
// (quantity, unit id); unit 0 is the quantity's base unit. Every unit carries
// a factor and an offset to the base unit:  base = value x factor + offset.
// Quantity 0 is "dimensionless" with the single unit 0, so "no quantity"
// always scales by factor 1, offset 0.
//
// Stable quantity ids (the data file may add more, never renumber):
//    0 dimensionless     1 time              2 distance          3 speed
//    4 acceleration      5 angle             6 angular speed     7 rotational speed
//    8 pressure          9 temperature      10 force            11 torque
//   12 power            13 voltage          14 current          15 frequency
//   16 ratio            17 mass             18 volume           19 volume flow
//   20 density          21 energy
// Speed (3) has the units 0 m/s, 1 km/h (its default), 2 mph, 3 kn.
//
// The table is read once per process from units.json: the file named by the
// environment variable VELMAR_UNITS_FILE, else the copy in the source tree
// the library was built from, else share/velmar/units.json of the installed
// prefix, /usr/local/share/velmar or /usr/share/velmar. It is immutable once
// loaded, so every object of the component may be used from any thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "velmar/unknown.h"

namespace velmar {

using QuantityId = int32_t;
using UnitId = uint32_t;

inline constexpr QuantityId kQuantityDimensionless = 0;
inline constexpr QuantityId kQuantitySpeed = 3;
inline constexpr UnitId kBaseUnit = 0;

// Class identity of the units component; one object offers both interfaces below.
inline constexpr Guid CLSID_KivUnits = Guid::Literal("{D9E9AF90-A829-11D5-AECC-00508B0900A9}");

// The unit table as the store and the sources reach it.
// Unknown quantity: KIV_E_UNKNOWN_QUANTITY. Unknown unit of a known quantity or
// unknown unit text: KIV_E_UNKNOWN_UNIT. Null out pointer: E_POINTER.
struct IKivUnitTable : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{E629847D-A5F0-11D5-AEC7-00508B0900A9}");
  // Slot 3: `value` in unit `from` of `quantity`, expressed in unit `to`.
  virtual KivResult ConvertValue(QuantityId quantity, UnitId from, UnitId to, double value,
                                 double* converted) = 0;
  // Slot 4: the symbol of a unit, as written after a channel name ("km/h").
  virtual KivResult GetUnitText(QuantityId quantity, UnitId unit, std::u16string* text) = 0;
  // Slot 5: the unit a text names. Symbols and aliases match exactly first, then
  // without regard to letter case; where a text names units of several
  // quantities the lowest quantity id wins.
  virtual KivResult FindUnit(const std::u16string& text, QuantityId* quantity, UnitId* unit) = 0;
  // Slot 6: every quantity id, ascending.
  virtual KivResult GetQuantityIds(std::vector<QuantityId>* ids) = 0;
  // Slot 7: every unit id of a quantity, ascending (0 first).
  virtual KivResult GetUnitIds(QuantityId quantity, std::vector<UnitId>* ids) = 0;
};

// The converter: scaling pairs, defaults, names, bulk and by-symbol conversion.
struct IKivUnits : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{9621F8A4-1EB7-4490-9AA8-FA7A245255FD}");
  // Scaling from unit `from` to unit `to` of one quantity:
  //   value in `to` = value in `from` x factor + offset.
  // Reading a channel passes (quantity, unit, 0); writing passes (quantity, 0, unit).
  virtual KivResult GetFactor(QuantityId quantity, UnitId from, UnitId to, double* factor) = 0;
  virtual KivResult GetOffset(QuantityId quantity, UnitId from, UnitId to, double* offset) = 0;
  virtual KivResult GetScaling(QuantityId quantity, UnitId from, UnitId to, double* factor,
                               double* offset) = 0;
  // The unit a user sees first for a quantity (km/h for speed).
  virtual KivResult GetDefaultUnit(QuantityId quantity, UnitId* unit) = 0;
  virtual KivResult GetQuantityName(QuantityId quantity, std::u16string* name) = 0;
  // Long name of a unit ("kilometre per hour").
  virtual KivResult GetUnitName(QuantityId quantity, UnitId unit, std::u16string* name) = 0;
  // Converts `in` into `out` (same length, may be the same array).
  // Different lengths: E_INVALIDARG.
  virtual KivResult ConvertValues(QuantityId quantity, UnitId from, UnitId to,
                                  std::span<const double> in, std::span<double> out) = 0;
  // Converts between two unit texts. A text no unit has: KIV_E_UNKNOWN_UNIT.
  // Two known units of different quantities: E_INVALIDARG. Where a text is
  // shared by quantities, the pair is resolved in the quantity that has both.
  virtual KivResult ConvertByText(const std::u16string& from, const std::u16string& to, double value,
                                  double* converted) = 0;
};

// Makes a units component object and gives its interface `iid`
// (IKivUnits, IKivUnitTable or IKivUnknown). A table that can't be read gives
// STG_E_FILENOTFOUND (no file found) or STG_E_DOCFILECORRUPT (bad content).
[[nodiscard]] KivResult CreateUnitsComponent(const Guid& iid, void** out);

// Typed convenience form.
template <class I>
[[nodiscard]] KivResult CreateUnitsComponent(ComPtr<I>* out) {
  if (!out) return E_POINTER;
  return CreateUnitsComponent(I::iid, out->PutVoid());
}

}  // namespace velmar
