#include "managed/fake_backend.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace velmar::managed::fake {
namespace {

class FakeTool final : public PluginTool {
 public:
  explicit FakeTool(std::shared_ptr<FakeToolState> state) : state_(std::move(state)) {}
  std::vector<PluginCommandGroup> Commands() override {
    if (state_->raiseInCommands) throw PluginError("Commands raised");
    std::vector<PluginCommandGroup> groups = state_->groups;
    if (auto during = std::exchange(state_->duringCommands, nullptr)) during();
    return groups;
  }
  bool Save(std::vector<uint8_t>* bytes) override {
    *bytes = state_->saved;
    return true;
  }
  bool RequiresParentWindow() const override { return true; }
  void SetParentWindowHandle(int32_t window) override { state_->log.push_back("window " + std::to_string(window)); }
  bool HasAppearance() const override { return state_->appearance; }
  void SetBackColor(uint32_t colour) override { state_->backColor = colour; }
  void SetForeColor(uint32_t) override {}
  void SetGridColor(uint32_t) override {}
  void SetFont(const PluginFont& font) override { state_->font = font; }
  void Dispose() override { state_->disposed = true; }

 private:
  std::shared_ptr<FakeToolState> state_;
};

class FakeChannel final : public PluginChannel {
 public:
  explicit FakeChannel(FakeChannelData data) : data_(std::move(data)) {}
  void Listen(PluginDataListener* listener) override { *data_.listener = listener; }
  bool HasData() override { return Check(), true; }
  int64_t BlockCount() override { return static_cast<int64_t>(Check().blocks.size()); }
  PluginBlockInfo Block(int64_t index) override { return Check().blocks.at(static_cast<size_t>(index)).info; }
  int64_t IndexOfNearestBlock(KivTime time, bool first) override {
    const auto& blocks = Check().blocks;
    const auto n = static_cast<int64_t>(blocks.size());
    if (first) {
      for (int64_t k = 0; k < n; ++k)
        if (blocks[static_cast<size_t>(k)].info.end >= time) return k;
      return -1;
    }
    for (int64_t k = n - 1; k >= 0; --k)
      if (blocks[static_cast<size_t>(k)].info.start <= time) return k;
    return -1;
  }
  int64_t IndexOfNextTime(int64_t block, KivTime time) override {
    const auto& t = Times(block);
    const auto it = std::upper_bound(t.begin(), t.end(), time);
    return it == t.end() ? -1 : it - t.begin();
  }
  int64_t IndexOfPreviousTime(int64_t block, KivTime time) override {
    const auto& t = Times(block);
    return (std::lower_bound(t.begin(), t.end(), time) - t.begin()) - 1;
  }
  void CopyTimes(int64_t block, int64_t first, int64_t count, KivTime* out) override {
    std::copy_n(Times(block).begin() + first, count, out);
  }
  SharedValues BlockValues(int64_t, int64_t, int64_t) override { return {}; }
  void Values(const KivTime* times, int64_t count, double* out) override {
    Check();
    for (int64_t k = 0; k < count; ++k) out[k] = static_cast<double>(times[k]) / 10.0;
  }
  void ValuesAtPeriod(KivTime start, KivTime interval, int64_t count, double* out) override {
    Check();
    for (int64_t k = 0; k < count; ++k) out[k] = static_cast<double>(start + interval * k) / 10.0;
  }

 private:
  const std::vector<KivTime>& Times(int64_t block) const { return Check().blocks.at(static_cast<size_t>(block)).times; }
  const FakeChannelData& Check() const {
    if (data_.raise) throw PluginError("the channel raised");
    if (*data_.pendingOn) throw PluginPending("the input is pending", *data_.pendingOn);
    return data_;
  }
  FakeChannelData data_;
};

class FakeEventSet final : public PluginEventSet {
 public:
  explicit FakeEventSet(FakeEventSetData data) : data_(std::move(data)) {}
  void Listen(PluginDataListener*) override {}
  int64_t Count() override { return static_cast<int64_t>(data_.size()); }
  PluginEvent Event(int64_t index) override { return data_.at(static_cast<size_t>(index)); }

