#include "core/velmar_global_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/data_factory_branding.h"
#include "core/velmar_test_fixture.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;

class VelmarGlobalStateTest : public VelmarTestBase {};

TEST_F(VelmarGlobalStateTest, TwoRootsShareTheConstantsAndTheCommonChannels) {
  ComPtr<CVelmar> second;
  ASSERT_EQ(CVelmar::Create(&second), S_OK);
  EXPECT_EQ(root_->SharedStores().constants, second->SharedStores().constants);
  EXPECT_EQ(root_->SharedStores().commonChannels, second->SharedStores().commonChannels);
  EXPECT_EQ(CVelmarObjGlobalStateChanges::Process().RootCount(), 2u);
  EXPECT_EQ(LiveVelmarRootCount(), 2u);

  auto constants = root_->SharedStores().constants;
  auto channels = root_->SharedStores().commonChannels;
  ASSERT_EQ(constants->Add(u"Fuel Density", 0), S_OK);
  EXPECT_TRUE(second->SharedStores().constants->Find(u"Fuel Density")) << "a change in one reaches the other";

  ASSERT_EQ(channels->Set(3, u"[3]GPS Speed"), S_OK);
  EXPECT_EQ(second->Close(), S_OK);
  EXPECT_TRUE(constants->Find(u"Fuel Density")) << "closing one root leaves the shared stores";
  std::u16string speed;
  ASSERT_EQ(channels->Get(3, &speed), S_OK);
  EXPECT_EQ(speed, u"[3]GPS Speed");

  second = nullptr;
  EXPECT_EQ(LiveVelmarRootCount(), 1u);
  ASSERT_EQ(Root()->Close(), S_OK);
  EXPECT_EQ(constants->size(), 0u) << "the last root out clears them";
  ASSERT_EQ(channels->Get(3, &speed), S_OK);
  EXPECT_EQ(speed, u"[3]Speed");
}

TEST_F(VelmarGlobalStateTest, ACommonChannelChangeMarksEveryRootDirtyAndEachRaises) {
  ComPtr<CVelmar> second;
  ASSERT_EQ(CVelmar::Create(&second), S_OK);
  Listen<CVelmarNotificationsSink<>>("first.");
  Listen<CVelmarNotificationsSink<>>("second.", second.Get());
  root_->ClearDirty();
  second->ClearDirty();
  ASSERT_EQ(second->SharedStores().commonChannels->Set(11, u"[6]GPS Time"), S_OK);
  EXPECT_TRUE(root_->HasUnsavedChanges());
  EXPECT_TRUE(second->HasUnsavedChanges());
  EXPECT_THAT(log_, ElementsAre("first.CommonChannelsChanged", "second.CommonChannelsChanged"));
  EXPECT_EQ(second->Close(), S_OK);
}

TEST(VelmarObjGlobalStateChanges, TheFanOutWalksACopyOfItsRoots) {
  struct Root : CVelmarObjStateChanges {
    CVelmarObjGlobalStateChanges* fanOut = nullptr;
    Root* leaveAlso = nullptr;
    int applied = 0;
    KivResult ApplyDataFactoryList(const DataFactoryRecords&) override {
      ++applied;
      if (leaveAlso) (void)fanOut->Leave(leaveAlso);
      return applied == 1 ? E_FAIL : S_OK;
    }
    void OnCommonChannelsChanged() override {}
  };
  CVelmarObjGlobalStateChanges fanOut;
  Root a, b;
  a.fanOut = &fanOut;
  a.leaveAlso = &b;
  (void)fanOut.Join(&a);
  (void)fanOut.Join(&b);
  (void)fanOut.Join(&a);
  EXPECT_EQ(fanOut.RootCount(), 2u) << "joining twice adds once";
  EXPECT_EQ(fanOut.ApplyDataFactoryList({}), E_FAIL) << "the first failure";
  EXPECT_EQ(b.applied, 0) << "a root that left during the walk is not called";
  EXPECT_EQ(fanOut.Leave(&b), S_FALSE);
  EXPECT_EQ(fanOut.Leave(&a), S_OK);
}

TEST(DataFactoryBranding, WithoutAModuleNothingIsExcludedAndNoFeatureIsOn) {
  const auto& branding = CurrentDataFactoryBranding();
  EXPECT_TRUE(branding.IsAllowed(DataFactoryRecord::Native(Guid::New())));
  EXPECT_TRUE(branding.IsAllowed(DataFactoryRecord::Managed(u"Any.Tool")));
  EXPECT_FALSE(branding.FeatureSupported(kBrandingFeatureToolNode));
  DataFactoryRecord odd;
  odd.kind = static_cast<DataFactoryKind>(2);
  EXPECT_FALSE(branding.IsAllowed(odd)) << "an unknown kind is never allowed";
}

TEST(DataFactoryBranding, ToolNamesCompareCaseSensitively) {
  DataFactoryBranding branding({}, {u"Halvane.Tool"}, {1});
  EXPECT_FALSE(branding.IsAllowed(DataFactoryRecord::Managed(u"Halvane.Tool")));
  EXPECT_TRUE(branding.IsAllowed(DataFactoryRecord::Managed(u"halvane.tool")));
  EXPECT_TRUE(branding.FeatureSupported(1));
}

}  // namespace
}  // namespace velmar::testing
