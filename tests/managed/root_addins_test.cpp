// Plug-in types in the root's add-in list, over the fake backend: a data
// factory joins each selection with an instance of its own, and a tool's
// state goes into the settings file and comes back with it, and it takes
// the root's colours.
#include <gtest/gtest.h>

#include <fstream>

#include "managed/dotnet_data_factory.h"
#include "managed/fake_backend.h"
#include "managed/tool_locator.h"
#include "support/outing_listener.h"
#include "support/scoped_env.h"
#include "support/settings_file_support.h"
#include "support/temp_dir.h"
#include "velmar/channel.h"
#include "velmar/font_description.h"
#include "velmar/plugin_review.h"
#include "velmar/plugin_tools.h"
#include "velmar/tasks.h"

namespace velmar::managed {
namespace {

using fake::FakeBackend;
using fake::FakeType;

const std::vector<uint8_t> kState{7, 1, 9};

// A "Tools" folder with one module offering a tool "T.Tool" that persists
// and a data factory "T.Data" with one channel, the fake backend in force.
class RootAddIns : public ::testing::Test {
 protected:
  void SetUp() override {
    std::ofstream(dir_ / "tools.py") << "#";
    auto backend = std::make_unique<FakeBackend>();
    backend_ = backend.get();
    backend_->modules["tools.py"] = {true, {{u"T.Tool", u"Tool", 1}, {u"T.Data", u"Data", 1}}};
    backend_->types[u"T.Tool"].persists = true;
    backend_->types[u"T.Tool"].badState = {6, 6};
    FakeType& data = backend_->types[u"T.Data"];
    data.tool = false;
    data.channels[u"Accel"].blocks.push_back({{true, false, 0, 90, 10, 10}, {}});
    backend_->lastTool->saved = kState;
    ManagedRuntime::SetBackend(std::move(backend));
  }
  void TearDown() override { ManagedRuntime::SetBackend(nullptr); }

  // A root over the file `bytes` (loaded), or a new one.
  static std::unique_ptr<testing::SettingsRoot> Root(const std::string& bytes = {}) {
    auto root = std::make_unique<testing::SettingsRoot>(bytes);
    EXPECT_EQ(bytes.empty() ? root->persist->InitNew(root->storage.Get()) : root->persist->Load(root->storage.Get()),
              S_OK);
    return root;
  }
  static std::string Saved(testing::SettingsRoot& root) {
    EXPECT_EQ(root.persist->Save(root.storage.Get(), KIV_TRUE), S_OK);
    EXPECT_EQ(root.persist->SaveCompleted(nullptr), S_OK);
    EXPECT_EQ(root.storage->Commit(STGC_DEFAULT), S_OK);
    return root.Bytes();
  }