 private:
  FakeEventSetData data_;
};

class FakeFactory final : public PluginDataFactory {
 public:
  FakeFactory(FakeBackend& backend, const FakeType& type) : backend_(backend), type_(type) {}
  PluginFactoryKind Kind() const override {
    return type_.eventSets.empty() ? PluginFactoryKind::kChannels : PluginFactoryKind::kEvents;
  }
  std::vector<std::u16string> Keys() override {
    std::vector<std::u16string> keys;
    for (const auto& [key, channel] : type_.channels) keys.push_back(key);
    for (const auto& [key, set] : type_.eventSets) keys.push_back(key);
    return keys;
  }
  bool Contains(const std::u16string& name) override {
    return type_.channels.count(name) != 0 || type_.eventSets.count(name) != 0;
  }
  // One task of two selections.
  int32_t TaskCount() override { return 1; }
  int32_t SelectionCount(int32_t) override { return 2; }
  void SetDataSelection(int32_t task, int32_t selection) override { backend_.selection = {task, selection}; }
  void SetSelectionInputs(IKivUnknown* selection, IKivChannelFactory*) override {
    backend_.selectionsWithInputs.push_back(selection);
  }
  std::unique_ptr<PluginChannel> Channel(const std::u16string& name) override {
    return MakeFakeChannel(type_.channels.at(name));
  }
  std::unique_ptr<PluginEventSet> EventSet(const std::u16string& name) override {
    return std::make_unique<FakeEventSet>(type_.eventSets.at(name));
  }
  SharedPluginPicture Icon(const std::u16string& name) override {
    auto it = type_.icons.find(name);
    return it == type_.icons.end() ? nullptr : std::make_shared<PluginPicture>(it->second);
  }
  void Dispose() override {}

 private:
  FakeBackend& backend_;
  const FakeType& type_;
};

}  // namespace

PluginModuleInfo FakeBackend::LoadModule(const std::string& path) {
  const std::string name = std::filesystem::path(path).filename().string();
  loadOrder.push_back(name);
  auto it = modules.find(name);
  if (it == modules.end()) throw PluginError("no such module");
  return it->second;
}

std::unique_ptr<PluginTool> FakeBackend::CreateTool(const std::u16string& typeName, const std::vector<uint8_t>* state,
                                                    PluginToolListener* listener, IKivUnknown*) {
  const FakeType& type = types.at(typeName);
  if (type.raiseOnCreate) throw PluginError("the constructor raised");
  if (state && *state == type.badState) return nullptr;
  lastTool->listener = listener;
  if (state) lastTool->loaded = *state;
  return std::make_unique<FakeTool>(lastTool);
}

std::unique_ptr<PluginDataFactory> FakeBackend::CreateDataFactory(const std::u16string& typeName,
                                                                  PluginDataFactoryListener*, IKivUnknown*) {
  return std::make_unique<FakeFactory>(*this, types.at(typeName));
}

PluginCommand LoggedCommand(const std::shared_ptr<FakeToolState>& state, std::u16string name, bool enabled,
                            bool checked) {
  PluginCommand command;
  command.name = name;
  command.enabled = enabled;
  command.checked = checked;
  std::weak_ptr<FakeToolState> weak = state;
  std::string text(name.begin(), name.end());
  command.execute = [weak, text] {
    if (text == "Raise") throw PluginError("the command raised");
    if (auto s = weak.lock()) s->log.push_back(text);
  };
  return command;
}

std::unique_ptr<PluginChannel> MakeFakeChannel(FakeChannelData data) {
  return std::make_unique<FakeChannel>(std::move(data));
}

}  // namespace velmar::managed::fake
