#include "sources/tarn/tarn_outing.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "config/status_channel_definitions.h"
#include "velmar/channel.h"
#include "outing/cache/outing_source.h"
#include "support/data_listener.h"
#include "support/selection_binding.h"
#include "sources/tarn/tarn_convert.h"
#include "tarn_outing_helper.h"

namespace velmar::testing {
namespace {

TEST_F(TarnOutingTest, TheOutingAnnouncesItselfOnceLoaded) {
  std::u16string path = Write(SampleDataSet());
  OpenListened(path);
  ComPtr<IKivPropertySet> info;
  EXPECT_EQ(outing_->GetOutingInformation(info.Put()), S_FALSE);
  EXPECT_FALSE(info);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(listener_->log, (std::vector<std::string>{"InformationChanged", "LapMarkersReset",
                                                     "LapMarkersChanged:0,1000000000",
                                                     "LapMarkersShifted:50000000,950000000"}));
  ASSERT_EQ(outing_->GetOutingInformation(info.Put()), S_OK);
  Variant driver;
  EXPECT_EQ(info->GetProperty(u"Driver name", &driver), S_OK);
  EXPECT_EQ(*driver.AsText(), u"A. Driver");
  EXPECT_EQ(outing_->GetOutingInformation(nullptr), E_POINTER);
}

TEST_F(TarnOutingTest, AChannelAskedForBeforeTheListIsInStartsTheListsLoad) {
  OpenListened(Write(SampleDataSet()));
  auto channels = Facet<IKivChannelFactory>();
  ASSERT_TRUE(channels);
  ComPtr<IKivChannel> channel;
  EXPECT_EQ(channels->GetItem(u"[3]Speed", channel.Put()), E_INVALIDARG);
  EXPECT_EQ(channels->GetItem(u"[3]Speed", nullptr), E_POINTER);
  ASSERT_TRUE(Settle());
  auto added = std::find(listener_->log.begin(), listener_->log.end(), "ItemsAdded:[0]Gear,[3]Speed");
  EXPECT_NE(added, listener_->log.end());
  NameList names;
  ASSERT_EQ(channels->GetNames(&names), S_OK);
  EXPECT_EQ(names, (NameList{u"[0]Gear", u"[3]Speed"}));
  EXPECT_EQ(channels->GetItem(u"[9]Nothing", channel.Put()), E_INVALIDARG);
}

TEST_F(TarnOutingTest, AChannelsSamplesAreFetchedOnItsFirstIteratorAndComeShifted) {
  OpenListened(Write(SampleDataSet()));
  BoundSelection bound(outing_.Get());
  auto channels = Listed<IKivChannelFactory>();
  ComPtr<IKivChannel> speed, again;
  ASSERT_EQ(channels->GetItem(u"[3]Speed", speed.Put()), S_OK);
  ASSERT_EQ(channels->GetItem(u"[3]Speed", again.Put()), S_OK);
  EXPECT_EQ(speed.Get(), again.Get()) << "one object per name";
  ASSERT_EQ(outing_->SetTimeOffset(kS), S_OK);
  ComPtr<IKivChannelIterator2> iterator;
  EXPECT_EQ(speed->GetIterator(iterator.Put()), KIV_E_PENDING);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(speed->GetIterator(iterator.Put()), S_OK);
  ComPtr<IKivDataBlocks> blocks;
  ASSERT_EQ(iterator->GetDataBlocks(blocks.Put()), S_OK);
  uint32_t count = 0;
  ASSERT_EQ(blocks->GetCount(&count), S_OK);
  ASSERT_EQ(count, 2u);
  ComPtr<IKivDataBlock> second;
  ASSERT_EQ(blocks->GetBlock(2, second.Put()), S_OK);
  KivTime start = 0, end = 0;
  ASSERT_EQ(second->GetStartTime(&start), S_OK);
  ASSERT_EQ(second->GetEndTime(&end), S_OK);
  EXPECT_EQ(start, 51 * kS) << "the outing's offset applies";
  EXPECT_EQ(end, 52 * kS);
  KivBool continuous = 0;
  ASSERT_EQ(second->GetContinuous(&continuous), S_OK);
  EXPECT_TRUE(FromKivBool(continuous));
  double value = 0;
  EXPECT_EQ(iterator->GetValueAtTime(52 * kS, 0, 0, &value), S_OK);
  EXPECT_EQ(value, 50.0);
  iterator = nullptr;
  again = nullptr;
  speed = nullptr;
}

TEST_F(TarnOutingTest, LapMarkersReadFromTheStore) {
  OpenListened(Write(SampleDataSet()));
  auto laps = Facet<IKivLapMarkers>();
  uint32_t count = 7;
  EXPECT_EQ(laps->GetLapMarkerCount(&count), S_OK);
  EXPECT_EQ(count, 0u) << "nothing until read";
  KivTime t = 0;
  EXPECT_EQ(laps->GetOutingStart(&t), E_FAIL);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(laps->GetLapMarkerCount(&count), S_OK);
  EXPECT_EQ(count, 3u);
  ASSERT_EQ(laps->GetLapMarkerTime(1, &t), S_OK);
  EXPECT_EQ(t, 20 * kS);
  EXPECT_EQ(laps->GetLapMarkerTime(0, &t), DISP_E_BADINDEX);
  EXPECT_EQ(laps->GetLapMarkerTime(4, &t), DISP_E_BADINDEX);
  uint32_t number = 0;
  ASSERT_EQ(laps->GetLapMarkerNumber(2, &number), S_OK);
  EXPECT_EQ(number, 2u);
  KivBool halt = 0;
  ASSERT_EQ(laps->IsCarHalt(3, &halt), S_OK);
  EXPECT_TRUE(FromKivBool(halt));
  ASSERT_EQ(laps->IsCarHalt(1, &halt), S_OK);
  EXPECT_FALSE(FromKivBool(halt));
  double origin = 0;
  ASSERT_EQ(laps->GetDistanceOrigin(&origin), S_OK);
  EXPECT_EQ(origin, 12.5);
  ASSERT_EQ(laps->GetFirstMovement(&t), S_OK);
  EXPECT_EQ(t, 5 * kS);
  ASSERT_EQ(laps->GetOutingEnd(&t), S_OK);
  EXPECT_EQ(t, 100 * kS);
  EXPECT_EQ(laps->GetOutingEnd(nullptr), E_POINTER);
}

TEST_F(TarnOutingTest, TwoOutingObjectsShareOneCacheAndCloseDataReachesBoth) {
  std::u16string path = Write(SampleDataSet());
  OpenListened(path);
  ComPtr<CTarnOuting> second = Open(path);
  EXPECT_EQ(second->cache(), outing_->cache());
  OutingListener secondListener(static_cast<IKivOuting*>(second.Get()));
  (void)Listed<IKivChannelFactory>();
  EXPECT_NE(std::find(secondListener.log.begin(), secondListener.log.end(), "ItemsAdded:[0]Gear,[3]Speed"),
            secondListener.log.end())
      << "the list reaches every outing";
  listener_->log.clear();
  EXPECT_EQ(second->CloseData(), S_OK);
  EXPECT_EQ(listener_->log, std::vector<std::string>{"LapMarkersReset"});
  ASSERT_TRUE(Settle());
  EXPECT_EQ(listener_->log.size(), 1u) << "same channels again: nothing added or removed";
}

TEST_F(TarnOutingTest, AReloadAfterARewriteServesTheNewSamplesThroughTheKeptChannel) {
  std::u16string path = Write(SampleDataSet());
  OpenListened(path);
  BoundSelection bound(outing_.Get());
  auto channels = Listed<IKivChannelFactory>();
  ComPtr<IKivChannel> speed;
  ASSERT_EQ(channels->GetItem(u"[3]Speed", speed.Put()), S_OK);
  auto valueAt51 = [&] {
    ComPtr<IKivChannelIterator2> iterator;
    if (speed->GetIterator(iterator.Put()) == KIV_E_PENDING) {
      EXPECT_TRUE(Settle());
    }
    double value = 0;
    EXPECT_EQ(speed->GetIterator(iterator.Put()), S_OK);
    if (iterator) {
      EXPECT_EQ(iterator->GetValueAtTime(51 * kS, 0, 0, &value), S_OK);
    }
    return value;
  };
  EXPECT_EQ(valueAt51(), 50.0);
  std::vector<std::string> heard;
  CDataListener listener(&heard);
  ASSERT_TRUE(listener.Connect(QueryAs<IKivData>(speed.Get()).Get(), false));

  TarnDataSet changed = SampleDataSet();
  changed.channels[0].blocks[1].values = {41.0, 51.0};
  ASSERT_EQ(WriteTarnDataSet(path, changed), S_OK);
  ASSERT_EQ(outing_->CloseData(), S_OK);
  ASSERT_TRUE(Settle());
  ComPtr<IKivChannel> again;
  ASSERT_EQ(channels->GetItem(u"[3]Speed", again.Put()), S_OK);
  EXPECT_EQ(again.Get(), speed.Get()) << "same store channel: the object is kept";
  ASSERT_GE(heard.size(), 2u) << "dropped with the reload, then changed again by the new list";
  for (const std::string& line : heard) EXPECT_EQ(line.rfind("changed:", 0), 0u) << line;
  EXPECT_EQ(valueAt51(), 51.0) << "the old samples are gone";
}

TEST_F(TarnOutingTest, TheSourceRegistersForTypeOne) {
  std::shared_ptr<IOutingSource> previous = FindOutingSource(OutingType::kTarn);
  ASSERT_EQ(RegisterTarnOutingSource(), S_OK);
  std::shared_ptr<IOutingSource> source = FindOutingSource(OutingType::kTarn);
  ASSERT_TRUE(source);
  OpenedOuting opened;
  ASSERT_EQ(source->Open(Write(SampleDataSet()), kTarnType, false, &opened), S_OK);
  uint32_t type = 0;
  EXPECT_EQ(opened.outing->GetOutingType(&type), S_OK);
  EXPECT_EQ(type, 1u);
  std::u16string id;
  EXPECT_EQ(opened.outing.As<IKivOuting4>()->GetOutingId(&id), S_OK);
  EXPECT_EQ(id, kTarnType.ToWide());
  opened = {};
  ASSERT_TRUE(Settle());
  ASSERT_EQ(RegisterOutingSource(OutingType::kTarn, previous), S_OK);
}

TEST_F(TarnOutingTest, StatusDefinitionsAreReadOnTheStoreThreadAndToldWhenBuilt) {
  const std::u16string path = Write(SampleDataSet());
  ComPtr<IKivStatusChannelDefinitions> tree;
  OpenListened(path);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(outing_->GetStatusChannelDefinitions(tree.Put()), E_FAIL);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(outing_->GetStatusChannelDefinitions(tree.Put()), E_FAIL) << "no definitions blob: every call tries again";
  ASSERT_TRUE(Settle());
  outing_ = nullptr;
  listener_.reset();
  ASSERT_TRUE(Settle());  // the store lets go of the file on its own thread
  const auto blob = WriteStatusDefinitionsBlob({{u"[3]Speed", 4, {}}, {u"Nothing", 1, {}}});
  WriteThroughStore<IKivTarnBlobWriter>(path, [&](IKivTarnBlobWriter& writer) {
    const TarnBlobRecord record{0, &kStatusDefinitionsBlobType, u"defs", blob.data(), static_cast<uint32_t>(blob.size()), {}};
    std::vector<uint64_t> ids;
    ASSERT_EQ(writer.AddBlobs(1, &record, &ids), S_OK);
  });
  OpenListened(path);
  EXPECT_EQ(outing_->GetStatusChannelDefinitions(tree.Put()), E_FAIL);
  EXPECT_EQ(outing_->GetStatusChannelDefinitions(tree.Put()), E_FAIL) << "the first read is cancelled, one more runs";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(std::count(listener_->log.begin(), listener_->log.end(), "Reloaded"), 1);
  ASSERT_EQ(outing_->GetStatusChannelDefinitions(tree.Put()), S_OK);
  int32_t count = 0;
  ASSERT_EQ(tree->GetCount(&count), S_OK);
  EXPECT_EQ(count, 1) << "a definition whose name matches no channel is left out";
}

}  // namespace
}  // namespace velmar::testing
