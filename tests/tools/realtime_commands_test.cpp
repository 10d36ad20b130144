// `velmar rt-serve` and `velmar follow` together, as a user runs them: a
// replay in the background, followed for two seconds, then stopped by
// SIGTERM.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "cli_run.h"

namespace velmar::testing {
namespace {

TEST(RealtimeCommandsTest, AFollowedReplayShowsItsDataAndTheServerStopsOnSigterm) {
  CliRunner cli;
  const std::string sample = cli.Sample();
  const std::string cmd = cli.Command();
  const std::string script =
      cmd + " --no-progress rt-serve '" + sample + "' --speed 50 --name Test >'" + cli.Path("address") + "' 2>'" +
      cli.Path("serve.err") + "' & server=$!; " +
      "for i in $(seq 100); do [ -s '" + cli.Path("address") + "' ] && break; sleep 0.1; done; " +
      cmd + " follow \"$(head -1 '" + cli.Path("address") + "')\" --for 2 --json --channels Speed >'" +
      cli.Path("follow") + "'; kill -TERM $server; wait $server; echo $? >'" + cli.Path("serve.rc") + "'";
  std::ofstream(cli.Path("run.sh")) << script << "\n";
  ASSERT_EQ(std::system(("bash '" + cli.Path("run.sh") + "'").c_str()), 0);
  EXPECT_EQ(ReadText(cli.Path("serve.rc")), "0\n") << ReadText(cli.Path("serve.err"));
  EXPECT_NE(ReadText(cli.Path("serve.err")).find("stopped"), std::string::npos);
  std::istringstream follow(ReadText(cli.Path("follow")));
  std::vector<nlohmann::json> reports;
  for (std::string line; std::getline(follow, line);) reports.push_back(nlohmann::json::parse(line));
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports.back()["state"], 10);
  EXPECT_TRUE(reports.back()["connected"].get<bool>());
  EXPECT_GT(reports.back()["end"].get<double>(), reports.front()["end"].get<double>()) << "the range grows";
  EXPECT_TRUE(reports.back()["values"]["Speed"].is_number());
}

}  // namespace
}  // namespace velmar::testing
