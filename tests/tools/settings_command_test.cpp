// The settings file from the command line: a map stored once serves later
// runs, `settings show` lists the file, standard tools read it, and
// `import-properties` fills the property databases from a .trn.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "cli_run.h"

namespace velmar::testing {
namespace {

TEST(SettingsCommand, AMapStoredInTheFileServesLaterRunsAndStandardToolsReadIt) {
  CliRunner cli;
  const std::string sample = cli.Sample();
  const std::string map = sample.substr(0, sample.size() - 4) + ".map.json";
  const std::string file = cli.Path("team.kvs");
  const CliResult first = cli.RunOk({"--settings", file, "regions", sample, "--finder", "segment", "--map", map});
  const CliResult later = cli.RunOk({"--settings", file, "regions", sample, "--finder", "segment"});
  EXPECT_EQ(later.out, first.out) << "the second run cuts by the stored map";

  const CliResult shown = cli.RunOk({"settings", file, "show", "--json"});
  const auto report = nlohmann::json::parse(shown.out);
  EXPECT_EQ(report["version"], 6);
  EXPECT_EQ(report["priorities"].size(), 4u);
  EXPECT_EQ(report["palette"].size(), 12u);
  EXPECT_EQ(report["common_channels"]["MapPositionD"], "[1]Map Position D");

  const std::string listed = Shell("/usr/bin/python3 -c \"import olefile; o = olefile.OleFileIO('" + file +
                                   "'); print(sorted('/'.join(e) for e in o.listdir(storages=True))); "
                                   "print(o.openstream('Version').read().hex())\"");
  for (const char* name : {"Version", "Settings", "Priorities", "Favorites", "ColourTable", "QuantityToColorMapping",
                           "Tasks/Task List", "Channel Properties/Properties", "Event Properties", "Groups",
                           "Global Constants", "RealTime Settings", "Common Channels", "Circuit Map",
                           "Data Factories/Data Factory List"}) {
    EXPECT_NE(listed.find(std::string("'") + name), std::string::npos) << name << " in " << listed;
  }
  EXPECT_NE(listed.find("\n06000000"), std::string::npos) << listed;
}

TEST(SettingsCommand, ImportPropertiesFillsTheDatabasesFromATrn) {
  CliRunner cli;
  const std::string trn = cli.Path("sample.trn");
  const std::string file = cli.Path("import.kvs");
  ASSERT_EQ(cli.Run({"convert", cli.Sample(), trn}).exitCode, 0);
  const CliResult imported = cli.RunOk({"settings", file, "import-properties", trn});
  const auto report = nlohmann::json::parse(cli.Run({"settings", file, "show", "--json"}).out);
  EXPECT_FALSE(report["channel_keys"].empty());
  EXPECT_FALSE(report["event_names"].empty());
}

}  // namespace
}  // namespace velmar::testing
