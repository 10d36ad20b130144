#include "config/event_property_factory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include "support/scoped_sink.h"

namespace velmar {
namespace {

using ::testing::ElementsAre;

struct Client : CEventPropertyFactoryNotificationsReceiver {
  std::vector<std::string> seen;
  bool inUse = false;
  void OnEventNameAdded(IKivEventPropertyFactory*, const std::u16string&) override { seen.push_back("added"); }
  void OnEventNameRemoved(IKivEventPropertyFactory*, const std::u16string&) override { seen.push_back("removed"); }
  void OnEventPropertiesChanged(IKivEventPropertyFactory*, const std::u16string&) override {
    seen.push_back("changed");
  }
  void OnQueryEventNameInUse(IKivEventPropertyFactory*, const std::u16string&, KivBool* used, uint32_t*) override {
    if (inUse) *used = KIV_TRUE;
  }
};

TEST(EventPropertyFactory, NamesGetAPriorityAndAreNotRemovedWhileInUse) {
  auto factory = MakeKiv<CEventPropertyFactory>();
  Client client;
  testing::ScopedSink<CEventPropertyFactoryNotificationsSink<>, IKivEventPropertyFactory> sink(&client, factory.Get());

  ComPtr<IKivPropertySet> set;
  ASSERT_EQ(factory->GetPropertySet(u"Pit Entry", set.Put()), S_OK);
  Variant priority;
  ASSERT_EQ(set->GetProperty(u"Priority", &priority), S_OK);
  EXPECT_EQ(priority, Variant::I32(0));
  ASSERT_EQ(set->SetProperty(u"Priority", Variant::I32(3)), S_OK);
  EXPECT_EQ(set->SetProperty(u"Priority", Variant::I32(3)), S_FALSE);
  std::u16string name;
  ASSERT_EQ(factory->GetName(1, &name), S_OK);
  EXPECT_EQ(name, u"Pit Entry");
  client.inUse = true;
  EXPECT_EQ(factory->RemoveName(u"Pit Entry"), E_ACCESSDENIED);
  client.inUse = false;
  EXPECT_EQ(factory->RemoveName(u"Pit Entry"), S_OK);
  EXPECT_EQ(factory->RemoveName(u"Pit Entry"), E_INVALIDARG);
  EXPECT_THAT(client.seen, ElementsAre("added", "changed", "removed"));
}

}  // namespace
}  // namespace velmar
