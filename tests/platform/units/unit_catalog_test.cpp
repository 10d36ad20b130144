#include "platform/units/unit_catalog.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "platform/units/units_file.h"
#include "support/fixtures.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

namespace velmar {
namespace {

using testing::ReadFixture;

// A small table in the file's own form: speed with an alias, temperature with
// offsets, and "g" in two quantities.
UnitCatalog SmallTable() {
  UnitCatalog c;
  std::string error;
  EXPECT_EQ(UnitCatalog::Parse(testing::Fixture("platform/units/small_table.json").dump(), &c, &error), S_OK) << error;
  return c;
}

TEST(UnitCatalog, ReadsQuantitiesSortedWithDefaults) {
  UnitCatalog c = SmallTable();
  ASSERT_EQ(c.quantities().size(), 5u);
  EXPECT_EQ(c.quantities()[1].id, 3);
  const QuantityDef* speed = c.FindQuantity(3);
  ASSERT_NE(speed, nullptr);
  EXPECT_EQ(speed->name, u"Speed");
  EXPECT_EQ(speed->defaultUnit, 1u);
  EXPECT_EQ(speed->units.front().id, 0u) << "units are kept in id order, whatever the file's order";
  EXPECT_EQ(c.FindQuantity(5), nullptr);
}

TEST(UnitCatalog, ScalingIncludesOffsetsAndNamesWhatIsUnknown) {
  UnitCatalog c = SmallTable();
  UnitScaling s;
  ASSERT_EQ(c.Scaling(9, 1, 0, &s), S_OK);  // C -> K
  EXPECT_DOUBLE_EQ(s.Apply(0.0), 273.15);
  ASSERT_EQ(c.Scaling(9, 0, 1, &s), S_OK);  // K -> C
  EXPECT_DOUBLE_EQ(s.Apply(373.15), 100.0);
  ASSERT_EQ(c.Scaling(3, 1, 1, &s), S_OK);
  EXPECT_EQ(s.factor, 1.0) << "exact for the same unit";
  EXPECT_EQ(s.offset, 0.0);
  EXPECT_EQ(c.Scaling(42, 0, 0, &s), KIV_E_UNKNOWN_QUANTITY);
  EXPECT_EQ(c.Scaling(3, 0, 7, &s), KIV_E_UNKNOWN_UNIT);
  EXPECT_EQ(c.Scaling(3, 7, 0, &s), KIV_E_UNKNOWN_UNIT);
}

TEST(UnitCatalog, CandidatesPreferExactCaseThenIgnoreCase) {
  UnitCatalog c = SmallTable();
  auto candidates = [&](std::u16string_view text) {
    auto found = c.Candidates(text);
    return std::vector<UnitRef>(found.begin(), found.end());
  };
  EXPECT_EQ(candidates(u"g"), (std::vector<UnitRef>{{4, 1}, {17, 1}})) << "lowest quantity first";
  EXPECT_EQ(candidates(u"k"), (std::vector<UnitRef>{{9, 0}}));
  EXPECT_EQ(candidates(u"KPH"), (std::vector<UnitRef>{{3, 1}})) << "aliases match too";
  EXPECT_TRUE(c.Candidates(u"furlong").empty());
  EXPECT_TRUE(c.Candidates(u"").empty()) << "the empty symbol of quantity 0 is not a name";
}

// Each file: a broken table ("table"), or text that is not JSON ("text").
class BrokenTables : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(BrokenTables, AreRefusedAsCorruptWithAReason) {
  const nlohmann::json c = ReadFixture(GetParam());
  const std::string text = c.contains("text") ? c["text"].get<std::string>() : c["table"].dump();
  UnitCatalog catalog;
  std::string error;
  EXPECT_EQ(UnitCatalog::Parse(text, &catalog, &error), STG_E_DOCFILECORRUPT);
  EXPECT_FALSE(error.empty());
}

INSTANTIATE_TEST_SUITE_P(Cases, BrokenTables, testing::FixtureCases("platform/units/broken_tables"),
                         testing::FixtureName);

// The shipped table and the file the variable names.
TEST(UnitsFile, ShippedTableLoadsFromAnyWorkingDirectory) {
  testing::ScopedEnv env(kUnitsFileVariable, std::nullopt);
  testing::TempDir dir;
  testing::ScopedCwd cwd(dir.path());
  UnitCatalog c;
  std::string error;
  ASSERT_EQ(LocateAndLoadUnits(&c, &error), S_OK) << error;
  const QuantityDef* speed = c.FindQuantity(kQuantitySpeed);
  ASSERT_NE(speed, nullptr);
  EXPECT_EQ(speed->name, u"Speed");
}

TEST(UnitsFile, VariableNamesTheOnlyCandidate) {
  testing::TempDir dir;
  std::filesystem::path file = dir / "mine.json";
  testing::ScopedEnv env(kUnitsFileVariable, file.string());
  auto candidates = UnitsFileCandidates();
  ASSERT_EQ(candidates.size(), 1u);
  EXPECT_EQ(candidates[0], file);

  UnitCatalog c;
  std::string error;
  EXPECT_EQ(LocateAndLoadUnits(&c, &error), STG_E_FILENOTFOUND) << "a wrong setting is not papered over";
  EXPECT_NE(error.find("mine.json"), std::string::npos);

  std::ofstream(file) << R"({"quantities": [{"id": 0, "name": "None", "default": "",
      "units": [{"id": 0, "symbol": "", "name": "none", "factor": 1}]}]})";
  ASSERT_EQ(LocateAndLoadUnits(&c, &error), S_OK) << error;
  EXPECT_EQ(c.quantities().size(), 1u);
}

TEST(UnitsFile, ReportsCorruptFileWithItsPath) {
  testing::TempDir dir;
  std::filesystem::path file = dir / "bad.json";
  std::ofstream(file) << "[1, 2";
  UnitCatalog c;
  std::string error;
  EXPECT_EQ(LoadUnitsFile(file, &c, &error), STG_E_DOCFILECORRUPT);
  EXPECT_NE(error.find("bad.json"), std::string::npos);
  EXPECT_EQ(LoadUnitsFile(dir / "missing.json", &c, &error), STG_E_FILENOTFOUND);
}

TEST(UnitsFile, SharedCatalogIsLoadedOnce) {
  KivResult r1 = E_FAIL;
  KivResult r2 = E_FAIL;
  const UnitCatalog* a = SharedUnitCatalog(&r1);
  const UnitCatalog* b = SharedUnitCatalog(&r2);
  ASSERT_EQ(r1, S_OK);
  EXPECT_EQ(r2, S_OK);
  EXPECT_EQ(a, b);
}

}  // namespace
}  // namespace velmar
