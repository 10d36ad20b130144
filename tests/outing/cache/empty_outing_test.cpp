#include "outing/cache/empty_outing.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "outing/cache/outing_cache_registry.h"
#include "outing/cache/outing_impl.h"
#include "support/got.h"
#include "support/outing_listener.h"
#include "support/temp_dir.h"
#include "velmar/lap_markers.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using ::testing::IsEmpty;

constexpr Guid kTextType = Guid::Literal("{3F4B8C0F-F636-4c4b-A8B3-98BF06470C97}");
constexpr Guid kMatType = Guid::Literal("{F44BF473-A14F-44c7-B9A0-EDD2DBDABCA7}");

COutingCacheRegistry<CEmptyOutingCache>& Registry() { return COutingCacheRegistry<CEmptyOutingCache>::Instance(); }

class EmptyOutingTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(OpenEmptyOuting(path_, kTextType, false, outing_.Put()), S_OK); }
  void TearDown() override {
    outing_ = nullptr;
    EXPECT_EQ(Registry().Find(path_), nullptr) << "the last outing takes its cache out";
  }

  TempDir dir_;
  const std::u16string path_ = Utf8ToWide((dir_ / "missing.txt").string());
  ComPtr<IKivOuting> outing_;
};

TEST_F(EmptyOutingTest, DescribesItselfAsTheEmptyOutingOfItsPath) {
  EXPECT_EQ(Got(outing_, &IKivOuting::GetCaption), u"<---:---:--->");
  EXPECT_EQ(Got(outing_, &IKivOuting::GetFileName), path_);
  EXPECT_EQ(Got(outing_, &IKivOuting::GetOutingType), 0u);
  EXPECT_EQ(Got(outing_.As<IKivOuting2>(), &IKivOuting2::GetOutingId), u"{3F4B8C0F-F636-4C4B-A8B3-98BF06470C97}")
      << "the GUID passed in";
  EXPECT_EQ(Got(outing_.As<IKivOuting4>(), &IKivOuting4::GetOverrideProperties), KIV_FALSE);
  auto* outing = static_cast<CEmptyOuting*>(outing_.Get());
  outing->cache()->InvalidateCaption();
  EXPECT_EQ(outing->cache()->GetCaption(), u"<---:---:--->") << "a rebuild writes the same text";
  EXPECT_FALSE(outing->cache()->caption_dirty());
}

TEST_F(EmptyOutingTest, HasNothingToGiveCloseOrShift) {
  OutingListener heard(outing_.Get());
  IKivPropertySet* information = reinterpret_cast<IKivPropertySet*>(0x1);
  EXPECT_EQ(outing_->GetOutingInformation(&information), S_FALSE);
  EXPECT_EQ(information, nullptr);
  EXPECT_EQ(outing_->CloseData(), S_FALSE);
  EXPECT_EQ(outing_->CloseData(), S_FALSE);
  EXPECT_EQ(outing_->SetTimeOffset(10 * kTicksPerSecond), S_FALSE);
  IKivStatusChannelDefinitions* definitions = nullptr;
  EXPECT_EQ(outing_.As<IKivOuting3>()->GetStatusChannelDefinitions(&definitions), E_NOTIMPL);
  EXPECT_THAT(heard.log, IsEmpty()) << "nothing changed, so nothing is told";
  EXPECT_EQ(static_cast<CEmptyOuting*>(outing_.Get())->time_offset(), 0);
}

template <class Factory, class Item>
void ExpectEmptyFactory(IKivOuting* outing) {
  ComPtr<Factory> factory = QueryAs<Factory>(outing);
  ASSERT_TRUE(factory);
  EXPECT_THAT(Got(factory, &Factory::GetNames), IsEmpty());
  EXPECT_EQ(factory->GetNames(nullptr), E_POINTER);
  Item* item = reinterpret_cast<Item*>(0x1);
  EXPECT_EQ(factory->GetItem(u"Speed", &item), E_FAIL);
  EXPECT_EQ(item, nullptr);
  EXPECT_EQ(factory->GetItem(u"", &item), E_FAIL);
  EXPECT_EQ(factory->GetItem(u"Speed", nullptr), E_POINTER);
  IKivUnknown* icon = reinterpret_cast<IKivUnknown*>(0x1);
  EXPECT_EQ(factory->GetIcon(0, 16, &icon), E_FAIL);
  EXPECT_EQ(icon, nullptr);
}

TEST_F(EmptyOutingTest, FactoriesListNothingAndGiveNothing) {
  ExpectEmptyFactory<IKivChannelFactory, IKivChannel>(outing_.Get());
  ExpectEmptyFactory<IKivEventsFactory, IKivEventSet>(outing_.Get());
  ExpectEmptyFactory<IKivConstantFactory, IKivConstant>(outing_.Get());
}

