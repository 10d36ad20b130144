// The heavy runtimes as modules, seen from the command line: a bare start
// maps none of them, and each command that needs a missing one fails (or,
// for plug-ins, goes on without) with a line naming the module.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>

#include "cli_run.h"
#include "support/fixtures.h"
#include "support/scoped_env.h"

namespace velmar::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// The shared libraries the command maps as it starts.
std::string Ldd() {
  std::string out;
  if (FILE* pipe = ::popen("ldd " VELMAR_CLI, "r")) {
    char buf[4096];
    for (size_t n; (n = std::fread(buf, 1, sizeof buf, pipe)) > 0;) out.append(buf, n);
    ::pclose(pipe);
  }
  return out;
}

TEST(RuntimeModules, StartAndMissingModulesAsTabled) {
  CliRunner cli;
  TempDir empty;
  auto fill = [&](std::string text) {
    const std::vector<std::pair<std::string, std::string>> keys = {
        {"{empty}", empty.path().string()}, {"{sample}", cli.Sample()}, {"{dir}", cli.Path("")}};
    for (const auto& [key, value] : keys) {
      for (size_t at; (at = text.find(key)) != std::string::npos;) text.replace(at, key.size(), value);
    }
    return text;
  };
  for (const auto& c : Fixture("tools/runtime_modules.json")) {
    if (c.value("ldd", false)) {
      const std::string libraries = Ldd();
      EXPECT_THAT(libraries, HasSubstr("libsqlite3")) << "the list is there";
      for (const auto& name : c["lacks"]) EXPECT_THAT(libraries, Not(HasSubstr(name.get<std::string>()))) << c["case"];
      continue;
    }
    std::vector<std::unique_ptr<ScopedEnv>> env;
    std::vector<std::string> args;
    for (const auto& a : c["args"]) args.push_back(fill(a));  // the sample is made here, before the variables
    for (const auto& [name, value] : c["env"].items()) env.push_back(std::make_unique<ScopedEnv>(name.c_str(), fill(value)));
    const CliResult r = cli.Run(args);
    env.clear();
    EXPECT_EQ(r.exitCode, c["exit"].get<int>()) << c["case"] << "\n" << r.err;
    for (const auto& text : c.value("err_has", nlohmann::json::array())) EXPECT_THAT(r.err, HasSubstr(fill(text))) << c["case"];
  }
}

}  // namespace
}  // namespace velmar::testing
