#include "sources/spreadsheet/workbook.h"

#include <gtest/gtest.h>

#include <fstream>

#include "sources/spreadsheet/xlsx_writer.h"
#include "support/temp_dir.h"

namespace velmar::testing {
namespace {

TEST(CellRef, ReadsLettersAndDigitsWithOrWithoutDollars) {
  EXPECT_EQ(ParseCellRef(u"A1"), (CellRef{0, 0}));
  EXPECT_EQ(ParseCellRef(u"$b$7"), (CellRef{6, 1}));
  EXPECT_EQ(ParseCellRef(u"AA10"), (CellRef{9, 26}));
  EXPECT_FALSE(ParseCellRef(u"A0"));
  EXPECT_FALSE(ParseCellRef(u"7B"));
  EXPECT_FALSE(ParseCellRef(u"A1:B2"));
  EXPECT_FALSE(ParseCellRef(u""));
}

class WorkbookTest : public ::testing::Test {
 protected:
  std::filesystem::path Book() {
    const auto file = dir_ / "setup.xlsx";
    EXPECT_TRUE(WriteXlsx(file,
                          {{"Car", {{"A1", "<v>1.5</v>"}, {"B2", "t=\"s\"|<v>0</v>"}, {"C3", "<f>A1*2</f><v>3</v>"}}},
                           {"Track", {{"B7", "<v>-42</v>"}, {"D1", "t=\"b\"|<v>1</v>"}}}},
                          1, {{"Gain", "Car!$C$3"}}));
    return file;
  }
  TempDir dir_;
};

TEST_F(WorkbookTest, AnXlsxIsReadWithItsSheetsCellsActiveTabAndNames) {
  Workbook book;
  ASSERT_EQ(ReadWorkbook(Book(), &book), S_OK);
  ASSERT_EQ(book.sheets().size(), 2u);
  EXPECT_EQ(book.sheets()[0].name, u"Car");
  EXPECT_EQ(book.active(), 1u);
  EXPECT_EQ(book.sheets()[0].At({0, 0}).number, 1.5);
  EXPECT_EQ(book.sheets()[0].At({1, 1}).kind, WorkbookCell::Kind::kOther) << "a shared text";
  EXPECT_EQ(book.sheets()[0].At({2, 2}).number, 3) << "a formula's cached value";
  EXPECT_EQ(book.sheets()[1].At({0, 3}).kind, WorkbookCell::Kind::kOther) << "a flag is no number";
  EXPECT_EQ(book.sheets()[1].At({5, 5}).kind, WorkbookCell::Kind::kEmpty);
  size_t sheet = 9;
  CellRef ref;
  ASSERT_EQ(book.Resolve(u"track!B7", 0, &sheet, &ref), S_OK);
  EXPECT_EQ(sheet, 1u);
  ASSERT_EQ(book.Resolve(u"Gain", 1, &sheet, &ref), S_OK);
  EXPECT_EQ(sheet, 0u);
  EXPECT_EQ(ref, (CellRef{2, 2}));
  EXPECT_EQ(book.Resolve(u"Nowhere!A1", 0, &sheet, &ref), E_FAIL);
  EXPECT_EQ(book.Resolve(u"NoSuchName", 0, &sheet, &ref), E_FAIL);
}

TEST_F(WorkbookTest, MissingAndBrokenFilesAreRefused) {
  Workbook book;
  EXPECT_EQ(ReadWorkbook(dir_ / "absent.xlsx", &book), STG_E_FILENOTFOUND);
  std::ofstream(dir_ / "broken.xlsx") << "this is no zip archive";
  EXPECT_EQ(ReadWorkbook(dir_ / "broken.xlsx", &book), E_FAIL);
  std::ofstream(dir_ / "broken.xls") << "nor a BIFF file";
  EXPECT_EQ(ReadWorkbook(dir_ / "broken.xls", &book), E_FAIL);
  ASSERT_TRUE(WriteXlsx(dir_ / "nosheets.xlsx", {}));
  EXPECT_EQ(ReadWorkbook(dir_ / "nosheets.xlsx", &book), E_FAIL);
  std::ofstream(dir_ / "notes.txt") << "1";
  EXPECT_EQ(ReadWorkbook(dir_ / "notes.txt", &book), E_FAIL);
}

}  // namespace
}  // namespace velmar::testing
