#include "sources/realtime/rt_outing.h"

#include <gtest/gtest.h>

#include "platform/realtime/rt_tcp_server.h"
#include "support/selection_binding.h"
#include "velmar/blobs.h"
#include "velmar/channel.h"
#include "velmar/data_block.h"
#include "velmar/data_factory.h"
#include "velmar/events.h"
#include "velmar/lap_markers.h"
#include "velmar/outing_notifications.h"
#include "velmar/property_set.h"
#include "velmar/status_channel_definitions.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

constexpr Guid kRealTimeType = Guid::Literal("{2A7C4E91-6B3D-4F58-8E12-9D0C5B7A3E64}");

ComPtr<CRTOuting> Open(const std::u16string& address) {
  ComPtr<CRTOuting> outing;
  EXPECT_EQ(OpenOutingOnCache<CRTOuting>(
                address, false, [&] { return MakeKiv<CRTOutingCache>(address, kRealTimeType); }, &outing),
            S_OK);
  return outing;
}

TEST(RtOutingTest, ALiveOutingIsTypeFourShowsItsConnectionAndRefusesWrites) {
  auto server = std::make_shared<rt::RtServer>(u"Pit");
  rt::WireDetails details;
  details.sessionNumber = 4;
  details.outingNumber = 3;
  server->data().SetDetails(details);
  server->data().SetInformation({{u"SOURCE", u"Logger 7"}});
  rt::WireChannel speed;
  speed.id = 7;
  speed.displayName = speed.tagName = u"Speed";
  server->data().SetChannels({speed});
  server->data().AddBlock(rt::WireBlock{7, 7, 1, 0, 0, {10}, std::vector<uint8_t>(8 * 50, 0)});
  server->data().SetEventNames({rt::WireNamed{5, u"Pit"}});
  rt::WireEvent pit;
  pit.id = 1;
  pit.time = 100;
  pit.name = u"Pit";
  pit.nameId = 5;
  server->data().AddEvent(pit);
  server->data().SetConstants({rt::WireConstant{1, 2.5, u"Wheelbase", 0, u"", u"m"}});
  server->data().SetBlobs({rt::WireBlob{3, kStatusDefinitionsBlobType, u"defs", {1, 2, 3}}});
  rt::RtTcpServer tcp(server);
  std::string error;
  ASSERT_EQ(tcp.Start("127.0.0.1", 0, &error), S_OK) << error;
  const auto outing = Open(u"rt://127.0.0.1:" + Utf8ToWide(std::to_string(tcp.port())) + u"/Pit");
  uint32_t type = 0;
  ASSERT_EQ(outing->GetOutingType(&type), S_OK);
  EXPECT_EQ(type, 4u);
  EXPECT_EQ(outing->SetTimeOffset(10), E_FAIL);
  EXPECT_EQ(outing->SetHistoryMode(KIV_TRUE), S_FALSE) << "kept for the first reset";
  std::u16string caption;
  ASSERT_EQ(outing->GetCaption(&caption), S_OK);
  EXPECT_EQ(caption, u"<---:---:--->");
  KivClientThread::Current().RunUntil([&] { return server->data().history_mode(); }, std::chrono::seconds(10));
  EXPECT_TRUE(server->data().history_mode()) << "taken at the reset";
  ASSERT_EQ(outing->GetCaption(&caption), S_OK);
  EXPECT_EQ(caption, u"<004:003:?\?\?>") << "no lap marker yet";
  ComPtr<IKivPropertySet> information;
  ASSERT_EQ(outing->GetOutingInformation(information.Put()), S_OK);
  Variant value;
  ASSERT_EQ(information->GetProperty(u"Session number", &value), S_OK);
  EXPECT_EQ(value.ToDouble().value_or(0), 4);
  ASSERT_EQ(information->GetProperty(u"System", &value), S_OK) << "\"Source\" in any case is stored as \"System\"";
  EXPECT_EQ(*value.AsText(), u"Logger 7");
  EXPECT_EQ(information->SetProperty(u"System", value), E_ACCESSDENIED);
  auto* asOuting = static_cast<IKivOuting*>(outing.Get());
  BoundSelection bound(asOuting);
  auto channels = QueryAs<IKivChannelFactory>(asOuting);
  ComPtr<IKivChannel> channel;
  ComPtr<IKivChannelIterator2> iterator;
  ComPtr<IKivDataBlocks> blocks;
  uint32_t blockCount = 0;
  EXPECT_EQ(channels->GetItem(u"Nope", channel.Put()), E_FAIL);
  ASSERT_EQ(channels->GetItem(u"[0]Speed", channel.Put()), S_OK);
  ASSERT_EQ(channel->GetIterator(iterator.Put()), S_OK) << "read on the client thread, at once";
  ASSERT_EQ(iterator->GetDataBlocks(blocks.Put()), S_OK);
  ASSERT_EQ(blocks->GetCount(&blockCount), S_OK);
  EXPECT_EQ(blockCount, 1u);
  ComPtr<IKivEventSet> set;
  ComPtr<IKivEventsIterator> eventIterator;
  ASSERT_EQ(QueryAs<IKivEventsFactory>(asOuting)->GetItem(u"Pit", set.Put()), S_OK);
  EXPECT_EQ(set->GetIterator(eventIterator.Put()), KIV_E_PENDING) << "nothing held: everything is asked for";
  EXPECT_EQ(set->GetIterator(eventIterator.Put()), S_OK);
  NameList constantNames;
  ASSERT_EQ(QueryAs<IKivConstantFactory>(asOuting)->GetNames(&constantNames), S_OK);
  EXPECT_EQ(constantNames, NameList{u"Wheelbase"});
  ComPtr<IKivBlob> blob;
  std::vector<uint8_t> bytes;
  std::u16string blobType;
  ASSERT_EQ(QueryAs<IKivBlobFactory>(asOuting)->GetItem(u"defs", blob.Put()), S_OK);
  ASSERT_EQ(blob->GetData(&bytes), S_OK);
  EXPECT_EQ(bytes, (std::vector<uint8_t>{1, 2, 3}));
  ASSERT_EQ(blob->GetGuid(&blobType), S_OK);
  EXPECT_EQ(blobType, kStatusDefinitionsBlobType.ToWide());
  auto laps = QueryAs<IKivLapMarkers>(asOuting);
  KivTime time = 0;
  EXPECT_EQ(laps->GetOutingStart(&time), E_FAIL) << "no range told yet";
  server->data().AddLapMarker(rt::WireLapMarker{1, 300, 0, 0, 1, 1});
  server->PushLapMarker(1, 300);
  server->PushTimeRange(0, 490);
  KivClientThread::Current().RunUntil([&] { return laps->GetOutingEnd(&time) == S_OK; }, std::chrono::seconds(10));
  EXPECT_EQ(time, 490);
  uint32_t markers = 0;
  ASSERT_EQ(laps->GetLapMarkerCount(&markers), S_OK);
  EXPECT_EQ(markers, 1u);
  ASSERT_EQ(laps->GetLapMarkerTime(1, &time), S_OK);
  EXPECT_EQ(time, 300);
  EXPECT_EQ(laps->GetFirstMovement(&time), S_FALSE) << "the server knows no movement";
  EXPECT_EQ(outing->Begin(), S_OK);
  EXPECT_EQ(outing->Commit(), S_OK);
  EXPECT_EQ(outing->Rollback(), static_cast<KivResult>(0x8004F00F));
  ComPtr<IKivStatusChannelDefinitions> tree;
  ASSERT_EQ(outing->GetStatusChannelDefinitions(tree.Put()), S_OK);
  int32_t count = -1;
  ASSERT_EQ(tree->GetCount(&count), S_OK);
  EXPECT_EQ(count, 0) << "a definitions blob the reader refuses gives an empty tree, not an error";
}

}  // namespace
}  // namespace velmar::testing
