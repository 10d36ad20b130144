// The plug-in side of one tool: the plug-in's object, its commands in order
// (a command's position is its id) and what it reports back, turned into
// the calls of the native tool's callback.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "managed/plugin_seam.h"
#include "managed/tool_type_library.h"
#include "velmar/object_node.h"

namespace velmar::managed {

// How the plug-in side reports to the native tool, in slot order.
class CDotNetToolWrapperCallback {
 public:
  virtual void ClearNodes() = 0;
  virtual void OnToolChanged() = 0;
  virtual void BeginCommands() = 0;
  virtual void BeginSubCommands(const std::u16string& name) = 0;
  // `icon` is the command's 16 by 16 icon, or null.
  virtual void AddCommand(const std::u16string& name, const std::u16string* description, uint32_t group,
                          IKivPicture* icon, uint32_t id, uint32_t state) = 0;
  virtual void EndSubCommands() = 0;
  virtual void EndCommands() = 0;

 protected:
  ~CDotNetToolWrapperCallback() = default;
};

// Command state bits.
inline constexpr uint32_t kCommandDisabled = 1;
inline constexpr uint32_t kCommandChecked = 2;

class CDotNetToolWrapper final : private PluginToolListener {
 public:
  CDotNetToolWrapper(DotNetToolTypeLibrary& library, CDotNetToolWrapperCallback& callback)
      : library_(library), callback_(callback) {}
  ~CDotNetToolWrapper();
  CDotNetToolWrapper(const CDotNetToolWrapper&) = delete;
  CDotNetToolWrapper& operator=(const CDotNetToolWrapper&) = delete;

  // Makes the tool, from `state` when it persists and one is given. A
  // second call does nothing (and gives what the first gave).
  bool CreateTool(const std::u16string& typeName, const std::vector<uint8_t>* state, IKivUnknown* root);
  void RefreshCommands();
  // False for an id out of range, or a command that raised.
  bool ExecuteCommand(uint32_t id, int32_t window);
  // True if written.
  bool Save(std::vector<uint8_t>* bytes);
  bool SupportsPersistence() const { return persists_; }
  const std::u16string& GetName() const { return name_; }
  const std::u16string& typeName() const { return typeName_; }
  bool HasTool() const { return tool_ != nullptr; }
  // The saved state given to CreateTool didn't load (the root marks itself
  // dirty).
  bool StateRejected() const { return stateRejected_; }
  size_t CommandCount() const { return commands_.size(); }

  void SetBackColor(uint32_t colour);
  void SetForeColor(uint32_t colour);
  void SetGridColor(uint32_t colour);
  void SetFont(const PluginFont& font);

 private:
  void OnToolChanged() override;
  void OnCommandsChanged() override;
  void CleanUpCommands();
  void ProcessCommandGroups(const std::vector<PluginCommandGroup>& groups);
  template <class F>
  void Guarded(F&& f);

  DotNetToolTypeLibrary& library_;
  CDotNetToolWrapperCallback& callback_;
  std::unique_ptr<PluginTool> tool_;
  std::vector<PluginCommand> commands_;
  std::vector<ComPtr<IKivPicture>> icons_;  // those the commands' icons made
  std::u16string typeName_;
  std::u16string name_;
  bool created_ = false;
  bool createdOk_ = false;
  bool persists_ = false;
  bool stateRejected_ = false;
  bool refreshing_ = false;
  bool refreshAgain_ = false;
};

}  // namespace velmar::managed
