// Spreadsheet outings end to end on the client thread, in both forms:
// created through the factory, written in commits (channels on a grid,
// events, information) and read back by our reader and an independent one,
// and the writes a workbook refuses or a failing disk spoils.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/file.h>

#include "export/fake_channel.h"
#include "sources/spreadsheet/excel_outing.h"
#include "sources/spreadsheet/excel_write_back.h"
#include "sources/spreadsheet/workbook_dump.h"
#include "support/faulty_file_ops.h"
#include "support/fixtures.h"
#include "support/matfile_spreadsheet_outing.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
constexpr KivTime kMs = 10'000;

class ExcelOutingTest : public FileOutingTest<CExcelOuting, CExcelOutingCache, ::testing::TestWithParam<const char*>> {
 protected:
  void SetUp() override { ASSERT_TRUE(Succeeded(RegisterExcelOutingSource())); }
  std::filesystem::path File(const std::string& stem) { return dir_ / (stem + "." + GetParam()); }
  KivResult Open(const std::filesystem::path& path, bool create) {
    return OpenAs(kSpreadsheetOutingTypeId, path, create);
  }
  // Channels of `count` samples each 10 ms from 0, resampled at `period` (0: native).
  ComPtr<CWriteBackStateMachineBase> Channels(std::vector<std::pair<const char16_t*, int>> channels, KivTime period) {
    auto step = MakeKiv<CExcelWriteBackChannelStateMachine>(outing_->cache()->write_back());
    for (const auto& [name, count] : channels) {
      auto fake = MakeFakeChannel(json{{{"start", 0}, {"interval", 10 * kMs}, {"count", count}}});
      const KivTime end = (channels.front().second - 1) * 10 * kMs;
      step->AddItem(std::make_unique<CExportChannel>(name, 0, end, fake.Get(), 2.0, 1.0, 0, period));
    }
    return step;
  }

  ComPtr<CWriteBackStateMachineBase> Info(const PropertyList& properties) {
    return MakeKiv<CExcelOutingInfoStep>(outing_->cache()->write_back(), properties);
  }
};

TEST_P(ExcelOutingTest, ANewWorkbookHasTheThreeEmptySheetsAndTheOutingNoData) {
  EXPECT_EQ(Open(dir_ / "missing/new.xlsx", true), S_FALSE) << "a missing folder gives the empty outing";
  EXPECT_EQ(CWorkbookFile::Create(dir_ / "missing/new.xlsx", kExcelSheets), STG_E_PATHNOTFOUND);
  ASSERT_EQ(Open(File("new"), true), S_OK);
  OutingListener& heard = Listen();
  ASSERT_TRUE(Settle());
  EXPECT_THAT(heard.log, ElementsAre("Created:-1"));
  const json empty = {{"Outing Information", json::object()}, {"Channel Data", json::object()},
                      {"Event Data", json::object()}};
  EXPECT_EQ(OurDump(File("new")), empty);
  NameList names;
  EXPECT_EQ(outing_->channels().GetNames(&names), S_OK);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(outing_->channels().GetNames(&names), S_OK);
  EXPECT_TRUE(names.empty());
  EXPECT_EQ(outing_->cache()->GetCaption(), u"Excel Outing");
}

TEST_P(ExcelOutingTest, ACommitWritesTheSheetsAnIndependentReaderFinds) {
  ASSERT_EQ(CWorkbookFile::Create(File("out"), kExcelSheets), S_OK);
  ASSERT_EQ(Open(File("out"), false), S_OK);
  auto events = MakeKiv<CExcelWriteBackEventsStateMachine>(outing_->cache()->write_back(), 0, kTimeMax);
  events->AddReady({u"Pit In", 15'000'000, 0, u"Driver", u"box\nnow", {}, {}, true});
  events->AddReady({u"Mark", 25'000'000, 7, u"Analysis", u"", {}, {}, true});
  const PropertyList info{{u"Driver name", Variant::Text(u"Ann")}, {u"Comment", Variant::Text(u"wet\r\ndry")},
                          {u"Session number", Variant::I32(4)}};
  EXPECT_TRUE(Commit({Info(info), Channels({{u"[3]Speed", 4}, {u"Short", 2}}, 5 * kMs), events}).empty());
  json expected = Fixture("spreadsheet/outing/commit_sheets.json");
  expected.erase("about");
  const json ours = OurDump(File("out"));
  for (const auto& [sheet, cells] : expected.items()) {
    for (const auto& [cell, value] : cells.items()) {
      if (value.is_number()) EXPECT_NEAR(ours[sheet][cell].get<double>(), value.get<double>(), 1e-12) << cell;
      else EXPECT_EQ(ours[sheet][cell], value) << sheet << " " << cell;
    }
    EXPECT_EQ(ours[sheet].size(), cells.size()) << sheet;
  }
  const auto other = PythonDump(File("out"));
  if (!other) GTEST_SKIP() << "no /usr/bin/python3 with openpyxl/xlrd: independent check skipped";
  EXPECT_EQ(*other, ours);
}

