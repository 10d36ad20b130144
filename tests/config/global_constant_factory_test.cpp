#include "config/global_constant_factory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmar {
namespace {

using ::testing::ElementsAre;

struct NameLog : CDataFactoryNotificationsReceiver {
  std::vector<std::string> seen;
  void OnItemsAdded(IKivDataFactory*, const NameList& names) override { seen.push_back("+" + std::to_string(names.size())); }
  void OnItemsRemoved(IKivDataFactory*, const NameList& names) override {
    seen.push_back("-" + std::to_string(names.size()));
  }
};

TEST(GlobalConstantFactory, FactoriesOnOneCacheShowTheSameNamesAndEachTellsItsClients) {
  auto cache = std::make_shared<CGlobalConstantsCache>();
  auto first = MakeKiv<CGlobalConstantFactory>();
  auto second = MakeKiv<CGlobalConstantFactory>();
  ASSERT_EQ(first->AttachCache(cache), S_OK);
  ASSERT_EQ(second->AttachCache(cache), S_OK);
  NameLog log;
  auto sink = MakeKiv<CDataFactoryNotificationsSink<>>();
  sink->SetReceiver(&log);
  IKivConstantFactory* secondFace = second.Get();
  ASSERT_TRUE(sink->Connect(secondFace));

  ASSERT_EQ(cache->Add(u"Ride Height", 0), S_OK);
  ASSERT_EQ(cache->Remove(u"Ride Height"), S_OK);
  ASSERT_EQ(cache->Add(u"Rake", 1), S_OK);
  NameList names;
  ASSERT_EQ(first->GetNames(&names), S_OK);
  EXPECT_THAT(names, ElementsAre(u"Rake"));
  ASSERT_EQ(second->GetNames(&names), S_OK);
  EXPECT_THAT(names, ElementsAre(u"Rake"));
  EXPECT_THAT(log.seen, ElementsAre("+1", "-1", "+1"));

  ASSERT_EQ(second->AttachCache(nullptr), S_OK);
  ASSERT_EQ(cache->Add(u"Toe", 0), S_OK);
  EXPECT_EQ(log.seen.size(), 3u) << "a factory that let go of the cache hears nothing";
  sink->SetReceiver(nullptr);
  sink->Disconnect(secondFace);
}

TEST(GlobalConstantFactory, ItemsOfUnknownNamesAreRefused) {
  auto cache = std::make_shared<CGlobalConstantsCache>();
  auto factory = MakeKiv<CGlobalConstantFactory>();
  ASSERT_EQ(factory->AttachCache(cache), S_OK);
  ASSERT_EQ(cache->Add(u"Mass", 0), S_OK);
  IKivConstant* constant = nullptr;  // no constant object is handed out here
  EXPECT_EQ(factory->GetItem(u"", &constant), E_INVALIDARG);
  EXPECT_EQ(factory->GetItem(u"Other", &constant), E_INVALIDARG);
  EXPECT_EQ(factory->GetItem(u"Mass", &constant), E_NOTIMPL);
  EXPECT_EQ(factory->GetItem(u"Mass", nullptr), E_POINTER);
  EXPECT_EQ(factory->ReloadSpreadsheetConstants(), S_FALSE);
}

TEST(GlobalConstantFactory, RootAndParentFollowTheFrameRules) {
  auto factory = MakeKiv<CGlobalConstantFactory>();
  auto someone = MakeKiv<CGlobalConstantFactory>();
  ComPtr<IKivUnknown> out;
  EXPECT_EQ(factory->GetRoot(out.Put()), E_UNEXPECTED);
  EXPECT_EQ(factory->GetParent(out.Put()), E_UNEXPECTED);
  EXPECT_EQ(factory->SetParent(nullptr), E_INVALIDARG);
  EXPECT_EQ(factory->SetParent(someone->PrimaryUnknown()), S_OK);
  EXPECT_EQ(factory->SetParent(someone->PrimaryUnknown()), E_INVALIDARG);
  EXPECT_EQ(factory->SetParent(nullptr), S_OK);
  EXPECT_EQ(factory->SetRoot(someone->PrimaryUnknown()), S_OK);
  EXPECT_EQ(factory->SetRoot(someone->PrimaryUnknown()), E_UNEXPECTED) << "once only";
  ASSERT_EQ(factory->GetRoot(out.Put()), S_OK);
  EXPECT_EQ(out.Get(), someone->PrimaryUnknown());
}

}  // namespace
}  // namespace velmar
