#include "platform/units/unit_catalog.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <set>

#include <nlohmann/json.hpp>

#include "velmar/text.h"

namespace velmar {
namespace {

using nlohmann::json;

// A rule of the table broken while reading it.
struct BadTable {
  std::string message;
};

template <class T>
T IntegerField(const json& object, const char* key) {
  const json& v = object.at(key);
  if (!v.is_number_integer()) throw BadTable{std::string(key) + " must be an integer"};
  auto n = v.get<int64_t>();
  if (n < int64_t{std::numeric_limits<T>::min()} || n > int64_t{std::numeric_limits<T>::max()}) {
    throw BadTable{std::string(key) + " out of range: " + std::to_string(n)};
  }
  return static_cast<T>(n);
}

std::u16string TextField(const json& object, const char* key) {
  return Utf8ToWide(object.at(key).get<std::string>());
}

UnitDef ReadUnit(const json& j) {
  UnitDef u;
  u.id = IntegerField<UnitId>(j, "id");
  u.symbol = TextField(j, "symbol");
  u.name = TextField(j, "name");
  u.factor = j.at("factor").get<double>();
  u.offset = j.value("offset", 0.0);
  if (auto it = j.find("aliases"); it != j.end()) {
    for (const auto& a : *it) u.aliases.push_back(Utf8ToWide(a.get<std::string>()));
  }
  return u;
}

// The default is named by symbol in the file; an empty text means the base unit.
std::optional<UnitId> UnitBySymbol(const QuantityDef& q, std::u16string_view symbol) {
  if (symbol.empty()) return kBaseUnit;
  for (const auto& u : q.units) {
    if (u.symbol == symbol) return u.id;
  }
  return std::nullopt;
}

KivResult Corrupt(std::string* error, std::string message) {
  if (error) *error = std::move(message);
  return STG_E_DOCFILECORRUPT;
}

std::string Describe(const QuantityDef& q) { return "quantity " + std::to_string(q.id); }

}  // namespace

const UnitDef* QuantityDef::Find(UnitId unit) const {
  auto it = std::lower_bound(units.begin(), units.end(), unit,
                             [](const UnitDef& u, UnitId id) { return u.id < id; });
  return it != units.end() && it->id == unit ? &*it : nullptr;
}

KivResult UnitCatalog::Parse(std::string_view text, UnitCatalog* out, std::string* error) {
  if (!out) return E_POINTER;
  UnitCatalog catalog;
  try {
    json doc = json::parse(text);
    for (const auto& jq : doc.at("quantities")) {
      QuantityDef q;
      q.id = IntegerField<QuantityId>(jq, "id");
      q.name = TextField(jq, "name");
      for (const auto& ju : jq.at("units")) q.units.push_back(ReadUnit(ju));
      std::sort(q.units.begin(), q.units.end(),
                [](const UnitDef& a, const UnitDef& b) { return a.id < b.id; });
      auto def = UnitBySymbol(q, TextField(jq, "default"));
      if (!def) return Corrupt(error, Describe(q) + ": default unit is not one of its units");
      q.defaultUnit = *def;
      catalog.quantities_.push_back(std::move(q));
    }
  } catch (const json::exception& e) {
    return Corrupt(error, e.what());
  } catch (const BadTable& e) {
    return Corrupt(error, e.message);
  }
  std::sort(catalog.quantities_.begin(), catalog.quantities_.end(),
            [](const QuantityDef& a, const QuantityDef& b) { return a.id < b.id; });
  if (KivResult r = catalog.Validate(error); Failed(r)) return r;
  catalog.Index();
  *out = std::move(catalog);
  return S_OK;
}

KivResult UnitCatalog::Validate(std::string* error) const {
  if (!FindQuantity(kQuantityDimensionless)) return Corrupt(error, "quantity 0 is missing");
  for (size_t i = 0; i < quantities_.size(); ++i) {
    const QuantityDef& q = quantities_[i];
    if (q.id < 0) return Corrupt(error, Describe(q) + ": negative id");
    if (i > 0 && quantities_[i - 1].id == q.id) return Corrupt(error, Describe(q) + ": id used twice");
    const UnitDef* base = q.Find(kBaseUnit);
    if (!base || base->factor != 1.0 || base->offset != 0.0) {
      return Corrupt(error, Describe(q) + ": unit 0 must be the base unit (factor 1, offset 0)");
    }
    std::set<std::u16string> texts;
    for (size_t k = 0; k < q.units.size(); ++k) {
      const UnitDef& u = q.units[k];
      std::string where = Describe(q) + " unit " + std::to_string(u.id);
      if (k > 0 && q.units[k - 1].id == u.id) return Corrupt(error, where + ": id used twice");
      if (!std::isfinite(u.factor) || u.factor == 0.0 || !std::isfinite(u.offset)) {
        return Corrupt(error, where + ": factor must be finite and not 0, offset finite");
      }
      if (!texts.insert(u.symbol).second) return Corrupt(error, where + ": symbol used twice");
      for (const auto& a : u.aliases) {
        if (a.empty() || !texts.insert(a).second) return Corrupt(error, where + ": bad alias");
      }
    }
  }
  return S_OK;
}

void UnitCatalog::Index() {
  auto add = [this](const std::u16string& text, UnitRef ref) {
    if (text.empty()) return;  // "no unit" is not a name to look up
    exact_[text].push_back(ref);
    auto& folded = folded_[ToLowerWide(text)];
    if (std::find(folded.begin(), folded.end(), ref) == folded.end()) folded.push_back(ref);
  };
  for (const auto& q : quantities_) {
    for (const auto& u : q.units) {
      add(u.symbol, {q.id, u.id});
      for (const auto& a : u.aliases) add(a, {q.id, u.id});
    }
  }
}

const QuantityDef* UnitCatalog::FindQuantity(QuantityId id) const {
  auto it = std::lower_bound(quantities_.begin(), quantities_.end(), id,
                             [](const QuantityDef& q, QuantityId v) { return q.id < v; });
  return it != quantities_.end() && it->id == id ? &*it : nullptr;
}

KivResult UnitCatalog::Lookup(QuantityId quantity, UnitId unit, const UnitDef** def) const {
  const QuantityDef* q = FindQuantity(quantity);
  if (!q) return KIV_E_UNKNOWN_QUANTITY;
  const UnitDef* u = q->Find(unit);
  if (!u) return KIV_E_UNKNOWN_UNIT;
  *def = u;
  return S_OK;
}

KivResult UnitCatalog::Scaling(QuantityId quantity, UnitId from, UnitId to, UnitScaling* out) const {
  const UnitDef* a = nullptr;
  const UnitDef* b = nullptr;
  if (KivResult r = Lookup(quantity, from, &a); Failed(r)) return r;
  if (KivResult r = Lookup(quantity, to, &b); Failed(r)) return r;
  if (from == to) {
    *out = UnitScaling{};  // exact, whatever rounding the two factors would bring
  } else {
    // base = v*fa + oa = w*fb + ob  =>  w = v*(fa/fb) + (oa-ob)/fb
    *out = UnitScaling{a->factor / b->factor, (a->offset - b->offset) / b->factor};
  }
  return S_OK;
}

std::span<const UnitRef> UnitCatalog::Candidates(std::u16string_view text) const {
  std::u16string key(text);
  if (auto it = exact_.find(key); it != exact_.end()) return it->second;
  if (auto it = folded_.find(ToLowerWide(key)); it != folded_.end()) return it->second;
  return {};
}

}  // namespace velmar
