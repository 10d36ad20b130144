#include "sources/tarn/tarn_outing_cache.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "sources/tarn/tarn_convert.h"
#include "tarn_outing_helper.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

namespace p = tarn_property;

// An outing object as the cache sees it: it writes down every call.
class RecordingOuting final : public KivObject<ITarnOutingStateChanges> {
 public:
  std::vector<std::string> log;

  void OnDataDiscarded() override { log.push_back("discarded"); }
  void OnInformationLoaded(bool changed) override { log.push_back(changed ? "loaded:1" : "loaded:0"); }
  void OnChannelsLoaded() override { log.push_back("channels"); }
  void OnLapMarkersReset() override { log.push_back("laps-reset"); }
  void OnLapMarkersChanged(KivTime, KivTime) override { log.push_back("laps-changed"); }
  void OnLapMarkersShifted(KivTime, KivTime) override { log.push_back("laps-shifted"); }
  void OnCreatedNotify(bool success) override { log.push_back(success ? "created:1" : "created:0"); }
  void OnTransactionBegin() override {}
  void OnTransactionEnd() override {}
  void OnTransactionProgress(uint32_t, uint32_t) override {}
  void OnTransactionStatus(const std::u16string&) override {}
  void OnInformationChanged() override { log.push_back("information"); }
  void OnChannelsRemoved(const NameList&) override {}
  void OnChannelsAdded(const NameList&) override {}
  void OnWriterMessage(uint32_t, const std::u16string&) override {}
  KivResult GetSelectionBinding(IKivUnknown** binding) override {
    *binding = nullptr;
    return S_FALSE;
  }
  void OnChannelListRead(const TarnChannelMap& channels) override { Count("channel-list:", channels.size()); }
  void OnEventNamesRead(const std::vector<TarnNamedItem>& names) override { Count("event-names:", names.size()); }
  void OnConstantsRead(const std::vector<TarnConstant>& constants) override { Count("constants:", constants.size()); }
  void OnBlobListRead(const std::vector<TarnNamedItem>& blobs) override { Count("blobs:", blobs.size()); }
  void OnMediaChannelListRead(const TarnMediaChannelMap& channels) override { Count("media:", channels.size()); }
  void OnStatusChannelDefinitionsReady() override { log.push_back("status-definitions"); }
  void Count(const char* list, size_t size) { log.push_back(list + std::to_string(size)); }
};

// What waits for one item's data.
struct ItemClient : ITarnItemDataClient {
  void OnItemDataReady(bool succeeded, KivTime from, KivTime to) override {
    ready.push_back(succeeded);
    EXPECT_EQ(from, kTimeMin);
    EXPECT_EQ(to, kTimeMax);
  }
  void OnItemDataDropped() override { ++dropped; }
  std::vector<bool> ready;
  int dropped = 0;
};

class TarnOutingCacheTest : public TarnTest {
 protected:
  void TearDown() override {
    if (cache_) cache_->Detach(outing_.Get());
    cache_ = nullptr;
    TarnTest::TearDown();
  }
  void Make(const std::u16string& path) {
    cache_ = MakeKiv<CTarnOutingCache>(path, kTarnType);
    cache_->Attach(outing_.Get());
  }
  ComPtr<IKivPropertySet> Information() {
    ComPtr<IKivPropertySet> info;
    EXPECT_EQ(cache_->GetInformation(info.Put()), S_OK);
    return info;
  }

  ComPtr<RecordingOuting> outing_ = MakeKiv<RecordingOuting>();
  ComPtr<CTarnOutingCache> cache_;
};

