// `velmar export` and `velmar events ... remove` end to end: what is written
// reads back through fresh opens on the grid.
#include <gtest/gtest.h>

#include "cli_run.h"

namespace velmar::testing {
namespace {

CliResult RunCli(const std::vector<std::string>& args) { return SharedCli().Run(args); }

TEST(ExportCommandsTest, ResampledExportReadsBackOnTheGridInTheRecordedUnit) {
  const std::string& sample = SharedCli().Sample();
  const auto original = RunCli({"dump", sample, "Speed", "--from", "10", "--to", "10"}).Rows();
  ASSERT_EQ(original.size(), 2u);
  for (const char* out : {"grid.txt", "grid.trn"}) {
    const std::string path = SharedCli().Path(out);
    const CliResult exported = RunCli({"export", sample, path, "--channels", "Speed,Gear", "--events", "--from", "5",
                                    "--to", "20", "--rate", "10"});
    ASSERT_EQ(exported.exitCode, 0) << exported.err;
    const auto rows = RunCli({"dump", path, "Speed", "Gear"}).Rows();
    ASSERT_EQ(rows.size(), 152u) << out << ": 5 s to 20 s every 0.1 s, and the header";
    for (size_t i = 1; i < rows.size(); ++i) {
      EXPECT_NEAR(std::stod(rows[i][0]), 5.0 + 0.1 * static_cast<double>(i - 1), 1e-9) << out;
    }
    EXPECT_NEAR(std::stod(rows[51][1]), std::stod(original[1][1]), 1e-6) << out << ": 10 s, in km/h";
    EXPECT_EQ(RunCli({"events", path}).Rows().size(), 1u) << out << ": no lap ends inside 5 s to 20 s";
  }
}

TEST(ExportCommandsTest, EventsWrittenByExportCanBeRemovedAgain) {
  const std::string& sample = SharedCli().Sample();
  for (const char* out : {"events.txt", "events.trn"}) {
    const std::string path = SharedCli().Path(out);
    ASSERT_EQ(RunCli({"export", sample, path, "--channels", "Gear", "--events"}).exitCode, 0);
    const auto events = RunCli({"events", path}).Rows();
    ASSERT_GE(events.size(), 2u);
    const CliResult removed = RunCli({"events", path, "remove", "--name", events[1][1], "--time", events[1][0]});
    EXPECT_EQ(removed.exitCode, 0) << out << removed.err;
    EXPECT_EQ(RunCli({"events", path}).Rows().size(), events.size() - 1) << out;
    SharedCli().RunRefused({"events", path, "remove", "--name", events[1][1], "--time", events[1][0]}, out);
  }
}

}  // namespace
}  // namespace velmar::testing
