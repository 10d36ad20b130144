// The plug-in logic over the in-process fake backend: finding types,
// tools and their commands, saved states, channels and their blocks, event
// sets and their records.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <tuple>

#include "managed/block_clipping.h"
#include "managed/dotnet_data_factory.h"
#include "managed/dotnet_tool.h"
#include "managed/fake_backend.h"
#include "managed/plugin_picture.h"
#include "outing/blocks/data_block.h"
#include "velmar/channel.h"
#include "support/data_listener.h"
#include "support/fixtures.h"
#include "support/managed_channel_reads.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"
#include "velmar/events.h"
#include "velmar/registry.h"
#include "velmar/text.h"

namespace velmar::managed {
namespace {

using fake::FakeBackend;
using fake::LoggedCommand;
using testing::ScopedEnv;
using testing::TempDir;

PluginModuleInfo Module(std::vector<PluginTypeInfo> types, bool marker = true) { return {marker, std::move(types)}; }

void Touch(const std::filesystem::path& path) { std::ofstream(path) << "#"; }

// A "Tools" folder of empty files and a library over the fake backend.
struct ToolsFolder {
  TempDir dir;
  ScopedEnv env{"KIVARA_TOOLS", dir.path().string()};
  FakeBackend backend;
  DotNetToolTypeLibrary library{backend};
  std::vector<std::u16string> TypeNames() {
    std::vector<std::u16string> names;
    for (const auto& d : library.ToolTypeDescriptions()) names.push_back(d.m_typeName);
    return names;
  }
};

TEST(ToolTypeLibraryTest, ModulesLoadInByteOrderAndFollowTheMarkerRules) {
  ToolsFolder tools;
  for (const char* name : {"b.py", "a.py", "B.py", "c.txt", "bad.py", "nomarker.py"}) Touch(tools.dir / name);
  std::filesystem::create_directories(tools.dir / "sub");
  Touch(tools.dir / "sub" / "deep.py");
  tools.backend.modules["a.py"] = Module({{u"T.Lap", u"Laps", 1}, {u"T.Twice", u"Twice", 2}, {u"T.None", u"", 0}});
  tools.backend.modules["b.py"] = Module({{u"T.Lap", u"Other laps", 1}, {u"T.Gear", u"Gears", 1}});
  tools.backend.modules["B.py"] = Module({{u"T.Upper", u"Upper", 1}});
  tools.backend.modules["nomarker.py"] = Module({{u"T.Hidden", u"Hidden", 1}}, false);

  EXPECT_EQ(tools.TypeNames(), (std::vector<std::u16string>{u"T.Upper", u"T.Lap", u"T.Gear"}));
  EXPECT_EQ(tools.backend.loadOrder, (std::vector<std::string>{"B.py", "a.py", "b.py", "bad.py", "nomarker.py"}));
  EXPECT_EQ(tools.library.ToolTypeDescriptions()[1].m_name, u"Laps");  // the first module wins
  tools.library.ToolTypeDescriptions();
  EXPECT_EQ(tools.backend.loadOrder.size(), 5u) << "found once until marked dirty";
}

TEST(ToolTypeLibraryTest, FolderComesFromTheEnvironmentElseTheMachineInstallDir) {
  TempDir dir;
  ScopedEnv machine("VELMAR_REGISTRY_MACHINE", (dir / "machine.json").string());
  ScopedEnv env("KIVARA_TOOLS", std::nullopt);
  EXPECT_FALSE(DotNetToolTypeLibrary::ToolsFolder());
  FakeBackend backend;
  DotNetToolTypeLibrary library(backend);
  EXPECT_TRUE(library.ToolTypeDescriptions().empty());

  RegistryKey key;
  ASSERT_EQ(RegistryKey::Create(RegHive::kLocalMachine, u"SOFTWARE\\Halvane\\Kivara", &key), S_OK);
  ASSERT_EQ(key.SetString(u"InstallDir", dir.path().u16string()), S_OK);
  EXPECT_FALSE(DotNetToolTypeLibrary::ToolsFolder()) << "no Tools folder below it yet";
  std::filesystem::create_directories(dir / "Tools");
  EXPECT_EQ(DotNetToolTypeLibrary::ToolsFolder(), (dir / "Tools").string());
}

using C = std::tuple<uint32_t, uint32_t, uint32_t, std::u16string>;

// A tool type "T.Tool" with two groups and a sub-menu.
struct ToolFixture : ::testing::Test {
  ToolsFolder tools;
  std::shared_ptr<fake::FakeToolState> state = tools.backend.lastTool;
  ComPtr<CDotNetTool> tool;

