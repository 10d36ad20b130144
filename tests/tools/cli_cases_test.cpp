// Command lines and what they give, one file each under tests/data/tools/cli:
// the arguments and the environment ({sample}, {speed_only}, {out},
// {missing}, {empty}, {dir}, {data} the tools fixtures, {root} all fixtures,
// {addins} the add-ins folder and {version} stand for their text), the exit
// code, and what stdout and stderr hold; a command that fails leaves no file
// named {out}. A case with a "message" is a refusal: exit 1, nothing printed
// and one line on stderr.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "cli_run.h"
#include "support/fixtures.h"
#include "support/scoped_env.h"
#include "velmar/version.h"

namespace velmar::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using nlohmann::json;

class CliCases : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(CliCases, ExitAndOutputAsTabled) {
  const json c = ReadFixture(GetParam());
  CliRunner& cli = SharedCli();
  static const TempDir empty;
  const std::string stem = GetParam().stem().string();
  const std::vector<std::pair<std::string, std::string>> tokens = {
      {"{sample}", cli.Sample()}, {"{speed_only}", (FixtureRoot() / "tools" / "speed_only.txt").string()},
      {"{data}", (FixtureRoot() / "tools").string()}, {"{root}", FixtureRoot().string()},
      {"{addins}", (FixtureRoot().parent_path().parent_path() / "addins").string()}, {"{out}", cli.Path(stem)},
      {"{missing}", cli.Path("missing")}, {"{empty}", empty.path().string()}, {"{dir}", cli.Path("")},
      {"{version}", kVersion}};
  const auto fill = [&](std::string text) {
    for (const auto& [token, value] : tokens) {
      for (size_t at; (at = text.find(token)) != std::string::npos;) text.replace(at, token.size(), value);
    }
    return text;
  };
  std::vector<std::string> args;
  for (const std::string arg : c["args"]) args.push_back(fill(arg));
  std::vector<std::unique_ptr<ScopedEnv>> env;
  const json variables = c.value("env", json::object());
  for (const auto& [name, value] : variables.items()) {
    env.push_back(std::make_unique<ScopedEnv>(name.c_str(), fill(value)));
  }
  const CliResult r = cli.Run(args);
  env.clear();
  const bool refusal = c.contains("message");
  EXPECT_EQ(r.exitCode, c.value("exit", refusal ? 1 : 0)) << r.err;
  EXPECT_EQ(r.out, c.contains("out") ? fill(c["out"]) : r.out);
  for (const std::string text : c.value("out_has", json::array())) EXPECT_THAT(r.out, HasSubstr(fill(text)));
  for (const std::string text : c.value("err_has", json::array())) EXPECT_THAT(r.err, HasSubstr(fill(text)));
  if (refusal) {
    EXPECT_THAT(r.out, ::testing::IsEmpty());
    EXPECT_THAT(r.err, HasSubstr(fill(c["message"])));
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
  }
  // A command that fails writes neither its output nor a temporary file.
  for (const auto& entry : std::filesystem::directory_iterator(cli.Path(""))) {
    EXPECT_TRUE(r.exitCode == 0 || entry.path().filename().string().rfind(stem, 0) != 0) << entry.path();
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, CliCases, FixtureCases("tools/cli"), FixtureName);

// A bare start maps none of the heavy runtimes: each is a module loaded on use.
TEST(RuntimeModules, TheCommandStartsWithoutTheHeavyRuntimes) {
  const std::string libraries = Shell("ldd " VELMAR_CLI);
  EXPECT_THAT(libraries, HasSubstr("libsqlite3")) << "the list is there";
  for (const char* name : {"libavcodec", "libavformat", "libswscale", "libpython3", "librsvg"}) {
    EXPECT_THAT(libraries, Not(HasSubstr(name)));
  }
}

}  // namespace
}  // namespace velmar::testing
