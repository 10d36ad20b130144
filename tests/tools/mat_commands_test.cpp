// The `velmar` binary on a MAT-file: it opens as type 2 in every command.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "cli_run.h"
#include "support/fixtures.h"

namespace velmar::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

TEST(MatCommandsTest, InfoChannelsAndDumpReadAMatFile) {
  CliRunner runner;
  const std::string file = (FixtureRoot() / "matfile" / "write_channel_3_samples.mat").string();
  const CliResult info = runner.RunOk({"info", file});
  EXPECT_THAT(info.Rows(), Contains(ElementsAre("type", "2 (MAT-file)")));
  EXPECT_THAT(info.Rows(), Contains(ElementsAre("information.System details", "Kivara Written DataSet")));
  const CliResult dump = runner.RunOk({"dump", file, "Speed"});
  EXPECT_THAT(dump.Rows(), ElementsAre(ElementsAre("time", "Speed"), ElementsAre("0", "1.5"), ElementsAre("0.5", "2.5"),
                                       ElementsAre("1", "3.5")));
  EXPECT_EQ(runner.Run({"laps", file}).exitCode, 0);
}

TEST(MatCommandsTest, InformationSetIsWrittenIntoTheFile) {
  CliRunner runner;
  const std::string file = runner.Path("edit.mat");
  std::filesystem::copy_file(FixtureRoot() / "matfile" / "write_channel_3_samples.mat", file);
  const CliResult set = runner.RunOk({"info", file, "set", "Driver name=Jo Demo", "Session number=7"});
  const CliResult info = runner.Run({"info", file});
  EXPECT_THAT(info.Rows(), Contains(ElementsAre("information.Driver name", "Jo Demo")));
  EXPECT_THAT(info.Rows(), Contains(ElementsAre("information.Session number", "7")));
  EXPECT_EQ(runner.Run({"dump", file, "Speed"}).Rows().size(), 4u) << "the channel is kept by the rewrite";
}

}  // namespace
}  // namespace velmar::testing
