// A live outing under a root: it connects with the root's real-time
// settings and teaches the root's property databases the live channels and
// event names, as a `.trn` import would.
#include <gtest/gtest.h>

#include "platform/realtime/rt_tcp_server.h"
#include "sources/realtime/rt_outing.h"
#include "support/settings_file_support.h"
#include "velmar/data_factory.h"
#include "velmar/property_factories.h"
#include "velmar/real_time_settings.h"
#include "velmar/text.h"

namespace velmar {
namespace {

constexpr Guid kRealTimeType = Guid::Literal("{2A7C4E91-6B3D-4F58-8E12-9D0C5B7A3E64}");

TEST(LiveOutingUnderRoot, UsesTheRootsSettingsAndFeedsItsPropertyDatabases) {
  testing::SettingsRoot root;
  ASSERT_EQ(root.persist->InitNew(root.storage.Get()), S_OK);
  auto server = std::make_shared<rt::RtServer>(u"Pit");
  rt::WireChannel speed;
  speed.id = 7;
  speed.displayName = speed.tagName = u"Speed";
  speed.quantityId = 0;
  speed.colour = 0x00FF00;
  speed.displayMaximum = 90;
  server->data().SetChannels({speed});
  server->data().SetEventNames({rt::WireNamed{5, u"Pit lane"}});
  rt::RtTcpServer tcp(server);
  std::string error;
  ASSERT_EQ(tcp.Start("127.0.0.1", 0, &error), S_OK) << error;
  const std::u16string address = u"rt://127.0.0.1:" + Utf8ToWide(std::to_string(tcp.port())) + u"/Pit";
  ComPtr<CRTOuting> outing;
  ASSERT_EQ(OpenOutingOnCache<CRTOuting>(
                address, false, [&] { return MakeKiv<CRTOutingCache>(address, kRealTimeType); }, &outing),
            S_OK);
  auto factory = QueryAs<IKivDataFactory>(static_cast<IKivOuting*>(outing.Get()));
  ASSERT_TRUE(factory);
  ASSERT_EQ(factory->SetRoot(root.root.Get()), S_OK);

  NameList names;
  ASSERT_EQ(QueryAs<IKivChannelFactory>(static_cast<IKivOuting*>(outing.Get()))->GetNames(&names), S_OK);
  EXPECT_EQ(names, NameList{u"[0]Speed"}) << "listed by key text, as a `.trn` lists them";
  ComPtr<IKivChannelPropertyFactory> channels;
  ASSERT_EQ(root.root->GetChannelPropertyFactory(channels.Put()), S_OK);
  KivBool known = KIV_FALSE;
  ASSERT_EQ(channels->HasKey(u"Speed", 0, &known), S_OK);
  EXPECT_EQ(known, KIV_TRUE) << "the live description reached the database";
  ComPtr<IKivPropertySet> set;
  ASSERT_EQ(channels->GetPropertySet(u"Speed", 0, set.Put()), S_OK);
  Variant colour;
  ASSERT_EQ(set->GetProperty(u"Color", &colour), S_OK);
  EXPECT_EQ(colour.ToDouble().value_or(0), 0x00FF00);

  NameList sets;
  ASSERT_EQ(QueryAs<IKivEventsFactory>(static_cast<IKivOuting*>(outing.Get()))->GetNames(&sets), S_OK);
  ComPtr<IKivEventPropertyFactory> events;
  ASSERT_EQ(root.root->GetEventPropertyFactory(events.Put()), S_OK);
  ASSERT_EQ(events->HasName(u"Pit lane", &known), S_OK);
  EXPECT_EQ(known, KIV_TRUE);

  // The settings the outing connected with are the root's own object.
  ComPtr<IKivRealTimeSettings> settings;
  ASSERT_EQ(root.root->GetRealTimeSettings(settings.Put()), S_OK);
  EXPECT_TRUE(settings.As<IKivRealTimeSettings3>()) << "the root's own object is the one a live outing asks for";
}

}  // namespace
}  // namespace velmar
