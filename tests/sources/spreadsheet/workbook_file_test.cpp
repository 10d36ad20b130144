// Workbook writes as tables: each tests/data/spreadsheet case puts ranges
// into a new workbook (opened, written and saved again for each range, so
// every write starts from what the file holds) in both forms, and compares
// the cells read back by our reader and, where the machine has it, by an
// independent one.
#include <gtest/gtest.h>

#include "sources/spreadsheet/excel_file_handles.h"
#include "sources/spreadsheet/workbook_dump.h"
#include "support/fixtures.h"
#include "support/temp_dir.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using nlohmann::json;

CellBlock BlockOf(const json& rows) {
  CellBlock block(rows.size(), rows.empty() ? 0 : rows[0].size());
  for (size_t r = 0; r < block.rows; ++r) {
    for (size_t c = 0; c < block.columns; ++c) {
      const json& v = rows[r][c];
      if (v.is_number()) block.At(r, c) = {WorkbookCell::Kind::kNumber, v.get<double>(), {}};
      if (v.is_string()) block.At(r, c) = {WorkbookCell::Kind::kOther, 0, Utf8ToWide(v.get<std::string>())};
    }
  }
  return block;
}

class WorkbookFixtureTest : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(WorkbookFixtureTest, CellsReadBackAsTheTableSays) {
  const json c = ReadFixture(GetParam());
  for (const std::string form : {"xlsx", "xls"}) {
    SCOPED_TRACE(form);
    TempDir dir;
    const auto path = dir / ("case." + form);
    ASSERT_EQ(CWorkbookFile::Create(path, kExcelSheets), S_OK);
    bool failed = false;
    for (const json& range : c["ranges"]) {
      CWorkbookFile file(path);
      ASSERT_EQ(file.Open(), S_OK);
      const auto at = ParseCellRef(Utf8ToWide(range["at"].get<std::string>()));
      ASSERT_TRUE(at);
      ASSERT_EQ(file.SetRange(range["sheet"].get<size_t>() - 1, *at, BlockOf(range["rows"])), S_OK);
      failed = failed || Failed(file.Save());
    }
    const json fails = c.value("fails", json::array());
    EXPECT_EQ(failed, std::find(fails.begin(), fails.end(), form) != fails.end());
    if (failed) continue;  // the last good save stands: checked by the save fault tests
    EXPECT_EQ(OurDump(path), c["expect"]);
    if (const auto other = PythonDump(path)) {
      EXPECT_EQ(*other, c["expect"]);
    } else {
      std::printf("no /usr/bin/python3 reader for .%s: independent check skipped\n", form.c_str());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, WorkbookFixtureTest, FixtureCases("spreadsheet"), FixtureName);

}  // namespace
}  // namespace velmar::testing