TEST_F(TarnOutingCacheTest, TheDetailsThenTheLapMarkersLoadAndTheOutingIsAnnouncedOnce) {
  Make(Write(SampleDataSet()));
  ComPtr<IKivPropertySet> none;
  EXPECT_EQ(cache_->GetInformation(none.Put()), S_FALSE);
  EXPECT_FALSE(none);
  EXPECT_FALSE(cache_->loaded());
  ASSERT_TRUE(Settle());
  EXPECT_EQ(outing_->log, (std::vector<std::string>{"information", "laps-reset", "laps-changed", "laps-shifted"}));
  EXPECT_TRUE(cache_->loaded());
  ComPtr<IKivPropertySet> info = Information();
  ASSERT_TRUE(info);
  Variant track;
  EXPECT_EQ(info->GetProperty(std::u16string(p::kTrackName), &track), S_OK);
  EXPECT_EQ(*track.AsText(), u"Lakeside");
  EXPECT_EQ(info->SetProperty(std::u16string(p::kTrackName), Variant::Text(u"x")), KIV_E_TXN_NOT_OPEN) << "an edit needs a transaction";
  Variant missing;
  EXPECT_EQ(info->GetProperty(u"No such", &missing), E_INVALIDARG);
  const TarnLapData* laps = cache_->LapData();
  ASSERT_NE(laps, nullptr);
  EXPECT_EQ(laps->markers.size(), 3u);
  EXPECT_EQ(cache_->GetCaption(), std::u16string(kEmptyOutingCaption));
}

TEST_F(TarnOutingCacheTest, AnUnknownFormatVersionShowsInTheCaption) {
  std::u16string path = Write(SampleDataSet());
  SetFormatVersion(path, 7);
  Make(path);
  ASSERT_TRUE(Settle());
  EXPECT_TRUE(cache_->unknown_version());
  EXPECT_EQ(cache_->GetCaption(), u"Unknown File Version");
  ComPtr<IKivPropertySet> info;
  EXPECT_EQ(cache_->GetInformation(info.Put()), S_FALSE);
  ASSERT_TRUE(Settle());
  EXPECT_FALSE(cache_->loaded());
}

TEST_F(TarnOutingCacheTest, AMissingFileLeavesTheOutingWithoutInformation) {
  Make(PathOf("missing.trn"));
  ASSERT_TRUE(Settle());
  EXPECT_EQ(cache_->open_result(), STG_E_FILENOTFOUND);
  EXPECT_EQ(cache_->ChannelList(), nullptr);
  ComPtr<IKivPropertySet> info;
  EXPECT_EQ(cache_->GetInformation(info.Put()), S_FALSE);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(cache_->ChannelList(), nullptr) << "every read fails without a file";
  EXPECT_TRUE(outing_->log.empty());
}

TEST_F(TarnOutingCacheTest, ListsAreReadOnFirstDemandAndReachEveryOuting) {
  Make(Write(SampleDataSet()));
  auto second = MakeKiv<RecordingOuting>();
  cache_->Attach(second.Get());
  ASSERT_TRUE(Settle());
  EXPECT_EQ(cache_->ChannelList(), nullptr);
  EXPECT_EQ(cache_->EventNames(), nullptr);
  EXPECT_EQ(cache_->Constants(), nullptr);
  EXPECT_EQ(cache_->BlobList(), nullptr);
  EXPECT_EQ(cache_->MediaChannelList(), nullptr);
  ASSERT_TRUE(Settle());
  for (const auto& outing : {outing_, second}) {
    std::vector<std::string> lists(outing->log.begin() + 4, outing->log.end());  // after the load's four
    EXPECT_EQ(lists,
              (std::vector<std::string>{"channel-list:2", "event-names:2", "constants:2", "blobs:1", "media:0"}));
  }
  ASSERT_NE(cache_->ChannelList(), nullptr);
  EXPECT_EQ(cache_->ChannelList()->size(), 2u);
  EXPECT_EQ(cache_->Constants()->at(1).text, u"wet");
  cache_->Detach(second.Get());
}

