// `velmar --tools DIR tools ...` end to end on the example plug-ins: a
// tool's command over a data set, and a plug-in channel read by `dump`
// beside a recorded one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli_run.h"
#include "support/fixtures.h"

namespace velmar::testing {
namespace {

using ::testing::HasSubstr;

const std::string kExample = (FixtureRoot().parent_path().parent_path() / "addins" / "python").string();

TEST(PluginCommands, ExamplePluginsRunAndGiveAChannel) {
  CliRunner runner;
  const CliResult laps = runner.Run({"--tools", kExample, "tools", "run", "Fastest laps", "List fastest laps",
                                     "--file", runner.Sample()});
  ASSERT_EQ(laps.exitCode, 0) << laps.err;
  EXPECT_THAT(laps.out, HasSubstr("1\tLap "));

  const CliResult dump = runner.RunOk({"--tools", kExample, "dump", runner.Sample(), "LongAccel", "Speed", "--to", "1"});
  const auto rows = dump.Rows();
  ASSERT_GT(rows.size(), 3u);
  EXPECT_EQ(rows[0], (std::vector<std::string>{"time", "LongAccel", "Speed"}));
  // km/h per second over 3.6 is m/s^2.
  const double slope = (std::stod(rows[3][2]) - std::stod(rows[1][2])) / (std::stod(rows[3][0]) - std::stod(rows[1][0]));
  EXPECT_NEAR(std::stod(rows[2][1]), slope / 3.6, 1e-3 + std::abs(slope) * 1e-3);
}

}  // namespace
}  // namespace velmar::testing
