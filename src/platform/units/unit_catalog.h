// The immutable table behind the units component: quantities, their units,
// and the scaling between two units of one quantity. Built from the JSON
// text of units.json; safe to read from any thread once built.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "velmar/result.h"
#include "velmar/units.h"

namespace velmar {

// value in `to` = value in `from` x factor + offset.
struct UnitScaling {
  double factor = 1.0;
  double offset = 0.0;
  double Apply(double v) const { return v * factor + offset; }
};

struct UnitDef {
  UnitId id = 0;
  std::u16string symbol;
  std::u16string name;
  std::vector<std::u16string> aliases;
  double factor = 1.0;  // base = value x factor + offset
  double offset = 0.0;
};

struct QuantityDef {
  QuantityId id = 0;
  std::u16string name;
  UnitId defaultUnit = kBaseUnit;
  std::vector<UnitDef> units;  // ascending id, unit 0 first

  const UnitDef* Find(UnitId unit) const;
};

struct UnitRef {
  QuantityId quantity = 0;
  UnitId unit = 0;
  friend bool operator==(UnitRef, UnitRef) = default;
};

class UnitCatalog {
 public:
  // Builds a catalog from the text of a units file. Malformed JSON or a table
  // that breaks the rules (duplicate ids, no base unit, zero factor, unknown
  // default) gives STG_E_DOCFILECORRUPT with the reason in `error`.
  [[nodiscard]] static KivResult Parse(std::string_view json, UnitCatalog* out, std::string* error);

  // KIV_E_UNKNOWN_QUANTITY or nothing.
  const QuantityDef* FindQuantity(QuantityId id) const;
  // KIV_E_UNKNOWN_QUANTITY / KIV_E_UNKNOWN_UNIT, or S_OK with the unit.
  [[nodiscard]] KivResult Lookup(QuantityId quantity, UnitId unit, const UnitDef** def) const;
  [[nodiscard]] KivResult Scaling(QuantityId quantity, UnitId from, UnitId to, UnitScaling* out) const;

  // Units a text names: exact symbol or alias matches if any, else matches
  // ignoring letter case. Ordered by quantity id, then unit id.
  std::span<const UnitRef> Candidates(std::u16string_view text) const;

  const std::vector<QuantityDef>& quantities() const { return quantities_; }

 private:
  [[nodiscard]] KivResult Validate(std::string* error) const;
  void Index();

  std::vector<QuantityDef> quantities_;  // ascending id
  std::unordered_map<std::u16string, std::vector<UnitRef>> exact_;
  std::unordered_map<std::u16string, std::vector<UnitRef>> folded_;
};

}  // namespace velmar
