// velmar settings FILE.kvs show [--json]: what a settings file holds.
// velmar settings FILE.kvs import-properties FILE.trn: the display properties
// a .trn stores, copied into the file's property databases.
#include <iostream>

#include "commands.h"
#include "host_error.h"
#include "host_session.h"
#include "loaded_outing.h"
#include "output.h"
#include "settings_report.h"

namespace velmar::cli {
namespace {

struct SettingsOptions {
  std::string file;
  std::string trn;
  bool json = false;
};

void Show(const SettingsOptions& options, const CommandContext& context) {
  std::error_code error;
  if (!std::filesystem::exists(options.file, error)) Fail(options.file, "no such file");
  HostSession session(context.timeout(), context.progress(), options.file);
  const Json report = SettingsReport(session);
  if (options.json) return WriteJson(std::cout, report);
  WriteSettingsText(std::cout, report);
}

void ImportProperties(const SettingsOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), options.file);
  ComPtr<IKivOuting> outing = session.Open(options.trn);
  ImportOutingProperties(session, outing.Get(), options.trn);
  outing = nullptr;
  session.settings()->Save();
}

}  // namespace

void AddSettingsCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<SettingsOptions>();
  CLI::App* command = app.add_subcommand("settings", "What a settings file holds, or properties imported into it");
  command->add_option("file", options->file, "Settings file (.kvs)")->required();
  command->require_subcommand(1);
  CLI::App* show = command->add_subcommand("show", "Version, tasks, priorities, favourites, palette, channels, keys");
  show->add_flag("--json", options->json, "One JSON document");
  show->callback([options, &context] { Show(*options, context); });
  CLI::App* import = command->add_subcommand("import-properties", "Copy a .trn's channel and event properties in");
  import->add_option("trn", options->trn, "A .trn data set")->required();
  import->callback([options, &context] { ImportProperties(*options, context); });
}

}  // namespace velmar::cli
