// The CPython backend on real modules: bad ones skipped (a blocking one cut
// off by the import time limit), tools with commands, raises and pickled
// state, and a data factory's channel and event set read through the library.
#include <gtest/gtest.h>

#include <tuple>

#include "managed/dotnet_tool.h"
#include "managed/tool_locator.h"
#include "support/data_listener.h"
#include "support/fixtures.h"
#include "support/managed_channel_reads.h"
#include "support/scoped_env.h"
#include "velmar/channel.h"
#include "velmar/events.h"
#include "velmar/plugin_tools.h"

namespace velmar::managed {
namespace {

using testing::ScopedEnv;

class PythonBackendTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    static ScopedEnv folder("KIVARA_TOOLS", (testing::FixtureRoot() / "managed" / "plugins").string());
    static ScopedEnv limit("KIVARA_TOOLS_IMPORT_TIMEOUT", "0.5");
    KivRescanPlugins();
    ASSERT_EQ(KivFindPluginTypes(&types_), S_OK);
  }

  static std::vector<std::u16string> Labels(IKivObjectNode* node) {
    ObjectNodeCommands commands;
    EXPECT_EQ(node->GetCommands(&commands), S_OK);
    std::vector<std::u16string> labels;
    for (const auto& c : commands) labels.emplace_back(), (void)c->GetLabel(&labels.back());
    return labels;
  }

  static inline std::vector<KivPluginType> types_;
};

TEST_F(PythonBackendTest, BadModulesAreSkippedAndTheFirstOfTwoTypeNamesWins) {
  std::vector<std::tuple<std::u16string, std::u16string, uint32_t>> found;
  for (const auto& t : types_) found.emplace_back(t.name, t.type_name, t.kind);
  using T = std::tuple<std::u16string, std::u16string, uint32_t>;
  EXPECT_EQ(found, (std::vector<T>{T{u"Counter", u"a_tools.Counter", kKivPluginTool},
                                   T{u"Ramp", u"a_tools.Ramp", kKivPluginChannelFactory},
                                   T{u"Keeper", u"a_tools.Keeper", kKivPluginTool},
                                   T{u"Marks", u"a_tools.Marks", kKivPluginEventsFactory}}));
}

TEST_F(PythonBackendTest, CommandsRunAndAFaultGivesEFailWithoutTakingTheHostDown) {
  ComPtr<IKivObjectNode> tool;
  ASSERT_EQ(KivCreatePluginTool(u"a_tools.Counter", nullptr, tool.Put()), S_OK);
  EXPECT_EQ(Labels(tool.Get()), (std::vector<std::u16string>{u"Count 0", u"Off"}));
  EXPECT_EQ(tool->InvokeCommand(0, 0, 0), S_OK);
  EXPECT_EQ(Labels(tool.Get()), (std::vector<std::u16string>{u"Count 1", u"Off"})) << "rebuilt on the change";
  EXPECT_EQ(tool->InvokeCommand(1, 0, 0), KIV_E_COMMAND_DISABLED);
  ComPtr<IKivObjectNodes> children;
  ComPtr<IKivObjectNode> more;
  ASSERT_EQ(tool->GetChildren(children.Put()), S_OK);
  ASSERT_EQ(children->GetItem(1, more.Put()), S_OK);
  EXPECT_EQ(more->InvokeCommand(2, 0, 0), E_FAIL);
  EXPECT_EQ(tool->InvokeCommand(0, 0, 0), S_OK) << "the tool goes on after a fault";
  ObjectNodeCommands commands;
  ComPtr<IKivPicture> icon;
  std::vector<uint32_t> pixels;
  ASSERT_EQ(tool->GetCommands(&commands), S_OK);
  ASSERT_EQ(commands[0]->GetPicture(icon.Put()), S_OK);
  ASSERT_EQ(icon->GetPixels(&pixels), S_OK);
  EXPECT_EQ(pixels, std::vector<uint32_t>(256, 0xFFFF0000u)) << "an 8x8 RGB array, red";
  EXPECT_EQ(KivCreatePluginTool(u"a_tools.Twice", nullptr, tool.Put()), E_INVALIDARG);
}

TEST_F(PythonBackendTest, StateRoundTripsThroughPickleAndABadStreamStartsFresh) {
  DotNetToolTypeLibrary& library = ManagedRuntime::Process().library();
  auto first = MakeKiv<CDotNetTool>(library, nullptr);
  ASSERT_TRUE(first->Create(u"a_tools.Counter", nullptr, nullptr));
  ASSERT_EQ(first->InvokeCommand(0, 0, 0), S_OK);
  ASSERT_EQ(first->InvokeCommand(0, 0, 0), S_OK);
  std::vector<uint8_t> saved;
  ASSERT_TRUE(first->wrapper().Save(&saved));

  auto loaded = MakeKiv<CDotNetTool>(library, nullptr);
  ASSERT_TRUE(loaded->Create(u"a_tools.Counter", &saved, nullptr));
  EXPECT_EQ(Labels(loaded.Get()).front(), u"Count 2");
  EXPECT_FALSE(loaded->wrapper().StateRejected());

  const std::vector<uint8_t> garbage{'n', 'o', 't', ' ', 'a', ' ', 'p', 'i', 'c', 'k', 'l', 'e'};
  auto fresh = MakeKiv<CDotNetTool>(library, nullptr);
  ASSERT_TRUE(fresh->Create(u"a_tools.Counter", &garbage, nullptr));
  EXPECT_TRUE(fresh->wrapper().StateRejected());
  EXPECT_EQ(Labels(fresh.Get()).front(), u"Count 0");
}