TEST_F(TarnOutingCacheTest, ChannelDataIsReadOnceForEveryClientAndKept) {
  Make(Write(SampleDataSet()));
  (void)cache_->ChannelList();
  ASSERT_TRUE(Settle());
  ChannelClient a(outing_.Get()), b(outing_.Get());
  CChannelKey speed(u"Speed", 3);
  std::shared_ptr<const ChannelSections> sections;
  CChannelDataCache& data = *cache_->channel_data();
  EXPECT_EQ(data.GetChannelData(&a, speed, &sections), S_FALSE);
  EXPECT_EQ(data.GetChannelData(&a, speed, &sections), S_FALSE);
  EXPECT_EQ(data.GetChannelData(&b, speed, &sections), S_FALSE);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(a.told, std::vector<bool>{true}) << "a client is told once";
  EXPECT_EQ(b.told, std::vector<bool>{true});
  ASSERT_EQ(data.GetChannelData(&a, speed, &sections), S_OK);
  ASSERT_TRUE(sections);
  EXPECT_EQ(sections->size(), 2u);
  EXPECT_EQ(data.machine(speed)->fetches(), 1);
  // A key the list doesn't have: no fetch can be made.
  ChannelClient c(outing_.Get());
  EXPECT_TRUE(Failed(data.GetChannelData(&c, CChannelKey(u"None", 0), &sections)));
  for (ChannelClient* client : {&a, &b, &c}) data.RemoveClient(client);
}

TEST_F(TarnOutingCacheTest, EventAndBlobDataComeTheSameWay) {
  Make(Write(SampleDataSet()));
  (void)cache_->EventNames();
  (void)cache_->BlobList();
  ASSERT_TRUE(Settle());
  ItemClient events, blob, bad;
  const CGetCachedEventsJobItem* eventData = nullptr;
  const CGetBlobDataJobItem* blobData = nullptr;
  EXPECT_EQ(cache_->GetEventData(&events, cache_->EventNames()->at(0).id, &eventData), S_FALSE);
  EXPECT_EQ(cache_->GetBlobData(&blob, cache_->BlobList()->at(0).id, &blobData), S_FALSE);
  EXPECT_EQ(cache_->GetBlobData(&bad, 999, &blobData), S_FALSE);
  ASSERT_TRUE(Settle());
  EXPECT_EQ(events.ready, std::vector<bool>{true});
  EXPECT_EQ(blob.ready, std::vector<bool>{true});
  EXPECT_EQ(bad.ready, std::vector<bool>{false}) << "a failed read is told as such";
  ASSERT_EQ(cache_->GetBlobData(&blob, cache_->BlobList()->at(0).id, &blobData), S_OK);
  EXPECT_EQ(blobData->bytes().size(), 4u);
  for (ItemClient* c : {&events, &blob, &bad}) cache_->ForgetClient(c);
}

TEST_F(TarnOutingCacheTest, CloseDataReadsTheFileAgainAndDropsItemData) {
  std::u16string path = Write(SampleDataSet());
  Make(path);
  (void)cache_->ChannelList();
  ASSERT_TRUE(Settle());
  ChannelClient client(outing_.Get());
  CChannelKey gear(u"Gear", 0);
  std::shared_ptr<const ChannelSections> sections;
  CChannelDataCache& data = *cache_->channel_data();
  EXPECT_EQ(data.GetChannelData(&client, gear, &sections), S_FALSE);
  ASSERT_TRUE(Settle());
  ASSERT_EQ(data.GetChannelData(&client, gear, &sections), S_OK);

  TarnDataSet changed = SampleDataSet();
  changed.channels.push_back(changed.channels[0]);
  changed.channels.back().name = u"Throttle";
  changed.details[std::u16string(p::kDriverName)] = Variant::Text(u"B. Driver");
  ASSERT_EQ(WriteTarnDataSet(path, changed), S_OK);
  outing_->log.clear();
  cache_->CloseData();
  EXPECT_EQ(data.machine(gear)->state(), CChannelDataCacheStateMachine::State::kIdle) << "samples dropped";
  EXPECT_EQ(client.dropped, 1) << "and the channel told so";
  EXPECT_FALSE(cache_->loaded());
  EXPECT_EQ(outing_->log, std::vector<std::string>{"laps-reset"});
  ASSERT_TRUE(Settle());
  ComPtr<IKivPropertySet> info;
  EXPECT_EQ(cache_->GetInformation(info.Put()), S_FALSE) << "the lap markers went";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(outing_->log,
            (std::vector<std::string>{"laps-reset", "channel-list:3", "information", "laps-reset", "laps-changed",
                                      "laps-shifted", "information"}))
      << "the record read again after the laps has a new driver: told once more";
  EXPECT_TRUE(cache_->loaded());
  ASSERT_EQ(cache_->GetInformation(info.Put()), S_OK);
  Variant driver;
  ASSERT_EQ(info->GetProperty(std::u16string(p::kDriverName), &driver), S_OK);
  EXPECT_EQ(driver, Variant::Text(u"B. Driver"));
  EXPECT_EQ(data.GetChannelData(&client, gear, &sections), S_FALSE) << "read again on demand";
  ASSERT_TRUE(Settle());
  EXPECT_EQ(client.told, (std::vector<bool>{true, true}));
  data.RemoveClient(&client);
}

