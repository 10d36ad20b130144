#include "managed/tool_wrapper.h"

#include "managed/plugin_picture.h"

namespace velmar::managed {

CDotNetToolWrapper::~CDotNetToolWrapper() {
  if (tool_) Guarded([&] { tool_->Dispose(); });
  tool_.reset();
  commands_.clear();
}

// A plug-in that raises in a callback changes nothing and the host goes on.
template <class F>
void CDotNetToolWrapper::Guarded(F&& f) {
  try {
    f();
  } catch (const PluginError&) {
  }
}

bool CDotNetToolWrapper::CreateTool(const std::u16string& typeName, const std::vector<uint8_t>* state,
                                    IKivUnknown* root) {
  if (created_) return createdOk_;
  created_ = true;
  if (!library_.Has(typeName)) return false;
  PluginBackend& backend = library_.backend();
  try {
    if (!backend.IsDisposable(typeName) || !backend.IsTool(typeName)) return false;
    persists_ = backend.SupportsPersistence(typeName);
    const std::vector<uint8_t>* saved = persists_ ? state : nullptr;
    tool_ = backend.CreateTool(typeName, saved, this, root);
    // A saved state that doesn't load: the tool starts fresh.
    if (!tool_ && saved) {
      stateRejected_ = true;
      tool_ = backend.CreateTool(typeName, nullptr, this, root);
    }
  } catch (const PluginError&) {
    tool_.reset();
  }
  if (!tool_) return false;
  typeName_ = typeName;
  for (const ToolTypeDescription& d : library_.ToolTypeDescriptions()) {
    if (d.m_typeName == typeName) name_ = d.m_name;
  }
  createdOk_ = true;
  return true;
}

void CDotNetToolWrapper::CleanUpCommands() {
  commands_.clear();
  icons_.clear();
  callback_.ClearNodes();
}

// A change raised while the commands are being rebuilt runs the rebuild
// again once this one is done, so the ids handed out are the fresh ones.
void CDotNetToolWrapper::RefreshCommands() {
  if (!tool_) return;
  if (refreshing_) {
    refreshAgain_ = true;
    return;
  }
  refreshing_ = true;
  do {
    refreshAgain_ = false;
    CleanUpCommands();
    callback_.BeginCommands();
    Guarded([&] { ProcessCommandGroups(tool_->Commands()); });
    callback_.EndCommands();
  } while (refreshAgain_);
  refreshing_ = false;
}

void CDotNetToolWrapper::ProcessCommandGroups(const std::vector<PluginCommandGroup>& groups) {
  uint32_t group = 0;
  for (const PluginCommandGroup& g : groups) {
    ++group;
    for (const PluginCommand& command : g.commands) {
      const auto id = static_cast<uint32_t>(commands_.size());
      commands_.push_back(command);
      const uint32_t state = (command.enabled ? 0 : kCommandDisabled) | (command.checked ? kCommandChecked : 0);
      ComPtr<IKivPicture> icon = command.icon ? MakeIcon(*command.icon) : nullptr;
      if (icon) icons_.push_back(icon);
      callback_.AddCommand(command.name, command.description ? &*command.description : nullptr, group, icon.Get(),
                           id, state);
    }
    for (const PluginSubCommands& sub : g.subCommands) {
      callback_.BeginSubCommands(sub.name);
      ProcessCommandGroups(sub.groups);
      callback_.EndSubCommands();
    }
  }
}

bool CDotNetToolWrapper::ExecuteCommand(uint32_t id, int32_t window) {
  if (!tool_ || id >= commands_.size()) return false;
  // The command may rebuild the list it sits in: run a copy.
  const std::function<void()> execute = commands_[id].execute;
  try {
    if (tool_->RequiresParentWindow()) tool_->SetParentWindowHandle(window);
    if (execute) execute();
  } catch (const PluginError&) {
    return false;
  }
  return true;
}

bool CDotNetToolWrapper::Save(std::vector<uint8_t>* bytes) {
  if (!tool_ || !persists_) return false;
  try {
    return tool_->Save(bytes);
  } catch (const PluginError&) {
    return false;
  }
}

void CDotNetToolWrapper::SetBackColor(uint32_t colour) {
  if (tool_ && tool_->HasAppearance()) Guarded([&] { tool_->SetBackColor(colour); });
}
void CDotNetToolWrapper::SetForeColor(uint32_t colour) {
  if (tool_ && tool_->HasAppearance()) Guarded([&] { tool_->SetForeColor(colour); });
}
void CDotNetToolWrapper::SetGridColor(uint32_t colour) {
  if (tool_ && tool_->HasAppearance()) Guarded([&] { tool_->SetGridColor(colour); });
}
void CDotNetToolWrapper::SetFont(const PluginFont& font) {
  if (tool_ && tool_->HasAppearance()) Guarded([&] { tool_->SetFont(font); });
}

void CDotNetToolWrapper::OnToolChanged() { callback_.OnToolChanged(); }

void CDotNetToolWrapper::OnCommandsChanged() { RefreshCommands(); }

}  // namespace velmar::managed
