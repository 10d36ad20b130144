// velmar: the command-line host of the library. It drives the library as
// any host does (root, outing factory, sinks, the client-thread loop) and
// prints what it reads as tab-separated lines or JSON.
#include <cstdio>
#include <cstdlib>
#include <iostream>

#include "commands.h"
#include "host_error.h"
#include "velmar/version.h"

int main(int argc, char** argv) {
  using namespace velmar::cli;
  CLI::App app{"velmar: telemetry outings from the command line", "velmar"};
  app.set_version_flag("--version", std::string("velmar ") + velmar::kVersion);
  app.require_subcommand(1);
  CommandContext context;
  app.add_option("--timeout", context.timeoutSeconds, "Longest wait for a load, in seconds")
      ->check(CLI::PositiveNumber);
  app.add_flag("--no-progress", context.noProgress, "Never draw the progress line on stderr");
  app.add_option("--settings", context.settingsFile,
                 "Settings file (.kvs) the root loads, made with the defaults when missing");
  AddInfoCommand(app, context);
  AddChannelsCommand(app, context);
  AddDumpCommand(app, context);
  AddEventsCommand(app, context);
  AddConstantsCommand(app, context);
  AddBlobsCommand(app, context);
  AddSampleCommand(app, context);
  AddConvertCommand(app, context);
  AddLapsCommand(app, context);
  AddMarkersCommand(app, context);
  AddRegionsCommand(app, context);
  AddAlignCommand(app, context);
  AddSettingsCommand(app, context);
  AddRtServeCommand(app, context);
  AddFollowCommand(app, context);
  AddDeltaCommand(app, context);
  AddPlotCommand(app, context);
  AddTrackmapCommand(app, context);
  AddAddInsCommand(app, context);
  AddMathCommand(app, context);
  AddExportCommand(app, context);
  AddMediaCommand(app, context);
  AddFrameCommand(app, context);
  AddClipCommand(app, context);
  AddPlayCommand(app, context);
  AddWatchCommand(app, context);
  AddToolsCommand(app, context);
  app.add_option_function<std::string>("--tools", [](const std::string& dir) { setenv("KIVARA_TOOLS", dir.c_str(), 1); },
                                       "Folder of Python plug-ins (instead of \"Tools\" beside the library)");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  } catch (const HostError& error) {
    std::cout.flush();
    std::fprintf(stderr, "velmar: %s\n", error.what());
    return 1;
  }
  std::cout.flush();
  return std::cout.fail() ? 1 : 0;
}
