#include "sources/spreadsheet/workbook_application.h"

#include <gtest/gtest.h>

#include "sources/spreadsheet/xlsx_writer.h"
#include "support/temp_dir.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

class WorkbookApplicationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(WriteXlsx(dir_ / "car.xlsx",
                          {{"Sheet1", {{"A1", "<v>7</v>"}, {"A2", ""}, {"A3", "t=\"inlineStr\"|<is><t>x</t></is>"}}},
                           {"Sheet2", {{"B7", "<v>2.25</v>"}}}}));
  }
  KivResult Read(const std::u16string& target, double* value, ConstantElements steps = {}) {
    return app_.ReadConstant(Utf8ToWide((dir_ / "car.xlsx").string()), steps, target, value);
  }
  TempDir dir_;
  CWorkbookApplication app_;
};

TEST_F(WorkbookApplicationTest, TheTargetIsReadOnTheNamedOrTheCurrentSheet) {
  double value = 0;
  ASSERT_EQ(Read(u"Sheet2!B7", &value), S_OK);
  EXPECT_EQ(value, 2.25);
  ASSERT_EQ(Read(u"A1", &value), S_OK);
  EXPECT_EQ(value, 7);
  ASSERT_EQ(Read(u"B7", &value, {{ConstantElement::kSelectSheet, u"Sheet2", u""}}), S_OK);
  EXPECT_EQ(value, 2.25);
}

TEST_F(WorkbookApplicationTest, AnEmptyCellIsZeroAndATextCellFails) {
  double value = -1;
  ASSERT_EQ(Read(u"A2", &value), S_OK);
  EXPECT_EQ(value, 0);
  ASSERT_EQ(Read(u"Z99", &value), S_OK);
  EXPECT_EQ(value, 0);
  EXPECT_EQ(Read(u"A3", &value), DISP_E_TYPEMISMATCH);
}

TEST_F(WorkbookApplicationTest, StepsRunInOrderAndTheFirstFailureStops) {
  double value = 0;
  ASSERT_EQ(Read(u"Sheet2!C1", &value, {{ConstantElement::kSetRange, u"Sheet2!C1", u"12.5"}}), S_OK);
  EXPECT_EQ(value, 12.5) << "a value put in a range reads back";
  EXPECT_EQ(Read(u"A1", &value, {{ConstantElement::kSelectSheet, u"Missing", u""}}), E_FAIL);
  EXPECT_EQ(Read(u"A1", &value, {{ConstantElement::kRunMacro, u"Recalc", u""}}), E_NOTIMPL);
  EXPECT_EQ(Read(u"Nowhere!A1", &value), E_FAIL);
  EXPECT_EQ(app_.ReadConstant(u"/nonexistent/book.xlsx", {}, u"A1", &value), STG_E_FILENOTFOUND);
}

}  // namespace
}  // namespace velmar::testing
