// `velmar math` and `velmar addins` end to end: a math channel of the
// sample against the recorded channel it is made of, a definition that is
// not offered, and the add-in manager's choice kept in a settings file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "cli_run.h"
#include "support/fixtures.h"

namespace velmar::testing {
namespace {

using ::testing::HasSubstr;

TEST(AddInsCommands, MathChannelsFollowTheirOperands) {
  CliRunner runner;
  const std::string defs = (FixtureRoot() / "tools" / "math_defs.json").string();
  // Channels give their values in their quantity's base unit; so do math channels' operands.
  const CliResult speed = runner.Run({"dump", runner.Sample(), "Speed", "--to", "0.5", "--base-units"});
  const CliResult math = runner.RunOk({"math", runner.Sample(), "--def", defs, "--channels", "Double", "--to", "0.5"});
  EXPECT_THAT(math.err, HasSubstr("Math channel \"Broken\""));
  const auto recorded = speed.Rows();
  const auto computed = math.Rows();
  ASSERT_EQ(recorded.size(), computed.size());
  ASSERT_GT(computed.size(), 2u);
  EXPECT_EQ(computed[0], (std::vector<std::string>{"time", "Double"}));
  for (size_t i = 1; i < computed.size(); ++i) {
    EXPECT_EQ(computed[i][0], recorded[i][0]);
    EXPECT_NEAR(std::stod(computed[i][1]), 2 * std::stod(recorded[i][1]), 1e-6);
  }
}

TEST(AddInsCommands, TheManagersChoiceStaysInTheSettingsFile) {
  CliRunner runner;
  const std::string settings = runner.Path("s.kvs");
  EXPECT_THAT(runner.Run({"addins", "--settings", settings, "list"}).out, HasSubstr("[ ] Math Channels  {"));
  ASSERT_EQ(runner.Run({"addins", "--settings", settings, "enable", "math channels"}).exitCode, 0);
  EXPECT_THAT(runner.Run({"addins", "--settings", settings, "list"}).out, HasSubstr("[x] Math Channels  {"));
}

}  // namespace
}  // namespace velmar::testing
