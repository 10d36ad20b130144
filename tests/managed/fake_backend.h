// An in-process plug-in backend: modules, tools and channels described in
// C++ by the test, with switches to make each operation raise.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "managed/plugin_seam.h"

namespace velmar::managed::fake {

struct FakeToolState {
  std::vector<PluginCommandGroup> groups;
  std::vector<std::string> log;  // what ran, in order
  PluginToolListener* listener = nullptr;
  bool raiseInCommands = false;
  std::function<void()> duringCommands;  // run once, inside Commands
  bool appearance = false;
  uint32_t backColor = 0;
  PluginFont font;
  bool disposed = false;
  std::vector<uint8_t> saved;  // what Save writes
  std::vector<uint8_t> loaded;  // what the tool was made from
};

struct FakeBlock {
  PluginBlockInfo info;
  std::vector<KivTime> times;  // aperiodic
};

struct FakeChannelData {
  std::vector<FakeBlock> blocks;
  bool raise = false;
  // Who the channel reports to, shared with the test.
  std::shared_ptr<PluginDataListener*> listener = std::make_shared<PluginDataListener*>(nullptr);
  // While it holds an item, reading raises PluginPending waiting for it.
  std::shared_ptr<ComPtr<IKivUnknown>> pendingOn = std::make_shared<ComPtr<IKivUnknown>>();
};

using FakeEventSetData = std::vector<PluginEvent>;

struct FakeType {
  bool tool = true;
  bool disposable = true;
  bool persists = false;
  bool raiseOnCreate = false;
  // Saved states that "don't load".
  std::vector<uint8_t> badState;
  // Data factory: key -> channel.
  std::map<std::u16string, FakeChannelData> channels;
  // An events factory when set: key -> event set.
  std::map<std::u16string, FakeEventSetData> eventSets;
  std::map<std::u16string, PluginPicture> icons;
};

class FakeBackend final : public PluginBackend {
 public:
  // The module a path loads as (matched by file name); a missing one raises.
  std::map<std::string, PluginModuleInfo> modules;
  std::map<std::u16string, FakeType> types;
  std::vector<std::string> loadOrder;  // file names, in load order
  // The last tool made, and the selection the last factory was pointed at.
  std::shared_ptr<FakeToolState> lastTool = std::make_shared<FakeToolState>();
  std::pair<int32_t, int32_t> selection{0, 0};
  // The selections factories were pointed at through their inputs.
  std::vector<IKivUnknown*> selectionsWithInputs;

  PluginModuleInfo LoadModule(const std::string& path) override;
  bool IsDisposable(const std::u16string& t) override { return types.at(t).disposable; }
  bool SupportsPersistence(const std::u16string& t) override { return types.at(t).persists; }
  bool IsTool(const std::u16string& t) override { return types.at(t).tool; }
  bool IsDataFactory(const std::u16string& t) override { return !types.at(t).tool; }
  bool IsEventsFactory(const std::u16string& t) override { return !types.at(t).eventSets.empty(); }
  std::unique_ptr<PluginTool> CreateTool(const std::u16string& typeName, const std::vector<uint8_t>* state,
                                         PluginToolListener* listener, IKivUnknown* root) override;
  std::unique_ptr<PluginDataFactory> CreateDataFactory(const std::u16string& typeName,
                                                       PluginDataFactoryListener* listener,
                                                       IKivUnknown* root) override;
};

// A command that logs its name into the tool's log when run.
PluginCommand LoggedCommand(const std::shared_ptr<FakeToolState>& state, std::u16string name, bool enabled = true,
                            bool checked = false);

// A channel whose value at t is t / 10, over the given blocks.
std::unique_ptr<PluginChannel> MakeFakeChannel(FakeChannelData data);

}  // namespace velmar::managed::fake
