// `velmar export` and `velmar events ... remove` end to end: what is written reads
// back through fresh opens on the grid, and a write that cannot happen leaves no file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "cli_run.h"

namespace velmar::testing {
namespace {

using ::testing::HasSubstr;

class ExportCommandsTest : public ::testing::Test {
 protected:
  CliResult Run(const std::vector<std::string>& args) { return runner_.Run(args); }
  CliRunner runner_;
};

TEST_F(ExportCommandsTest, ResampledExportReadsBackOnTheGridInTheRecordedUnit) {
  const std::string& sample = runner_.Sample();
  const auto original = Run({"dump", sample, "Speed", "--from", "10", "--to", "10"}).Rows();
  ASSERT_EQ(original.size(), 2u);
  for (const char* out : {"grid.txt", "grid.trn"}) {
    const std::string path = runner_.Path(out);
    const CliResult exported = Run({"export", sample, path, "--channels", "Speed,Gear", "--events", "--from", "5",
                                    "--to", "20", "--rate", "10"});
    ASSERT_EQ(exported.exitCode, 0) << exported.err;
    const auto rows = Run({"dump", path, "Speed", "Gear"}).Rows();
    ASSERT_EQ(rows.size(), 152u) << out << ": 5 s to 20 s every 0.1 s, and the header";
    for (size_t i = 1; i < rows.size(); ++i) {
      EXPECT_NEAR(std::stod(rows[i][0]), 5.0 + 0.1 * static_cast<double>(i - 1), 1e-9) << out;
    }
    EXPECT_NEAR(std::stod(rows[51][1]), std::stod(original[1][1]), 1e-6) << out << ": 10 s, in km/h";
    EXPECT_EQ(Run({"events", path}).Rows().size(), 1u) << out << ": no lap ends inside 5 s to 20 s";
  }
}

TEST_F(ExportCommandsTest, EventsWrittenByExportCanBeRemovedAgain) {
  const std::string& sample = runner_.Sample();
  for (const char* out : {"events.txt", "events.trn"}) {
    const std::string path = runner_.Path(out);
    ASSERT_EQ(Run({"export", sample, path, "--channels", "Gear", "--events"}).exitCode, 0);
    const auto events = Run({"events", path}).Rows();
    ASSERT_GE(events.size(), 2u);
    const CliResult removed = Run({"events", path, "remove", "--name", events[1][1], "--time", events[1][0]});
    EXPECT_EQ(removed.exitCode, 0) << out << removed.err;
    EXPECT_EQ(Run({"events", path}).Rows().size(), events.size() - 1) << out;
    const CliResult again = Run({"events", path, "remove", "--name", events[1][1], "--time", events[1][0]});
    EXPECT_NE(again.exitCode, 0) << out;
  }
}

TEST_F(ExportCommandsTest, NothingToWriteLeavesNoFileAndBadArgumentsFail) {
  const std::string& sample = runner_.Sample();
  for (const char* out : {"empty.txt", "empty.trn"}) {
    const std::string path = runner_.Path(out);
    const CliResult r = Run({"export", sample, path, "--from", "90000", "--to", "90001"});
    EXPECT_NE(r.exitCode, 0);
    EXPECT_THAT(r.err, HasSubstr("No data found for any of the selected channels"));
    EXPECT_FALSE(std::filesystem::exists(path)) << out;
  }
  const std::string period = runner_.Path("period.txt");
  EXPECT_THAT(Run({"export", sample, period, "--period", "0.5"}).err, HasSubstr("between 1 ms and 10 s"));
  EXPECT_FALSE(std::filesystem::exists(period));
  EXPECT_THAT(Run({"export", sample, runner_.Path("x.txt"), "--channels", "Nope"}).err, HasSubstr("Nope"));
  EXPECT_THAT(Run({"export", sample, sample}).err, HasSubstr("is the input"));
}

}  // namespace
}  // namespace velmar::testing
