#include "config/group_factory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmar {
namespace {

using ::testing::ElementsAre;

TEST(GroupFactory, GroupsHoldChannelNamesAndReportChanges) {
  auto groups = MakeKiv<CGroupFactory>();
  IKivGroupFactory* face = groups.Get();
  struct Log : CGroupFactoryNotificationsReceiver {
    std::vector<std::u16string> seen;
    void OnGroupsChanged(IKivGroupFactory*, const std::u16string& g) override { seen.push_back(g); }
  } log;
  auto sink = MakeKiv<CGroupFactoryNotificationsSink<>>();
  sink->SetReceiver(&log);
  ASSERT_TRUE(sink->Connect(face));

  EXPECT_EQ(groups->AddGroup(u""), E_INVALIDARG);
  EXPECT_EQ(groups->AddGroup(u"Brakes"), S_OK);
  EXPECT_EQ(groups->AddGroup(u"Brakes"), S_FALSE);
  EXPECT_EQ(groups->SetMembers(u"Brakes", {u"Brake Temp FL", u"Brake Temp FR"}), S_OK);
  EXPECT_EQ(groups->SetMembers(u"Brakes", {u"Brake Temp FL", u"Brake Temp FR"}), S_FALSE);
  EXPECT_EQ(groups->SetMembers(u"None", {}), E_INVALIDARG);
  std::vector<std::u16string> members;
  ASSERT_EQ(groups->GetMembers(u"Brakes", &members), S_OK);
  EXPECT_THAT(members, ElementsAre(u"Brake Temp FL", u"Brake Temp FR"));
  uint32_t count = 0;
  ASSERT_EQ(groups->GetCount(&count), S_OK);
  EXPECT_EQ(count, 1u);
  std::u16string name;
  EXPECT_EQ(groups->GetGroupName(2, &name), DISP_E_BADINDEX);
  EXPECT_EQ(groups->RemoveGroup(u"Brakes"), S_OK);
  EXPECT_EQ(groups->RemoveGroup(u"Brakes"), E_INVALIDARG);
  EXPECT_THAT(log.seen, ElementsAre(u"Brakes", u"Brakes", u"Brakes"));
  sink->SetReceiver(nullptr);
  sink->Disconnect(face);
}

}  // namespace
}  // namespace velmar