TEST_F(EmptyOutingTest, LapMarkersCountZeroAndHaveNoSpan) {
  auto laps = outing_.As<IKivLapMarkers>();
  ASSERT_TRUE(laps);
  EXPECT_EQ(Got(laps, &IKivLapMarkers::GetLapMarkerCount), 0u);
  EXPECT_EQ(Got(laps, &IKivLapMarkers::GetDistanceOrigin), 0.0);
  KivTime time = 5;
  EXPECT_EQ(laps->GetOutingStart(&time), E_FAIL);
  EXPECT_EQ(time, 0);
  EXPECT_EQ(laps->GetOutingEnd(&time), E_FAIL);
  EXPECT_EQ(laps->GetFirstMovement(&time), E_FAIL);
  EXPECT_EQ(laps->GetLastMovement(&time), E_FAIL);
  EXPECT_EQ(laps->GetLapMarkerTime(1, &time), E_FAIL);
  uint32_t number = 0;
  EXPECT_EQ(laps->GetLapMarkerNumber(1, &number), E_FAIL);
  KivBool halt = KIV_TRUE;
  EXPECT_EQ(laps->IsCarHalt(1, &halt), E_FAIL);
  EXPECT_EQ(halt, KIV_FALSE);
  EXPECT_EQ(laps->GetLapMarkerCount(nullptr), E_POINTER);
  EXPECT_EQ(laps->GetLapMarkerTime(1, nullptr), E_POINTER);
  EXPECT_EQ(laps->GetOutingStart(nullptr), E_POINTER);
}

TEST_F(EmptyOutingTest, LapMarkerEditsAreRefused) {
  auto writer = outing_.As<IKivLapMarkerWriter>();
  ASSERT_TRUE(writer);
  EXPECT_EQ(writer->AddLapMarkerAtTime(0), E_INVALIDARG) << "no time lies inside an empty outing";
  EXPECT_EQ(writer->AddLapMarkerAtDistance(100.0), E_FAIL);
  EXPECT_EQ(writer->RemoveLapMarker(1), E_FAIL);
  EXPECT_EQ(writer->ShiftLapMarkers(5.0), E_FAIL);
  EXPECT_EQ(writer->ResetLapMarkers(), E_FAIL);
}

TEST_F(EmptyOutingTest, CreateDataSetTestsTheFolderAndAnswersFalse) {
  auto* outing = static_cast<CEmptyOuting*>(outing_.Get());
  EXPECT_FALSE(outing->cache()->CreateDataSet());
  EXPECT_TRUE(std::filesystem::is_empty(dir_.path())) << "the test file went at once; no data set was made";
}

TEST_F(EmptyOutingTest, RepeatedRequestsForOnePathShareOneCache) {
  ComPtr<IKivOuting> second;
  ASSERT_EQ(OpenEmptyOuting(path_, kMatType, true, second.Put()), S_OK);
  auto* first = static_cast<CEmptyOuting*>(outing_.Get());
  auto* other = static_cast<CEmptyOuting*>(second.Get());
  EXPECT_NE(first, other) << "one outing object per request";
  EXPECT_EQ(first->cache(), other->cache());
  EXPECT_EQ(first->cache()->client_count(), 2u);
  EXPECT_EQ(Got(other, &CEmptyOuting::GetOutingId), kTextType.ToWide()) << "the cache keeps the id it was made with";
  EXPECT_EQ(Got(other, &CEmptyOuting::GetOverrideProperties), KIV_TRUE) << "the flag is the outing object's";

  outing_ = nullptr;
  EXPECT_EQ(Registry().Find(path_).Get(), other->cache()) << "one client is left";
  second = nullptr;
}

using ::testing::ElementsAre;

class OutingImplTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(OpenEmptyOuting(u"/outing impl/" + std::u16string(1, u'a' + n_++), kTextType, false, outing_.Put()), S_OK);
    client_ = outing_.As<COutingStateChanges>();
    ASSERT_TRUE(client_);
  }
  IKivUnknown* Identity() { return outing_.As<IKivUnknown>().Get(); }

  static inline int n_ = 0;
  ComPtr<IKivOuting> outing_;
  ComPtr<COutingStateChanges> client_;
};

TEST_F(OutingImplTest, AParentSetOnOneFactoryIsThatFactorysAlone) {
  auto channels = outing_.As<IKivChannelFactory>();
  auto events = outing_.As<IKivEventsFactory>();
  ComPtr<IKivUnknown> parent = outing_.As<IKivUnknown>();
  ASSERT_EQ(channels->SetParent(parent.Get()), S_OK);
  ComPtr<IKivUnknown> got;
  EXPECT_EQ(channels->GetParent(got.Put()), S_OK);
  EXPECT_EQ(events->GetParent(got.Put()), E_UNEXPECTED);
  EXPECT_EQ(channels->SetParent(nullptr), S_OK) << "breaks the cycle through the outing";
}