  testing::TempDir dir_;
  testing::ScopedEnv env_{"KIVARA_TOOLS", dir_.path().string()};
  FakeBackend* backend_ = nullptr;
};

TEST_F(RootAddIns, DataFactoryJoinsEverySelectionThroughItsInputs) {
  auto root = Root();
  ComPtr<IKivTasks> tasks;
  ComPtr<IKivTask> task;
  DataSelectionList added;
  ASSERT_EQ(root->root->GetTasks(tasks.Put()), S_OK);
  ASSERT_EQ(tasks->AddTask(task.Put()), S_OK);
  ASSERT_EQ(task->Update(kTaskAddSelections, nullptr, 2, 0, u"", u"", 0, u"", 0, KIV_FALSE, 1, &added), S_OK);
  EXPECT_EQ(KivAddPluginToRoot(root->root.Get(), u"T.Data"), S_OK);
  EXPECT_EQ(KivAddPluginToRoot(root->root.Get(), u"T.Data"), S_FALSE);
  EXPECT_EQ(KivAddPluginToRoot(root->root.Get(), u"T.Missing"), E_INVALIDARG);
  ASSERT_EQ(backend_->selectionsWithInputs.size(), 2u) << "one instance per selection";

  ComPtr<IKivChannel> channel;
  auto channels = QueryAs<IKivChannelFactory>(added[1].Get());
  const auto names = [&] {
    NameList list;
    EXPECT_EQ(channels->GetNames(&list), S_OK);
    return list;
  };
  EXPECT_EQ(names(), NameList{u"Accel"});
  EXPECT_EQ(channels->GetItem(u"Accel", channel.Put()), S_OK);
  channel = nullptr;
  EXPECT_EQ(KivRemovePluginFromRoot(root->root.Get(), u"T.Data"), S_OK);
  EXPECT_TRUE(names().empty()) << "gone with the entry";
}

TEST_F(RootAddIns, NewInputsTellWhatTheKeysGainedAndLost) {
  auto factory = CDotNetChannelFactory::Create(ManagedRuntime::Process().library(), u"T.Data", nullptr);
  NameList names;
  ASSERT_EQ(factory->GetNames(&names), S_OK);
  testing::OutingListener heard(static_cast<IKivChannelFactory*>(factory.Get()));  // its factory notifications
  auto& channels = backend_->types[u"T.Data"].channels;
  channels[u"Jerk"] = channels[u"Accel"];
  channels.erase(u"Accel");
  ASSERT_EQ(QueryAs<IKivSelectionInputsSink>(static_cast<IKivChannelFactory*>(factory.Get()))->OnInputsChanged(), S_OK);
  EXPECT_EQ(heard.log, (std::vector<std::string>{"ItemsRemoved:Accel", "ItemsAdded:Jerk"}));
}

TEST_F(RootAddIns, ToolStateRoundTripsThroughTheSettingsFile) {
  auto first = Root();
  ASSERT_EQ(KivAddPluginToRoot(first->root.Get(), u"T.Tool"), S_OK);
  backend_->lastTool->appearance = true;
  ASSERT_EQ(QueryAs<IKivVelmarControl>(first->root.Get())->SetBackColor(0x123456), S_OK);
  EXPECT_EQ(backend_->lastTool->backColor, 0x123456u) << "the root's colours reach its tools";
  ComPtr<IKivUnknown> font;
  ASSERT_EQ(KivCreateFontDescription(u"Mono", 95000, true, false, font.Put()), S_OK);
  ASSERT_EQ(QueryAs<IKivVelmarControl>(first->root.Get())->PutFont(font.Get()), S_OK);
  EXPECT_EQ(backend_->lastTool->font.size, 95000) << "and so does its font";
  (void)Saved(*first);
  EXPECT_EQ(first->persist->IsDirty(), S_FALSE);
  backend_->lastTool->listener->OnToolChanged();
  EXPECT_EQ(first->persist->IsDirty(), S_OK);
  const std::string bytes = Saved(*first);
  first.reset();

  std::vector<std::u16string> review;
  KivSetReviewToolsDelegate([&](const std::vector<std::u16string>& names) { review = names; });
  auto second = Root(bytes);
  KivSetReviewToolsDelegate(nullptr);
  EXPECT_EQ(review, std::vector<std::u16string>{u"T.Tool"}) << "the first root's review reaches the host";
  EXPECT_EQ(backend_->lastTool->loaded, kState);
  EXPECT_EQ(second->persist->IsDirty(), S_FALSE);
  second.reset();

  // A state that doesn't load: the tool starts fresh and the file is dirty.
  backend_->types[u"T.Tool"].badState = kState;
  backend_->lastTool->loaded.clear();
  auto third = Root(bytes);
  EXPECT_TRUE(backend_->lastTool->loaded.empty());
  EXPECT_EQ(third->persist->IsDirty(), S_OK);
  EXPECT_EQ(KivAddPluginToRoot(third->root.Get(), u"T.Tool"), S_FALSE) << "still on";
  third.reset();

  // A stored state for a tool that no longer persists: dropped on review.
  backend_->types[u"T.Tool"].persists = false;
  auto fourth = Root(bytes);
  EXPECT_EQ(fourth->persist->IsDirty(), S_OK);
  const std::string reviewed = Saved(*fourth);
  EXPECT_EQ(KivAddPluginToRoot(fourth->root.Get(), u"T.Tool"), S_OK) << "it was dropped";
  fourth.reset();
  backend_->types[u"T.Tool"].persists = true;  // it would load again if still listed
  EXPECT_EQ(KivAddPluginToRoot(Root(reviewed)->root.Get(), u"T.Tool"), S_OK) << "and the file forgot it";
}

}  // namespace
}  // namespace velmar::managed
