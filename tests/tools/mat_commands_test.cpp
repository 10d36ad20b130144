// The `velmar` binary writing into a MAT-file (reads are in tests/data/tools/cli).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "cli_run.h"
#include "support/fixtures.h"

namespace velmar::testing {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

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
