#include "platform/units/unit_catalog.h"

#include <gtest/gtest.h>

#include <string>

namespace velmar {
namespace {

// A small table in the file's own form: speed with an alias, temperature with offsets,
// and "g" in two quantities.
constexpr const char* kTable = R"({
  "version": 1,
  "quantities": [
    {"id": 0, "name": "Dimensionless", "default": "", "units": [
      {"id": 0, "symbol": "", "name": "none", "factor": 1}]},
    {"id": 3, "name": "Speed", "default": "km/h", "units": [
      {"id": 1, "symbol": "km/h", "name": "kilometre per hour", "factor": 0.2777777777777778, "aliases": ["kph"]},
      {"id": 0, "symbol": "m/s", "name": "metre per second", "factor": 1}]},
    {"id": 4, "name": "Acceleration", "default": "g", "units": [
      {"id": 0, "symbol": "m/s2", "name": "metre per second squared", "factor": 1},
      {"id": 1, "symbol": "g", "name": "standard gravity", "factor": 9.80665}]},
    {"id": 9, "name": "Temperature", "default": "C", "units": [
      {"id": 0, "symbol": "K", "name": "kelvin", "factor": 1},
      {"id": 1, "symbol": "C", "name": "degree Celsius", "factor": 1, "offset": 273.15}]},
    {"id": 17, "name": "Mass", "default": "kg", "units": [
      {"id": 0, "symbol": "kg", "name": "kilogram", "factor": 1},
      {"id": 1, "symbol": "g", "name": "gram", "factor": 0.001}]}
  ]})";

UnitCatalog ParseOk(const std::string& text) {
  UnitCatalog c;
  std::string error;
  EXPECT_EQ(UnitCatalog::Parse(text, &c, &error), S_OK) << error;
  return c;
}

KivResult ParseResult(const std::string& text, std::string* error) {
  UnitCatalog c;
  return UnitCatalog::Parse(text, &c, error);
}

TEST(UnitCatalog, ReadsQuantitiesSortedWithDefaults) {
  UnitCatalog c = ParseOk(kTable);
  ASSERT_EQ(c.quantities().size(), 5u);
  EXPECT_EQ(c.quantities()[1].id, 3);
  const QuantityDef* speed = c.FindQuantity(3);
  ASSERT_NE(speed, nullptr);
  EXPECT_EQ(speed->name, u"Speed");
  EXPECT_EQ(speed->defaultUnit, 1u);
  EXPECT_EQ(speed->units.front().id, 0u) << "units are kept in id order, whatever the file's order";
  EXPECT_EQ(c.FindQuantity(5), nullptr);
}

TEST(UnitCatalog, ScalingIncludesOffsetsAndIsExactForTheSameUnit) {
  UnitCatalog c = ParseOk(kTable);
  UnitScaling s;
  ASSERT_EQ(c.Scaling(9, 1, 0, &s), S_OK);  // C -> K
  EXPECT_DOUBLE_EQ(s.Apply(0.0), 273.15);
  ASSERT_EQ(c.Scaling(9, 0, 1, &s), S_OK);  // K -> C
  EXPECT_DOUBLE_EQ(s.Apply(373.15), 100.0);
  ASSERT_EQ(c.Scaling(3, 1, 1, &s), S_OK);
  EXPECT_EQ(s.factor, 1.0);
  EXPECT_EQ(s.offset, 0.0);
}

TEST(UnitCatalog, ScalingNamesWhatIsUnknown) {
  UnitCatalog c = ParseOk(kTable);
  UnitScaling s;
  EXPECT_EQ(c.Scaling(42, 0, 0, &s), KIV_E_UNKNOWN_QUANTITY);
  EXPECT_EQ(c.Scaling(3, 0, 7, &s), KIV_E_UNKNOWN_UNIT);
  EXPECT_EQ(c.Scaling(3, 7, 0, &s), KIV_E_UNKNOWN_UNIT);
}

TEST(UnitCatalog, CandidatesPreferExactCaseThenIgnoreCase) {
  UnitCatalog c = ParseOk(kTable);
  auto g = c.Candidates(u"g");
  ASSERT_EQ(g.size(), 2u);
  EXPECT_EQ(g[0], (UnitRef{4, 1})) << "lowest quantity first";
  EXPECT_EQ(g[1], (UnitRef{17, 1}));

  auto kelvin = c.Candidates(u"k");
  ASSERT_EQ(kelvin.size(), 1u);
  EXPECT_EQ(kelvin[0], (UnitRef{9, 0}));

  auto kph = c.Candidates(u"KPH");
  ASSERT_EQ(kph.size(), 1u);
  EXPECT_EQ(kph[0], (UnitRef{3, 1})) << "aliases match too";

  EXPECT_TRUE(c.Candidates(u"furlong").empty());
  EXPECT_TRUE(c.Candidates(u"").empty()) << "the empty symbol of quantity 0 is not a name";
}

TEST(UnitCatalog, RefusesBrokenTables) {
  struct Case {
    const char* what;
    std::string text;
  };
  const std::string q0 = R"({"id": 0, "name": "D", "default": "", "units": [{"id": 0, "symbol": "", "name": "n", "factor": 1}]})";
  auto table = [&](const std::string& q) { return R"({"quantities": [)" + q0 + "," + q + "]}"; };
  const Case cases[] = {
      {"not JSON", "{"},
      {"no quantities", "{}"},
      {"no quantity 0", R"({"quantities": []})"},
      {"no base unit", table(R"({"id": 1, "name": "T", "default": "", "units": [{"id": 1, "symbol": "s", "name": "s", "factor": 1}]})")},
      {"base unit scaled", table(R"({"id": 1, "name": "T", "default": "", "units": [{"id": 0, "symbol": "s", "name": "s", "factor": 2}]})")},
      {"zero factor", table(R"({"id": 1, "name": "T", "default": "", "units": [{"id": 0, "symbol": "s", "name": "s", "factor": 1}, {"id": 1, "symbol": "x", "name": "x", "factor": 0}]})")},
      {"duplicate unit id", table(R"({"id": 1, "name": "T", "default": "", "units": [{"id": 0, "symbol": "s", "name": "s", "factor": 1}, {"id": 0, "symbol": "x", "name": "x", "factor": 3}]})")},
      {"duplicate symbol", table(R"({"id": 1, "name": "T", "default": "", "units": [{"id": 0, "symbol": "s", "name": "s", "factor": 1}, {"id": 1, "symbol": "s", "name": "x", "factor": 3}]})")},
      {"duplicate quantity", table(q0.substr(0, q0.size()))},
      {"unknown default", table(R"({"id": 1, "name": "T", "default": "h", "units": [{"id": 0, "symbol": "s", "name": "s", "factor": 1}]})")},
      {"negative unit id", table(R"({"id": 1, "name": "T", "default": "", "units": [{"id": -1, "symbol": "s", "name": "s", "factor": 1}]})")},
      {"fractional id", table(R"({"id": 1.5, "name": "T", "default": "", "units": [{"id": 0, "symbol": "s", "name": "s", "factor": 1}]})")},
      {"negative quantity", table(R"({"id": -2, "name": "T", "default": "", "units": [{"id": 0, "symbol": "s", "name": "s", "factor": 1}]})")},
  };
  for (const auto& c : cases) {
    std::string error;
    EXPECT_EQ(ParseResult(c.text, &error), STG_E_DOCFILECORRUPT) << c.what;
    EXPECT_FALSE(error.empty()) << c.what;
  }
}

}  // namespace
}  // namespace velmar
