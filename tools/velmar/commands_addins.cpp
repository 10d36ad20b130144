// velmar addins [--settings FILE.kvs] list|enable ID|disable ID|up ID|down ID:
// the add-in manager without a window. The root's "&Add-in Manager..."
// command runs as a host's dialog would, with this command's action as the
// user's clicks; a change is left by OK (and saved into the settings file
// when one is named), a list by Cancel. ID is a class identity or a name.
#include <iostream>
#include <memory>

#include "addin_modules.h"
#include "commands.h"
#include "host_error.h"
#include "host_session.h"
#include "velmar/addin_manager.h"
#include "velmar/object_node.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

struct AddInsOptions {
  std::string action = "list";
  std::string id;
  std::string settings;
};

int32_t FindRow(const KivAddInManager& model, const std::string& id) {
  const std::u16string wide = Utf8ToWide(id);
  if (int32_t row = model.Find(wide); row >= 0) return row;
  for (size_t i = 0; i < model.Rows().size(); ++i) {
    if (ToLowerWide(model.Rows()[i].display_name) == ToLowerWide(wide)) return static_cast<int32_t>(i);
  }
  Fail(id, "no such add-in");
}

// The user's clicks for the action; false when nothing is to change.
bool Act(KivAddInManager& model, const AddInsOptions& options) {
  if (options.action == "list") return false;
  const int32_t row = FindRow(model, options.id);
  const bool checked = model.Rows()[row].checked;
  if (options.action == "enable") return checked ? false : model.Toggle(row);
  if (options.action == "disable") return checked ? model.Toggle(row) : false;
  (void)model.Select(row);
  return options.action == "up" ? model.MoveUp() : model.MoveDown();
}

void PrintRows(const KivAddInManager& model) {
  for (const KivAddInRow& row : model.Rows()) {
    const std::string id = row.kind == 0 ? row.clsid.ToString() : WideToUtf8(row.type_name);
    std::cout << (row.checked ? "[x] " : "[ ] ") << WideToUtf8(row.display_name) << "  " << id << '\n';
  }
}

void InvokeManager(IKivVelmar* root) {
  auto node = QueryAs<IKivObjectNode>(root);
  if (!node) Fail("addins", "the root has no node");
  if (KivResult r = node->InvokeCommand(kKivAddInManagerCommand, 0, 0); Failed(r))
    Fail("addins", "the add-in manager failed", r);
}

void Run(const AddInsOptions& options, const CommandContext& context) {
  const std::string settings = options.settings.empty() ? context.settingsFile : options.settings;
  // The add-ins that ship with the library join the table before the list is read.
  if (KivResult r = LoadMathAddIn(); Failed(r)) std::cerr << "velmar: the math channels add-in did not load\n";
  HostSession session(context.timeout(), context.progress(), settings);
  bool changed = false;
  KivSetAddInManagerDialog([&](KivAddInManager& model, int32_t) { return changed = Act(model, options); });
  InvokeManager(session.root());
  KivSetAddInManagerDialog([](KivAddInManager& model, int32_t) {
    PrintRows(model);
    return false;
  });
  InvokeManager(session.root());
  KivSetAddInManagerDialog(nullptr);
  if (changed && session.settings()) session.settings()->Save();
}

}  // namespace

void AddAddInsCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<AddInsOptions>();
  CLI::App* command = app.add_subcommand("addins", "The data factory add-ins: list, switch on and off, order");
  command->add_option("--settings", options->settings, "Settings file (.kvs) that keeps the choice");
  command->add_option("action", options->action, "list, enable, disable, up or down")
      ->check(CLI::IsMember({"list", "enable", "disable", "up", "down"}));
  command->add_option("id", options->id, "The add-in's class identity or name");
  command->callback([options, &context] {
    if (options->action != "list" && options->id.empty()) Fail("addins", options->action + " needs an add-in");
    Run(*options, context);
  });
}

}  // namespace velmar::cli
