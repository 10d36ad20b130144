#include "tasks/tasks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "config/config_classes.h"
#include "core/velmar.h"
#include "support/got.h"
#include "platform/registry/registry_file.h"
#include "support/temp_dir.h"
#include "velmar/data_factory.h"
#include "velmar/tasks.h"
#include "velmar/quantity_to_color_mapping.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A task as the list sees it, logging what the list does to it.
class Member final : public KivObject<IKivTaskListMember> {
 public:
  Member(std::string tag, std::vector<std::string>* log) : tag_(std::move(tag)), log_(log) {}
  KivResult GetTask(IKivTask** task) override {
    *task = nullptr;
    log_->push_back(tag_ + ".GetTask");
    return E_NOTIMPL;
  }
  KivResult Close() override {
    log_->push_back(tag_ + ".Close");
    return S_OK;
  }
  KivResult SetDataFactoryList(const ActiveDataFactories& factories) override {
    log_->push_back(tag_ + ".list " + std::to_string(factories.size()));
    return S_OK;
  }
  KivResult FindChannelName(const std::u16string& name, KivBool* found) override {
    return (*found = ToKivBool(name == u"Shown"), S_OK);
  }
  KivResult FindEventName(const std::u16string&, KivBool* found) override { return (*found = KIV_FALSE, S_OK); }

 private:
  std::string tag_;
  std::vector<std::string>* log_;
};

TEST(Tasks, AnEmptyList) {
  auto tasks = MakeKiv<CTasks>();
  EXPECT_EQ(Got(tasks, &CTasks::GetCount), 0);
  IKivTask* task = nullptr;
  EXPECT_EQ(tasks->GetItem(1, &task), DISP_E_BADINDEX);
  EXPECT_EQ(tasks->GetItem(0, &task), DISP_E_BADINDEX);
  EXPECT_EQ(tasks->GetItem(1, nullptr), E_POINTER);
  EXPECT_EQ(tasks->RemoveTask(1), DISP_E_BADINDEX);
  EXPECT_EQ(Got(tasks, &CTasks::CanAddTask), KIV_TRUE);
  EXPECT_EQ(tasks->GetCount(nullptr), E_POINTER);
}

TEST(Tasks, TheFactoryListReachesEveryTaskAndCloseAllClosesInListOrder) {
  std::vector<std::string> log;
  auto tasks = MakeKiv<CTasks>();
  ASSERT_EQ(tasks->Append(MakeKiv<Member>("one", &log).Get()), S_OK);
  ASSERT_EQ(tasks->SetDataFactoryList(ActiveDataFactories(2)), S_OK);
  ASSERT_EQ(tasks->Append(MakeKiv<Member>("two", &log).Get()), S_OK);
  EXPECT_EQ(tasks->DataFactoryList().size(), 2u);
  IKivTask* task = nullptr;
  EXPECT_EQ(tasks->GetItem(2, &task), E_NOTIMPL);
  KivBool found = 0;
  ASSERT_EQ(tasks->FindChannelName(u"Shown", &found), S_OK);
  EXPECT_EQ(found, KIV_TRUE);
  ASSERT_EQ(tasks->FindChannelName(u"Hidden", &found), S_OK);
  EXPECT_EQ(found, KIV_FALSE);
  ASSERT_EQ(tasks->CloseAll(), S_OK);
  EXPECT_THAT(log, ElementsAre("one.list 0", "one.list 2", "two.list 2", "two.GetTask", "one.Close", "two.Close"));
  EXPECT_EQ(Got(tasks, &CTasks::GetCount), 0);
}

// The task list inside a root built of the real classes.
class TasksInARoot : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    ASSERT_TRUE(Succeeded(RegisterConfigClasses(ClassRegistry::Process())));
    ASSERT_TRUE(Succeeded(RegisterTasksClasses(ClassRegistry::Process())));
    ASSERT_TRUE(Succeeded(RegisterVelmarClasses(ClassRegistry::Process())));
  }
  void SetUp() override {
    override_.emplace(RegHive::kCurrentUser, std::make_shared<RegistryFile>(dir_ / "user.json"));
    ASSERT_EQ(ClassRegistry::Process().CreateInstance(CLSID_KivVelmar, &root_), S_OK);
  }
  void TearDown() override {
    if (root_) (void)root_->Close();
    root_ = nullptr;
    EXPECT_EQ(LiveVelmarRootCount(), 0u);
  }
  CTasks* Tasks() {
    ComPtr<IKivTasks> tasks;
    EXPECT_EQ(root_->GetTasks(tasks.Put()), S_OK);
    return static_cast<CTasks*>(tasks.Get());  // the root keeps it alive
  }

  TempDir dir_;
  std::optional<ScopedHiveOverride> override_;
  ComPtr<IKivVelmar8> root_;
};

TEST_F(TasksInARoot, TheListKnowsItsRootUntilTheRootCloses) {
  ComPtr<CTasks> list(Tasks());
  EXPECT_EQ(list->Root(), static_cast<IKivVelmar*>(root_.Get()));
  ASSERT_EQ(root_->Close(), S_OK);
  EXPECT_EQ(list->Root(), nullptr);
}

TEST_F(TasksInARoot, TheOwnedObjectsAreWiredToEachOther) {
  auto channelProperties = Got(root_, &IKivVelmar8::GetChannelPropertyFactory);
  EXPECT_EQ(Got(channelProperties, &IKivChannelPropertyFactory::GetQuantityToColorMapping).Get(),
            Got(root_, &IKivVelmar8::GetQuantityToColorMapping).Get())
      << "the channel database got the root's mapping";
  auto constants = Got(root_, &IKivVelmar8::GetGlobalConstantFactory);
  EXPECT_EQ(Got(constants, &IKivConstantFactory::GetRoot).Get(), root_.As<IKivUnknown>().Get())
      << "the constant factory knows its root";
  EXPECT_EQ(Got(root_, &IKivVelmar8::GetSpeedUnit), 1u) << "the units component's default for speed";
}

}  // namespace
}  // namespace velmar::testing
