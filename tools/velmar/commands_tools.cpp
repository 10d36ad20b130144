// velmar tools list [--json]: the plug-in tools and data factories of the
// "Tools" folder (--tools DIR, else $KIVARA_TOOLS, else the registry's).
// velmar tools run TOOL COMMAND [--file FILE...]: runs a command of a tool,
// with the files opened as selections of the session's task. TOOL is a type
// name or display name, COMMAND a label (with or without its "&") or an id.
#include <iostream>
#include <memory>

#include "commands.h"
#include "host_error.h"
#include "host_session.h"
#include "loaded_outing.h"
#include "output.h"
#include "velmar/plugin_tools.h"
#include "velmar/text.h"

namespace velmar::cli {
namespace {

struct ToolsOptions {
  bool json = false;
  std::string tool;
  std::string command;
  std::vector<std::string> files;
};

const char* KindName(uint32_t kind) {
  switch (kind) {
    case kKivPluginTool:
      return "tool";
    case kKivPluginChannelFactory:
      return "channels";
    case kKivPluginEventsFactory:
      return "events";
    default:
      return "other";
  }
}

std::vector<KivPluginType> FindTypes() {
  std::vector<KivPluginType> types;
  if (KivResult r = KivFindPluginTypes(&types); Failed(r)) Fail("tools", "the Python interpreter could not start", r);
  return types;
}

void List(const ToolsOptions& options) {
  const std::vector<KivPluginType> types = FindTypes();
  if (options.json) {
    Json list = Json::array();
    for (const auto& t : types) {
      list.push_back(Json{{"name", Utf8(t.name)}, {"type", Utf8(t.type_name)}, {"kind", KindName(t.kind)}});
    }
    WriteJson(std::cout, Json{{"tools", list}});
    return;
  }
  WriteTsvRow(std::cout, {"name", "type", "kind"});
  for (const auto& t : types) WriteTsvRow(std::cout, {Utf8(t.name), Utf8(t.type_name), KindName(t.kind)});
}

std::u16string TypeNameOf(const std::string& tool) {
  const std::u16string wide = Utf8ToWide(tool);
  for (const auto& t : FindTypes()) {
    if (t.kind == kKivPluginTool && (t.type_name == wide || t.name == wide)) return t.type_name;
  }
  Fail("tools", "no plug-in tool \"" + tool + "\"");
}

std::u16string WithoutAccessKeys(std::u16string label) {
  std::erase(label, u'&');
  return label;
}

// Every command of the node and of its sub-menus, depth first.
void CollectCommands(IKivObjectNode* node, std::vector<std::pair<ComPtr<IKivObjectNode>, ComPtr<IKivObjectNodeCommand>>>* out) {
  ObjectNodeCommands commands;
  if (Succeeded(node->GetCommands(&commands))) {
    for (auto& c : commands) out->emplace_back(ComPtr<IKivObjectNode>(node), c);
  }
  ComPtr<IKivObjectNodes> children;
  int32_t count = 0;
  if (Failed(node->GetChildren(children.Put())) || Failed(children->GetCount(&count))) return;
  for (int32_t i = 1; i <= count; ++i) {
    ComPtr<IKivObjectNode> child;
    if (Succeeded(children->GetItem(i, child.Put()))) CollectCommands(child.Get(), out);
  }
}

void Run(const ToolsOptions& options, const CommandContext& context) {
  HostSession session(context.timeout(), context.progress(), context.settingsFile);
  std::vector<std::unique_ptr<LoadedOuting>> outings;
  for (const std::string& file : options.files) outings.push_back(std::make_unique<LoadedOuting>(session, file));
  ComPtr<IKivObjectNode> tool;
  if (KivResult r = KivCreatePluginTool(TypeNameOf(options.tool), session.root(), tool.Put()); Failed(r))
    Fail(options.tool, "the plug-in tool could not be made", r);
  std::vector<std::pair<ComPtr<IKivObjectNode>, ComPtr<IKivObjectNodeCommand>>> commands;
  CollectCommands(tool.Get(), &commands);
  const std::u16string wanted = WithoutAccessKeys(Utf8ToWide(options.command));
  for (auto& [node, command] : commands) {
    std::u16string label;
    uint32_t id = 0;
    (void)command->GetLabel(&label);
    (void)command->GetId(&id);
    if (WithoutAccessKeys(label) != wanted && std::to_string(id) != options.command) continue;
    std::cout.flush();
    if (KivResult r = node->InvokeCommand(id, 0, 0); Failed(r)) Fail(options.command, "the command failed", r);
    return;
  }
  Fail(options.tool, "no command \"" + options.command + "\"");
}

}  // namespace

void AddToolsCommand(CLI::App& app, const CommandContext& context) {
  auto options = std::make_shared<ToolsOptions>();
  CLI::App* tools = app.add_subcommand("tools", "Python plug-ins: list them, run a tool's command");
  tools->require_subcommand(1);
  CLI::App* list = tools->add_subcommand("list", "The plug-in tools and data factories found");
  list->add_flag("--json", options->json, "Write JSON instead of tab-separated lines");
  list->callback([options] { List(*options); });
  CLI::App* run = tools->add_subcommand("run", "Run a command of a plug-in tool");
  run->add_option("TOOL", options->tool, "Type name or display name")->required();
  run->add_option("COMMAND", options->command, "Command label or id")->required();
  run->add_option("--file", options->files, "Data sets opened in the task first");
  run->callback([options, &context] { Run(*options, context); });
}

}  // namespace velmar::cli