TEST_F(TarnOutingCacheTest, TheFastLapFilterWorksTheFastLapOutOfTheMarkers) {
  Make(Write(SampleDataSet()));  // laps of 30 s and 40 s between the markers
  ASSERT_TRUE(Settle());
  Variant number, time;
  EXPECT_EQ(Information()->GetProperty(std::u16string(p::kFastLapNumber), &number), E_INVALIDARG);
  cache_->SetFastLapMinimumTime(10 * kS);
  cache_->SetFastLapFilter(true);
  EXPECT_TRUE(cache_->caption_dirty());
  ASSERT_EQ(Information()->GetProperty(std::u16string(p::kFastLapNumber), &number), S_OK);
  ASSERT_EQ(Information()->GetProperty(std::u16string(p::kFastLapTime), &time), S_OK);
  EXPECT_EQ(number.AsU32(), 2u) << "the first lap number plus the index";
  EXPECT_EQ(time.AsTime(), 30 * kS);
  cache_->SetFastLapMinimumTime(35 * kS);
  ASSERT_EQ(Information()->GetProperty(std::u16string(p::kFastLapTime), &time), S_OK);
  EXPECT_EQ(time.AsTime(), 40 * kS);
  cache_->SetFastLapMinimumTime(60 * kS);
  ASSERT_EQ(Information()->GetProperty(std::u16string(p::kFastLapNumber), &number), S_OK);
  EXPECT_EQ(number.AsU32(), 0u) << "no lap qualifies";
}

TEST_F(TarnOutingCacheTest, ACacheThatGoesWithReadsInFlightReachesNobody) {
  std::u16string path = Write(SampleDataSet());
  {
    StoreThreadGate gate;
    Make(path);
    (void)cache_->ChannelList();
    cache_->Detach(outing_.Get());
    cache_ = nullptr;
  }
  ASSERT_TRUE(Settle());
  EXPECT_TRUE(outing_->log.empty());
}

TEST_F(TarnOutingCacheTest, CreateDataSetMakesTheFileAndTellsTheOutingThatAsked) {
  std::u16string path = PathOf("new.trn");
  Make(path);
  ASSERT_TRUE(Settle());
  ASSERT_TRUE(cache_->CreateDataSet());
  EXPECT_FALSE(cache_->CreateDataSet()) << "one creation per cache";
  ASSERT_TRUE(Settle());
  EXPECT_TRUE(std::filesystem::exists(WideToUtf8(path)));
  EXPECT_EQ(outing_->log, (std::vector<std::string>{"created:1", "information", "laps-reset", "laps-changed", "laps-shifted"}));
  EXPECT_TRUE(Information());
}

}  // namespace
}  // namespace velmar::testing
