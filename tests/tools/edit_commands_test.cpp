// `velmar constants|blobs|info FILE <edit>` end to end: each edit is one
// transaction, read back by the listing commands in a fresh process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli_run.h"

namespace velmar::testing {
namespace {

using ::testing::Contains;
using Rows = std::vector<std::vector<std::string>>;

class EditCommandsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    text_ = runner_->Path("edits.txt");
    std::filesystem::copy_file(runner_->Sample(), text_);
    store_ = runner_->Path("edits.trn");
    runner_->RunOk({"convert", text_, store_});
  }
  static CliResult Run(const std::vector<std::string>& args) { return runner_->Run(args); }
  static void Ok(const std::vector<std::string>& args) { runner_->RunOk(args); }
  // The listing rows of `command` whose first cell is `name`.
  static Rows RowsNamed(const std::string& command, const std::string& file, const std::string& name) {
    Rows found;
    for (const auto& row : Run({command, file}).Rows()) {
      if (!row.empty() && row[0] == name) found.push_back(row);
    }
    return found;
  }

  static inline CliRunner* runner_ = &SharedCli();
  static inline std::string text_, store_;
};

TEST_F(EditCommandsTest, ConstantsAreAddedChangedAndRemovedInTextAndStore) {
  for (const std::string& file : {text_, store_}) {
    Ok({"constants", file, "add", "Toe", "1.5", "--unit", "deg"});
    Rows rows = RowsNamed("constants", file, "Toe");
    ASSERT_EQ(rows.size(), 1u) << file;
    EXPECT_DOUBLE_EQ(std::stod(rows[0][1]), 1.5);
    EXPECT_EQ(rows[0][2], "deg");
    runner_->RunRefused({"constants", file, "add", "Toe", "2"}, "refused");
    Ok({"constants", file, "set", "Toe", "2.5"});
    EXPECT_DOUBLE_EQ(std::stod(RowsNamed("constants", file, "Toe").at(0)[1]), 2.5);
    Ok({"constants", file, "remove", "Toe"});
    EXPECT_TRUE(RowsNamed("constants", file, "Toe").empty()) << file;
  }
}

TEST_F(EditCommandsTest, BlobsRoundTripAndADuplicateIsRefused) {
  const std::string in = runner_->Path("sheet.bin"), out = runner_->Path("sheet.out");
  std::ofstream(in, std::ios::binary) << "setup sheet";
  Ok({"blobs", store_, "add", "Sheet", in, "--type", "{6B1A3C55-30D6-4B8E-9E43-5E2D7D0C2B11}"});
  EXPECT_THAT(RowsNamed("blobs", store_, "Sheet"),
              Contains(std::vector<std::string>{"Sheet", "{6B1A3C55-30D6-4B8E-9E43-5E2D7D0C2B11}", "11"}));
  Ok({"blobs", store_, "get", "Sheet", "-o", out});
  std::ifstream read(out, std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(read), {}), "setup sheet");
  runner_->RunRefused({"blobs", store_, "add", "Sheet", in}, "refused");  // the host reads the list before the call
  std::ofstream(in, std::ios::binary | std::ios::trunc) << "v2";
  Ok({"blobs", store_, "set", "Sheet", in});
  EXPECT_EQ(RowsNamed("blobs", store_, "Sheet").at(0)[2], "2");
  Ok({"blobs", store_, "remove", "Sheet"});
  EXPECT_TRUE(RowsNamed("blobs", store_, "Sheet").empty());
}

TEST_F(EditCommandsTest, InfoSetChangesPropertiesAndAFirstLapRenumbersTheLaps) {
  for (const std::string& file : {text_, store_}) {
    Ok({"info", file, "set", "Driver name=B. Driver", "Session number=4", "First lap number=5"});
    const auto info = nlohmann::json::parse(Run({"info", file, "--json"}).out)["information"];
    EXPECT_EQ(info["Driver name"], "B. Driver") << file;
    EXPECT_EQ(info["Session number"], "4") << file;
    EXPECT_EQ(Run({"laps", file}).Rows().at(1).at(0), "Lap 5") << file;
    runner_->RunRefused({"info", file, "set", "Pit crew=Jo"}, "refused");
  }
}

}  // namespace
}  // namespace velmar::testing