TEST_P(ExcelOutingTest, RefusedWritesSayWhyAndLeaveTheWorkbook) {
  ASSERT_EQ(CWorkbookFile::Create(File("kept"), kExcelSheets), S_OK);
  ASSERT_EQ(Open(File("kept"), false), S_OK);
  const json before = OurDump(File("kept"));
  EXPECT_THAT(Commit({Channels({{u"Speed", 4}}, 0)}), ElementsAre("TransactionMessage:Failed to write channels"));
  std::vector<CExportEvent> gone{{u"Mark", 0, 1, {}, {}, {}, {}, true}};
  auto remove = MakeKiv<CExcelWriteBackEventsRemoveStateMachine>(outing_->cache()->write_back(), std::move(gone));
  EXPECT_THAT(Commit({remove}), ElementsAre("TransactionMessage:Failed to remove events - events not found"));
  EXPECT_EQ(OurDump(File("kept")), before);
  NameList many;
  for (int i = 0; i < 300; ++i) many.push_back(u"C" + Utf8ToWide(std::to_string(i)));
  OutingListener& heard = Listen();
  (void)outing_->WriteChannelsResampled(0, 10'000'000, &many, 10 * kMs);
  ASSERT_FALSE(heard.log.empty());
  EXPECT_THAT(heard.log.front(), HasSubstr("WriterMessage:1:The following channels cannot be exported:\n\tC255\n"));
  EXPECT_THAT(heard.log.front(), HasSubstr("\tC299\n\t255 channel limit reached"));
}

TEST_P(ExcelOutingTest, AReadOnlyOrLockedWorkbookIsNotWritten) {
  ASSERT_EQ(CWorkbookFile::Create(File("held"), kExcelSheets), S_OK);
  ASSERT_EQ(Open(File("held"), false), S_OK);
  const PropertyList info{{u"Driver name", Variant::Text(u"Ann")}};
  std::filesystem::permissions(File("held"), std::filesystem::perms::owner_read);
  EXPECT_THAT(Commit({Info(info)}), ElementsAre(HasSubstr("Failed to obtain write access")));
  std::filesystem::permissions(File("held"), std::filesystem::perms::owner_all);
  const int fd = ::open(File("held").c_str(), O_RDONLY);
  ASSERT_EQ(::flock(fd, LOCK_EX), 0);
  EXPECT_THAT(Commit({Info(info)}), ElementsAre(HasSubstr("Failed to obtain write access")));
  ::close(fd);
  EXPECT_EQ(OurDump(File("held"))["Outing Information"], json::object());
}

TEST_P(ExcelOutingTest, ASaveTheDiskFailsLeavesTheOldWorkbook) {
  ASSERT_EQ(CWorkbookFile::Create(File("old"), kExcelSheets), S_OK);
  std::string before, after;
  ASSERT_EQ(DefaultFileOps().ReadAll(File("old"), &before), S_OK);
  for (auto step : {FaultyFileOps::Step::kShortWrite, FaultyFileOps::Step::kSyncFile, FaultyFileOps::Step::kRename}) {
    FaultyFileOps ops;
    ops.FailAt(step);
    CExcelFileHandles file(File("old"), ops);
    ASSERT_EQ(file.Open(), S_OK);
    ASSERT_EQ(file.WriteInformation({{u"Driver name", Variant::Text(u"Ann")}}), S_OK);
    EXPECT_TRUE(Failed(file.Close()));
    ASSERT_EQ(DefaultFileOps().ReadAll(File("old"), &after), S_OK);
    EXPECT_EQ(after, before);
  }
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir_.path()), {}), 1) << "no temporary file is left";
}

TEST_P(ExcelOutingTest, AGridOf65535RowsFitsAndOneMoreWarnsAndIsCut) {
  ASSERT_EQ(CWorkbookFile::Create(File("rows"), kExcelSheets), S_OK);
  ASSERT_EQ(Open(File("rows"), false), S_OK);
  EXPECT_TRUE(Commit({Channels({{u"Speed", 65535}}, 10 * kMs)}).empty());
  EXPECT_EQ(OurDump(File("rows"))["Channel Data"].size(), 2u * 65536);
  EXPECT_THAT(Commit({Channels({{u"Speed", 65536}, {u"Short", 2}}, 10 * kMs)}),
              ElementsAre("TransactionMessage:Warning Exporting Channels...\n\n\t65535 sample limit exceeded for "
                          "channels:\n\t\tSpeed\n\tSome data will not be exported from the end of the time region\n"));
  const json sheet = OurDump(File("rows"))["Channel Data"];
  EXPECT_EQ(sheet["A65536"], 655.34);
  EXPECT_FALSE(sheet.contains("A65537"));
}

INSTANTIATE_TEST_SUITE_P(Forms, ExcelOutingTest, ::testing::Values("xlsx", "xls"));

}  // namespace
}  // namespace velmar::testing
