#include "platform/units/units_file.h"

#include <gtest/gtest.h>

#include <fstream>

#include "support/scoped_env.h"
#include "support/temp_dir.h"

namespace velmar {
namespace {

namespace fs = std::filesystem;

using testing::ScopedCwd;
using testing::ScopedEnv;

TEST(UnitsFile, ShippedTableLoadsFromAnyWorkingDirectory) {
  ScopedEnv env(kUnitsFileVariable, std::nullopt);
  testing::TempDir dir;
  ScopedCwd cwd(dir.path());
  UnitCatalog c;
  std::string error;
  ASSERT_EQ(LocateAndLoadUnits(&c, &error), S_OK) << error;
  const QuantityDef* speed = c.FindQuantity(kQuantitySpeed);
  ASSERT_NE(speed, nullptr);
  EXPECT_EQ(speed->name, u"Speed");
}

TEST(UnitsFile, VariableNamesTheOnlyCandidate) {
  testing::TempDir dir;
  fs::path file = dir / "mine.json";
  ScopedEnv env(kUnitsFileVariable, file.string());
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
  fs::path file = dir / "bad.json";
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
