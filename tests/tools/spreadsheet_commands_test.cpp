// `velmar export` into workbooks: a sample's channels and events land on
// their sheets in both forms, with the outing information when asked.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli_run.h"
#include "sources/spreadsheet/workbook.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using ::testing::HasSubstr;

TEST(SpreadsheetCommandsTest, ExportFillsTheThreeSheets) {
  CliRunner& runner = SharedCli();
  const std::string& in = runner.Sample();
  for (const char* form : {"out.xlsx", "out.xls"}) {
    const std::string out = runner.Path(form);
    const CliResult run = runner.RunOk({"export", in, out, "--period", "100", "--channels", "Speed", "--events", "--info"});
    Workbook book;
    ASSERT_EQ(ReadWorkbook(out, &book), S_OK);
    ASSERT_EQ(book.sheets().size(), 3u);
    const WorkbookSheet& channels = book.sheets()[1];
    EXPECT_EQ(channels.name, u"Channel Data");
    EXPECT_EQ(channels.At({0, 1}).text, u"Speed");
    EXPECT_EQ(channels.At({2, 0}).number, 0.1);
    EXPECT_EQ(book.sheets()[2].At({1, 1}).text, u"End of lap");
    bool driver = false;
    for (const auto& [ref, cell] : book.sheets()[0].cells) driver = driver || cell.text == u"Driver name";
    EXPECT_TRUE(driver) << "no information written to " << form;
  }
}

}  // namespace
}  // namespace velmar::testing