TEST_F(PythonBackendTest, ASinkCalledAfterItsToolWentRaisesInThePlugin) {
  ComPtr<IKivObjectNode> first;
  ASSERT_EQ(KivCreatePluginTool(u"a_tools.Keeper", nullptr, first.Put()), S_OK);
  ASSERT_EQ(first->InvokeCommand(0, 0, 0), S_OK);
  first = nullptr;
  ComPtr<IKivObjectNode> second;
  ASSERT_EQ(KivCreatePluginTool(u"a_tools.Keeper", nullptr, second.Put()), S_OK);
  ASSERT_EQ(second->InvokeCommand(1, 0, 0), S_OK);
  const std::u16string last = Labels(second.Get()).back();
  EXPECT_EQ(last.rfind(u"Last: Delegate call failed: Native sink was not attached or has already detached from the "
                       u"managed proxy (m_p_native_target =0x", 0), 0u) << std::string(last.begin(), last.end());
}

TEST_F(PythonBackendTest, ChannelsCrossAsArraysAndARaisingOneIsNotAvailable) {
  ComPtr<IKivChannelFactory> factory;
  ASSERT_EQ(KivCreatePluginChannelFactory(u"a_tools.Ramp", nullptr, factory.Put()), S_OK);
  ComPtr<IKivChannel> channel;
  ASSERT_EQ(factory->GetItem(u"Ramp", channel.Put()), S_OK);
  const auto blocks = testing::ReadBlocks(channel.Get());
  ASSERT_EQ(blocks.size(), 1u);
  ASSERT_EQ(blocks[0].values.size(), 1000u);
  EXPECT_EQ(std::tie(blocks[0].values[999], blocks[0].times[999]), std::make_tuple(499.5, KivTime{99900}));

  // The plug-in's change reaches the channel's clients.
  std::vector<std::string> heard;
  testing::CDataListener listener(&heard);
  ASSERT_TRUE(listener.Connect(channel.Get(), false));
  ComPtr<IKivObjectNode> toucher;
  ASSERT_EQ(KivCreatePluginTool(u"a_tools.Keeper", nullptr, toucher.Put()), S_OK);
  ASSERT_EQ(toucher->InvokeCommand(2, 0, 0), S_OK);
  EXPECT_EQ(heard, std::vector<std::string>{"changed:5:" + std::to_string(kTimeMax)});
  listener.Disconnect();

  ComPtr<IKivChannel> broken;
  uint32_t status = 0;
  EXPECT_EQ(factory->GetItem(u"Broken", broken.Put()), E_FAIL);
  EXPECT_EQ(KivSetPluginDataSelection(factory.Get(), 1, 1), S_FALSE) << "no root, no tasks";
  ASSERT_EQ(channel->GetStatus(&status), S_OK);
  EXPECT_EQ(status, static_cast<uint32_t>(DataStatus::kAvailable));
}

TEST_F(PythonBackendTest, EventSetsAreCopiedInTimeOrderWithTheirInformationAndData) {
  ComPtr<IKivEventsFactory> factory;
  ComPtr<IKivEventSet> set;
  ComPtr<IKivEventsIterator> iterator;
  ComPtr<IKivEvents> events;
  ComPtr<IKivEvent> late;
  ASSERT_EQ(KivCreatePluginEventsFactory(u"a_tools.Marks", nullptr, factory.Put()), S_OK);
  ASSERT_EQ(factory->GetItem(u"Marks", set.Put()), S_OK);
  ASSERT_EQ(set->GetIterator(iterator.Put()), S_OK);
  ASSERT_EQ(iterator->GetEvents(events.Put()), S_OK);
  ASSERT_EQ(events->GetEvent(2, late.Put()), S_OK);
  uint32_t priority = 0;
  std::u16string message;
  std::vector<uint8_t> data;
  (void)late->GetCategory(&priority), (void)late->GetMessage(&message), (void)late->GetData(&data);
  EXPECT_EQ(std::tie(priority, message), std::make_tuple(3u, std::u16string(u"late\nLap 1")));
  EXPECT_EQ(data.size(), sizeof(double));
}

}  // namespace
}  // namespace velmar::managed