  void SetUp() override {
    Touch(tools.dir / "tool.py");
    tools.backend.modules["tool.py"] = Module({{u"T.Tool", u"Lap tool", 1}});
    tools.backend.types[u"T.Tool"] = fake::FakeType{};
    PluginCommandGroup first{{LoggedCommand(state, u"&Fastest"), LoggedCommand(state, u"Off", false)}, {}};
    PluginSubCommands more{u"More", {PluginCommandGroup{{LoggedCommand(state, u"Raise", true, true)}, {}}}};
    PluginCommandGroup second{{LoggedCommand(state, u"Slowest")}, {more}};
    state->groups = {first, second};
    tool = MakeKiv<CDotNetTool>(tools.library, nullptr);
  }

  // Each command as {id, group, state, label}.
  std::vector<C> Commands(IKivObjectNode* node) {
    ObjectNodeCommands commands;
    EXPECT_EQ(node->GetCommands(&commands), S_OK);
    std::vector<C> out;
    for (const auto& c : commands) {
      uint32_t id = 0, group = 0, state = 0;
      std::u16string label;
      (void)c->GetId(&id), (void)c->GetGroup(&group), (void)c->GetState(&state), (void)c->GetLabel(&label);
      out.emplace_back(id, group, state, label);
    }
    return out;
  }
  ComPtr<IKivObjectNode> SubNode() {
    ComPtr<IKivObjectNodes> children;
    ComPtr<IKivObjectNode> child;
    EXPECT_EQ(tool->GetChildren(children.Put()), S_OK);
    EXPECT_EQ(children->GetItem(1, child.Put()), S_OK);
    return child;
  }
};

TEST_F(ToolFixture, CommandsAreNumberedInOrderWithGroupsFromOneAndSubMenusAsNodes) {
  ASSERT_TRUE(tool->Create(u"T.Tool", nullptr, nullptr));
  std::u16string name;
  ASSERT_EQ(tool->GetName(&name), S_OK);
  EXPECT_EQ(name, u"Lap tool");
  EXPECT_EQ(Commands(tool.Get()), (std::vector<C>{C{0, 1, 0, u"&Fastest"}, C{1, 1, kCommandDisabled, u"Off"},
                                                  C{2, 2, 0, u"Slowest"}}));
  ComPtr<IKivObjectNode> more = SubNode();
  ASSERT_EQ(more->GetName(&name), S_OK);
  EXPECT_EQ(name, u"More");
  EXPECT_EQ(Commands(more.Get()), (std::vector<C>{C{3, 1, kCommandChecked, u"Raise"}}));
}

TEST_F(ToolFixture, InvokingRunsTheCommandWithTheWindowAndReportsFaults) {
  ASSERT_TRUE(tool->Create(u"T.Tool", nullptr, nullptr));
  EXPECT_EQ(tool->InvokeCommand(0, 1, 77), S_OK);
  EXPECT_EQ(state->log, (std::vector<std::string>{"window 77", "&Fastest"}));
  EXPECT_EQ(tool->InvokeCommand(1, 0, 0), KIV_E_COMMAND_DISABLED);
  EXPECT_EQ(tool->InvokeCommand(2, 2, 0), KIV_E_BAD_COMMAND_ARG);
  EXPECT_EQ(tool->InvokeCommand(9, 0, 0), KIV_E_NO_SUCH_COMMAND);
  EXPECT_EQ(SubNode()->InvokeCommand(3, 0, 0), E_FAIL) << "the plug-in raised";
  EXPECT_EQ(state->log.size(), 3u) << "the disabled and bad commands never ran";
  EXPECT_FALSE(tool->wrapper().ExecuteCommand(4, 0));
}

TEST_F(ToolFixture, ChangesRebuildTheCommandsWithFreshIdsEvenDuringARebuild) {
  ASSERT_TRUE(tool->Create(u"T.Tool", nullptr, nullptr));
  state->groups.erase(state->groups.begin());
  state->listener->OnCommandsChanged();
  EXPECT_EQ(Commands(tool.Get()), (std::vector<C>{C{0, 1, 0, u"Slowest"}}));

  // A plug-in that changes its commands while they are walked: the walk
  // runs again and the ids are the new list's.
  state->duringCommands = [this] {
    state->groups[0].commands.insert(state->groups[0].commands.begin(), LoggedCommand(state, u"First"));
    state->listener->OnCommandsChanged();
  };
  state->listener->OnCommandsChanged();
  EXPECT_EQ(Commands(tool.Get()), (std::vector<C>{C{0, 1, 0, u"First"}, C{1, 1, 0, u"Slowest"}}));
  EXPECT_EQ(tool->InvokeCommand(0, 0, 0), S_OK);
  EXPECT_EQ(state->log.back(), "First");

  state->raiseInCommands = true;
  state->listener->OnCommandsChanged();
  EXPECT_TRUE(Commands(tool.Get()).empty()) << "a plug-in raising in Commands leaves no commands";
}

TEST_F(ToolFixture, StateIsReadOnlyForPersistingToolsAndABadStateStartsFresh) {
  const std::vector<uint8_t> saved{1, 2, 3};
  ASSERT_TRUE(tool->Create(u"T.Tool", &saved, nullptr));
  EXPECT_TRUE(state->loaded.empty()) << "a tool that doesn't persist ignores the state";
  std::vector<uint8_t> out;
  EXPECT_FALSE(tool->wrapper().Save(&out));

  tools.backend.types[u"T.Tool"].persists = true;
  tools.backend.types[u"T.Tool"].badState = {9};
  auto persisting = MakeKiv<CDotNetTool>(tools.library, nullptr);
  ASSERT_TRUE(persisting->Create(u"T.Tool", &saved, nullptr));
  EXPECT_EQ(state->loaded, saved);
  state->saved = {4, 5};
  EXPECT_TRUE(persisting->wrapper().Save(&out));
  EXPECT_EQ(out, state->saved);

  const std::vector<uint8_t> bad{9};
  auto fresh = MakeKiv<CDotNetTool>(tools.library, nullptr);
  ASSERT_TRUE(fresh->Create(u"T.Tool", &bad, nullptr));
  EXPECT_TRUE(fresh->wrapper().StateRejected());
}

struct DirtyLog final : CDotNetToolParentDirtyCallback {
  std::vector<std::u16string> dirty;
  void OnToolDirty(const std::u16string& typeName) override { dirty.push_back(typeName); }
};

TEST_F(ToolFixture, AToolChangeTellsTheParentOnlyWhenTheToolPersists) {
  DirtyLog parent;
  auto plain = MakeKiv<CDotNetTool>(tools.library, &parent);
  ASSERT_TRUE(plain->Create(u"T.Tool", nullptr, nullptr));
  state->listener->OnToolChanged();
  EXPECT_TRUE(parent.dirty.empty());
  tools.backend.types[u"T.Tool"].persists = true;
  auto persisting = MakeKiv<CDotNetTool>(tools.library, &parent);
  ASSERT_TRUE(persisting->Create(u"T.Tool", nullptr, nullptr));
  state->listener->OnToolChanged();
  EXPECT_EQ(parent.dirty, std::vector<std::u16string>{u"T.Tool"});
}

TEST_F(ToolFixture, TypesThatCannotBeMadeGiveNoTool) {
  EXPECT_FALSE(tool->Create(u"T.Missing", nullptr, nullptr));
  EXPECT_TRUE(tool->Create(u"T.Missing", nullptr, nullptr) == false) << "a second call does nothing";
  for (auto breakIt : {+[](fake::FakeType& t) { t.disposable = false; }, +[](fake::FakeType& t) { t.tool = false; },
                       +[](fake::FakeType& t) { t.raiseOnCreate = true; }}) {
    fake::FakeType type;
    breakIt(type);
    tools.backend.types[u"T.Tool"] = type;
    EXPECT_FALSE(MakeKiv<CDotNetTool>(tools.library, nullptr)->Create(u"T.Tool", nullptr, nullptr));
  }
}

TEST_F(ToolFixture, AppearanceReachesOnlyToolsThatHaveIt) {
  ASSERT_TRUE(tool->Create(u"T.Tool", nullptr, nullptr));
  tool->wrapper().SetBackColor(0xff0000);
  EXPECT_EQ(state->backColor, 0u);
  state->appearance = true;
  tool->wrapper().SetBackColor(0xff0000);
  EXPECT_EQ(state->backColor, 0xff0000u);
  tool = nullptr;
  EXPECT_TRUE(state->disposed);
}

fake::FakeChannelData ChannelOf(const nlohmann::json& blocks) {
  fake::FakeChannelData data;
  for (const auto& b : blocks) {
    fake::FakeBlock block;
    block.info.periodic = b.at("periodic");
    block.info.join = b.value("join", false);
    if (block.info.periodic) {
      block.info.start = b.at("start");
      block.info.interval = b.at("interval");
      block.info.count = b.at("count");
      block.info.end = block.info.start + block.info.interval * (block.info.count - 1);
    } else {
      block.times = b.at("times").get<std::vector<KivTime>>();
      block.info.start = block.times.front();
      block.info.end = block.times.back();
      block.info.count = static_cast<int64_t>(block.times.size());
    }
    data.blocks.push_back(std::move(block));
  }
  return data;
}

class ClippingCases : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(ClippingCases, BlocksBetweenTimes) {
  const nlohmann::json c = testing::ReadFixture(GetParam());
  auto channel = fake::MakeFakeChannel(ChannelOf(c.at("blocks")));
  nlohmann::json got = nlohmann::json::array();
  const auto blocks = GetDataBlocksBetweenTimes(*channel, testing::FixtureTime(c["t0"]), testing::FixtureTime(c["t1"]));
  for (const auto& b : blocks) {
    got.push_back({{"start", b.start}, {"end", b.end}, {"count", b.count}, {"join", b.join}});
    if (b.interval) got.back()["interval"] = b.interval;
    if (!b.times.empty()) got.back()["times"] = b.times;
  }
  EXPECT_EQ(got, c.at("expect"));
}

INSTANTIATE_TEST_SUITE_P(Cases, ClippingCases, testing::FixtureCases("managed/clipping"), testing::FixtureName);

// A data factory type "T.Accel" offering one channel of two blocks.
struct FactoryFixture : ::testing::Test {
  ToolsFolder tools;
  void SetUp() override {
    Touch(tools.dir / "f.py");
    tools.backend.modules["f.py"] = Module({{u"T.Accel", u"Acceleration", 1}});
    fake::FakeType type;
    type.tool = false;
    nlohmann::json blocks = nlohmann::json::parse(
        R"([{"periodic": true, "start": 0, "interval": 10, "count": 4}, {"periodic": false, "times": [100, 105]}])");
    type.channels[u"[LongAccel]LongAccel"] = ChannelOf(blocks);
    type.channels[u"Broken"] = ChannelOf(blocks);
    type.channels[u"Broken"].raise = true;
    tools.backend.types[u"T.Accel"] = type;
  }
};

TEST_F(FactoryFixture, ChannelsReadEveryBlockWithTheirValues) {
  auto factory = CDotNetChannelFactory::Create(tools.library, u"T.Accel", nullptr);
  ASSERT_TRUE(factory);
  NameList names;
  ASSERT_EQ(factory->GetNames(&names), S_OK);
  EXPECT_EQ(names, (NameList{u"Broken", u"[LongAccel]LongAccel"}));
  ComPtr<IKivChannel> channel;
  ComPtr<IKivChannelIterator2> iterator;
  EXPECT_EQ(factory->GetItem(u"Missing", channel.Put()), E_INVALIDARG);
  ASSERT_EQ(factory->GetItem(u"[LongAccel]LongAccel", channel.Put()), S_OK);
  // The fake's value at t is t / 10.
  EXPECT_EQ(testing::ReadBlocks(channel.Get()),
            (std::vector<testing::BlockRead>{{{0, 10, 20, 30}, {0, 1, 2, 3}}, {{100, 105}, {10, 10.5}}}));
  uint32_t status = 0;
  ASSERT_EQ(channel->GetStatus(&status), S_OK);
  EXPECT_EQ(status, static_cast<uint32_t>(DataStatus::kAvailable));

  ComPtr<IKivChannel> broken;
  ASSERT_EQ(factory->GetItem(u"Broken", broken.Put()), S_OK);
  EXPECT_EQ(broken->GetIterator(iterator.Put()), E_FAIL);
  ASSERT_EQ(broken->GetStatus(&status), S_OK);
  EXPECT_EQ(status, static_cast<uint32_t>(DataStatus::kNotAvailable));
}

TEST_F(FactoryFixture, ThePluginsReportsReachTheChannelsClientsUntilItGoes) {
  auto factory = CDotNetChannelFactory::Create(tools.library, u"T.Accel", nullptr);
  ComPtr<IKivChannel> channel;
  ASSERT_EQ(factory->GetItem(u"[LongAccel]LongAccel", channel.Put()), S_OK);
  const auto slot = tools.backend.types[u"T.Accel"].channels[u"[LongAccel]LongAccel"].listener;
  ASSERT_TRUE(*slot);
  std::vector<std::string> heard;
  testing::CDataListener listener(&heard);
  ASSERT_TRUE(listener.Connect(channel.Get(), false));
  uint32_t status = 0;
  (*slot)->OnDataChanged(10, 20);
  (*slot)->OnAvailabilityChanged();
  ASSERT_EQ(channel->GetStatus(&status), S_OK);
  EXPECT_EQ(status, static_cast<uint32_t>(DataStatus::kAvailable)) << "read again";
  (*slot)->OnTerminating();
  ASSERT_EQ(channel->GetStatus(&status), S_OK);
  EXPECT_EQ(status, static_cast<uint32_t>(DataStatus::kNotAvailable));
  const std::string all = "changed:" + std::to_string(kTimeMin) + ":" + std::to_string(kTimeMax);
  EXPECT_EQ(heard, (std::vector<std::string>{"changed:10:20", all, "removed"}));
  listener.Disconnect();
  channel = nullptr;
  EXPECT_EQ(*slot, nullptr) << "a channel that went hears nothing more";
}

TEST_F(FactoryFixture, AChannelPendingOnAnInputReadsAgainWhenTheInputChanges) {
  auto& channels = tools.backend.types[u"T.Accel"].channels;
  fake::FakeChannelData waiting = channels[u"[LongAccel]LongAccel"];
  waiting.listener = std::make_shared<PluginDataListener*>(nullptr);
  waiting.pendingOn = std::make_shared<ComPtr<IKivUnknown>>();
  channels[u"Waiting"] = waiting;
  auto factory = CDotNetChannelFactory::Create(tools.library, u"T.Accel", nullptr);
  ComPtr<IKivChannel> input, channel;
  ComPtr<IKivChannelIterator2> iterator;
  ASSERT_EQ(factory->GetItem(u"[LongAccel]LongAccel", input.Put()), S_OK);
  ASSERT_EQ(factory->GetItem(u"Waiting", channel.Put()), S_OK);
  *waiting.pendingOn = input;
  std::vector<std::string> heard;
  testing::CDataListener listener(&heard);
  ASSERT_TRUE(listener.Connect(channel.Get(), false));
  EXPECT_EQ(channel->GetIterator(iterator.Put()), KIV_E_PENDING);
  *waiting.pendingOn = nullptr;  // the input came
  (*channels[u"[LongAccel]LongAccel"].listener)->OnStateChanged();
  EXPECT_EQ(heard.size(), 1u);
  EXPECT_EQ(channel->GetIterator(iterator.Put()), S_OK);
}

TEST_F(FactoryFixture, IconsAreMadeSixteenBySixteenByAveragingOrRepeatingPixels) {
  tools.backend.types[u"T.Accel"].icons[u"Broken"] = {2, 1, {0xFF0000FFu, 0x80FF0000u}};
  auto factory = CDotNetChannelFactory::Create(tools.library, u"T.Accel", nullptr);
  ComPtr<IKivUnknown> picture;
  EXPECT_EQ(factory->GetIcon(2, 16, picture.Put()), S_FALSE) << "none for this name";
  EXPECT_EQ(factory->GetIcon(3, 16, picture.Put()), E_INVALIDARG);
  ASSERT_EQ(factory->GetIcon(1, 32, picture.Put()), S_OK);
  uint32_t width = 0, height = 0;
  std::vector<uint32_t> pixels;
  ASSERT_EQ(QueryAs<IKivPicture>(picture.Get())->GetSize(&width, &height), S_OK);
  ASSERT_EQ(QueryAs<IKivPicture>(picture.Get())->GetPixels(&pixels), S_OK);
  EXPECT_EQ(std::tie(width, height, pixels[7], pixels[8], pixels[255]),
            std::make_tuple(16u, 16u, 0xFF0000FFu, 0x80FF0000u, 0x80FF0000u));

  PluginPicture checkers{32, 32, {}};
  for (uint32_t k = 0; k < 32 * 32; ++k) checkers.argb.push_back((k + k / 32) % 2 ? 0xFFFFFFFFu : 0xFF000000u);
  ASSERT_EQ(MakeIcon(checkers)->GetPixels(&pixels), S_OK);
  EXPECT_EQ(pixels, std::vector<uint32_t>(256, 0xFF808080u));
  EXPECT_FALSE(MakeIcon({4, 4, {0xFF000000u}})) << "pixels that don't fill the size";
}

TEST_F(FactoryFixture, SelectionIndexesOutOfRangeChangeNothing) {
  auto factory = CDotNetChannelFactory::Create(tools.library, u"T.Accel", nullptr);
  ASSERT_TRUE(factory);
  EXPECT_TRUE(factory->SetDataSelection(1, 2));
  for (auto [task, selection] : {std::pair{0, 1}, {2, 1}, {1, 0}, {1, 3}}) {
    EXPECT_FALSE(factory->SetDataSelection(task, selection));
  }
  EXPECT_EQ(tools.backend.selection, (std::pair<int32_t, int32_t>{1, 2}));
  EXPECT_FALSE(CDotNetChannelFactory::Create(tools.library, u"T.Missing", nullptr));
  EXPECT_FALSE(QueryAs<IKivMediaChannelFactory>(static_cast<IKivChannelFactory*>(factory.Get()))) << "no media";
}

std::u16string TextOf(const nlohmann::json& value) { return Utf8ToWide(value.get<std::string>()); }

fake::FakeEventSetData EventsOf(const nlohmann::json& events) {
  fake::FakeEventSetData data;
  for (const auto& e : events) {
    PluginEvent event{e.at("time"), e.at("category"), TextOf(e.at("source")), TextOf(e.at("message")), {}, {}};
    for (const auto& line : e.value("information", std::vector<std::string>{})) event.information.push_back(W(line));
    event.data = e.value("data", std::vector<double>{});
    data.push_back(std::move(event));
  }
  return data;
}

// An event as the fixtures write it.
nlohmann::json RecordOf(IKivEvent& event) {
  KivTime time = 0;
  uint32_t priority = 0;
  std::u16string source, message;
  std::vector<uint8_t> payload;
  (void)event.GetTime(&time), (void)event.GetCategory(&priority);
  (void)event.GetSource(&source), (void)event.GetMessage(&message);
  nlohmann::json data = nullptr;
  if (event.GetData(&payload) == S_OK) {
    std::vector<double> values(payload.size() / sizeof(double));
    std::memcpy(values.data(), payload.data(), values.size() * sizeof(double));
    data = values;
  }
  return {{"time", time}, {"priority", priority}, {"source", WideToUtf8(source)}, {"message", WideToUtf8(message)},
          {"data", data}};
}

// An events factory "T.Brakes" with the fixture's set as "Set".
class EventSetCases : public ::testing::TestWithParam<std::filesystem::path> {};

TEST_P(EventSetCases, RecordsCopiedOnePerEventInRisingTime) {
  const nlohmann::json c = testing::ReadFixture(GetParam());
  ToolsFolder tools;
  Touch(tools.dir / "e.py");
  tools.backend.modules["e.py"] = Module({{u"T.Brakes", u"Brakes", 1}});
  fake::FakeType type;
  type.tool = false;
  type.eventSets[u"Set"] = EventsOf(c.at("events"));
  tools.backend.types[u"T.Brakes"] = type;
  EXPECT_FALSE(CDotNetChannelFactory::Create(tools.library, u"T.Brakes", nullptr));
  auto factory = CDotNetEventsFactory::Create(tools.library, u"T.Brakes", nullptr);
  ASSERT_TRUE(factory);

  ComPtr<IKivEventSet> set;
  ComPtr<IKivEventsIterator> iterator;
  ComPtr<IKivEvents> events;
  uint32_t count = 0;
  ASSERT_EQ(factory->GetItem(u"Set", set.Put()), S_OK);
  ASSERT_EQ(set->GetIterator(iterator.Put()), S_OK);
  (void)iterator->GetEvents(events.Put());
  ASSERT_EQ(events->GetCount(&count), S_OK);
  nlohmann::json records = nlohmann::json::array();
  for (int32_t k = 1; k <= static_cast<int32_t>(count); ++k) {
    ComPtr<IKivEvent> event;
    ASSERT_EQ(events->GetEvent(k, event.Put()), S_OK);
    records.push_back(RecordOf(*event));
  }
  EXPECT_EQ(records, c.at("expect"));
}

INSTANTIATE_TEST_SUITE_P(Cases, EventSetCases, testing::FixtureCases("managed/events"), testing::FixtureName);

}  // namespace
}  // namespace velmar::managed
