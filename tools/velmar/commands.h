// The subcommands of `velmar`. Each Add... function declares one on the app
// and gives it a callback that does the work when it is the one chosen.
#pragma once

#include <chrono>
#include <string>

#include <CLI/CLI.hpp>

namespace velmar::cli {

// Options that every subcommand shares.
struct CommandContext {
  double timeoutSeconds = 120.0;  // the longest wait for the library's worker threads
  bool noProgress = false;        // never a progress line, even on a terminal
  std::string settingsFile;       // the root's settings file (--settings); none when empty

  bool progress() const { return !noProgress; }
  std::chrono::milliseconds timeout() const {
    return std::chrono::milliseconds(static_cast<int64_t>(timeoutSeconds * 1000.0));
  }
};

void AddInfoCommand(CLI::App& app, const CommandContext& context);
void AddSettingsCommand(CLI::App& app, const CommandContext& context);
void AddChannelsCommand(CLI::App& app, const CommandContext& context);
void AddDumpCommand(CLI::App& app, const CommandContext& context);
void AddEventsCommand(CLI::App& app, const CommandContext& context);
void AddConstantsCommand(CLI::App& app, const CommandContext& context);
void AddBlobsCommand(CLI::App& app, const CommandContext& context);
void AddSampleCommand(CLI::App& app, const CommandContext& context);
void AddConvertCommand(CLI::App& app, const CommandContext& context);
void AddLapsCommand(CLI::App& app, const CommandContext& context);
void AddMarkersCommand(CLI::App& app, const CommandContext& context);
void AddRegionsCommand(CLI::App& app, const CommandContext& context);
void AddAlignCommand(CLI::App& app, const CommandContext& context);
void AddRtServeCommand(CLI::App& app, const CommandContext& context);
void AddFollowCommand(CLI::App& app, const CommandContext& context);
void AddDeltaCommand(CLI::App& app, const CommandContext& context);
void AddPlotCommand(CLI::App& app, const CommandContext& context);
void AddTrackmapCommand(CLI::App& app, const CommandContext& context);
void AddAddInsCommand(CLI::App& app, const CommandContext& context);
void AddMathCommand(CLI::App& app, const CommandContext& context);
void AddExportCommand(CLI::App& app, const CommandContext& context);
void AddMediaCommand(CLI::App& app, const CommandContext& context);
void AddFrameCommand(CLI::App& app, const CommandContext& context);
void AddClipCommand(CLI::App& app, const CommandContext& context);
void AddPlayCommand(CLI::App& app, const CommandContext& context);
void AddWatchCommand(CLI::App& app, const CommandContext& context);
void AddToolsCommand(CLI::App& app, const CommandContext& context);

}  // namespace velmar::cli