TEST_F(OutingImplTest, StateChangesBecomeTheOutingsNotifications) {
  OutingListener heard(outing_.Get());
  ASSERT_TRUE(heard.connected());
  client_->OnInformationLoaded(false);  // no change, so nothing is told
  client_->OnInformationLoaded(true);
  client_->OnInformationChanged();
  client_->OnCreatedNotify(true);
  client_->OnCreatedNotify(false);
  client_->OnLapMarkersReset();
  client_->OnLapMarkersChanged(10, 20);
  client_->OnLapMarkersShifted(30, 40);
  client_->OnTransactionBegin();
  client_->OnTransactionProgress(3, 10);
  client_->OnTransactionStatus(u"Writing channels");
  client_->OnTransactionEnd();
  client_->OnWriterMessage(1, u"No data found for channel Gear");
  EXPECT_THAT(heard.log, ElementsAre("InformationChanged", "InformationChanged", "Created:-1", "Created:0",
                                     "LapMarkersReset", "LapMarkersChanged:10,20", "LapMarkersShifted:30,40",
                                     "TransactionStarted", "TransactionProgress:3/10",
                                     "TransactionMessage:Writing channels",
                                     "TransactionFinished", "WriterMessage:1:No data found for channel Gear"));
  for (size_t i : {0u, 1u, 2u, 5u, 6u}) EXPECT_EQ(heard.sources[i], Identity()) << "the outing is the first argument";
}

// A receiver of the first lap marker generation only.
struct FirstGenerationLaps : CLapMarkersNotificationsReceiver {
  void OnLapMarkersReset() override { log.push_back("reset"); }
  void OnLapMarkersChanged(IKivOuting*, KivTime, KivTime) override { log.push_back("changed"); }
  std::vector<std::string> log;
};

TEST_F(OutingImplTest, OlderGenerationsHearTheirOwnNotificationsFirst) {
  FirstGenerationLaps old;
  auto oldSink = MakeKiv<CLapMarkersNotificationsSink<>>();
  oldSink->SetReceiver(&old);
  ASSERT_TRUE(oldSink->Connect(outing_.Get()));
  std::vector<std::string> order;
  struct Newer : CLapMarkersNotifications2Receiver {
    std::vector<std::string>* order;
    std::vector<std::string>* old;
    void OnLapMarkersReset() override { order->push_back(old->empty() ? "new before old" : "new after old"); }
  } newer;
  newer.order = &order;
  newer.old = &old.log;
  auto newSink = MakeKiv<CLapMarkersNotifications2Sink<>>();
  newSink->SetReceiver(&newer);
  ASSERT_TRUE(newSink->Connect(outing_.Get()));

  client_->OnLapMarkersReset();
  client_->OnLapMarkersChanged(1, 2);
  client_->OnLapMarkersShifted(1, 2);
  EXPECT_THAT(old.log, ElementsAre("reset", "changed")) << "the first generation has no shift";
  EXPECT_THAT(order, ElementsAre("new after old"));

  oldSink->SetReceiver(nullptr);
  oldSink->Disconnect(outing_.Get());
  newSink->SetReceiver(nullptr);
  newSink->Disconnect(outing_.Get());
}

TEST_F(OutingImplTest, WithoutABindingGetSelectionBindingGivesSFalseAndOutPointersAreChecked) {
  IKivUnknown* binding = reinterpret_cast<IKivUnknown*>(0x1);
  EXPECT_EQ(client_->GetSelectionBinding(&binding), S_FALSE);
  EXPECT_EQ(binding, nullptr);
  EXPECT_EQ(client_->GetSelectionBinding(nullptr), E_POINTER);
  EXPECT_EQ(outing_->GetCaption(nullptr), E_POINTER);
  EXPECT_EQ(outing_->GetOutingInformation(nullptr), E_POINTER);
  auto four = outing_.As<IKivOuting4>();
  EXPECT_EQ(four->GetOutingId(nullptr), E_POINTER);
  EXPECT_EQ(four->GetStatusChannelDefinitions(nullptr), E_POINTER);
  EXPECT_EQ(OpenEmptyOuting(u"/nowhere", kTextType, false, nullptr), E_POINTER);
  EXPECT_EQ(COutingCacheRegistry<CEmptyOutingCache>::Instance().Find(u"/nowhere"), nullptr);
}

}  // namespace
}  // namespace velmar::testing
