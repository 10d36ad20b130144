#include "outing/cache/outing_impl.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "outing/cache/empty_outing.h"
#include "support/outing_listener.h"
#include "velmar/lap_markers.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr Guid kId = Guid::Literal("{3F4B8C0F-F636-4c4b-A8B3-98BF06470C97}");

class OutingImplTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(OpenEmptyOuting(u"/outing impl/" + std::u16string(1, u'a' + n_++), kId, false, outing_.Put()), S_OK);
    client_ = outing_.As<COutingStateChanges>();
    ASSERT_TRUE(client_);
  }
  IKivUnknown* Identity() { return outing_.As<IKivUnknown>().Get(); }

  static inline int n_ = 0;
  ComPtr<IKivOuting> outing_;
  ComPtr<COutingStateChanges> client_;
};

TEST_F(OutingImplTest, EachFactoryHasItsOwnTableAndIKivDataFactoryIsTheFirst) {
  auto channels = outing_.As<IKivChannelFactory>();
  auto events = outing_.As<IKivEventsFactory>();
  auto constants = outing_.As<IKivConstantFactory>();
  auto generic = outing_.As<IKivDataFactory>();
  ASSERT_TRUE(generic);
  EXPECT_EQ(generic.Get(), static_cast<IKivDataFactory*>(channels.Get()));
  EXPECT_NE(static_cast<IKivDataFactory*>(events.Get()), static_cast<IKivDataFactory*>(channels.Get()));
  EXPECT_NE(static_cast<IKivDataFactory*>(constants.Get()), static_cast<IKivDataFactory*>(events.Get()));

  // A parent set on one factory is that factory's alone.
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
  EXPECT_THAT(heard.log, ElementsAre("InformationChanged", "Created:-1", "Created:0", "LapMarkersReset",
                                     "LapMarkersChanged:10,20", "LapMarkersShifted:30,40", "TransactionStarted",
                                     "TransactionProgress:3/10", "TransactionMessage:Writing channels",
                                     "TransactionFinished", "WriterMessage:1:No data found for channel Gear"));
  for (size_t i : {0u, 1u, 4u, 5u}) EXPECT_EQ(heard.sources[i], Identity()) << "the outing is the first argument";
}

TEST_F(OutingImplTest, InformationLoadedTellsAChangeOnlyWhenThereIsOne) {
  OutingListener heard(outing_.Get());
  client_->OnInformationLoaded(false);
  EXPECT_THAT(heard.log, IsEmpty());
  client_->OnInformationLoaded(true);
  EXPECT_THAT(heard.log, ElementsAre("InformationChanged"));
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

TEST_F(OutingImplTest, WithoutABindingGetSelectionBindingGivesSFalse) {
  IKivUnknown* binding = reinterpret_cast<IKivUnknown*>(0x1);
  EXPECT_EQ(client_->GetSelectionBinding(&binding), S_FALSE);
  EXPECT_EQ(binding, nullptr);
  EXPECT_EQ(client_->GetSelectionBinding(nullptr), E_POINTER);
}

TEST_F(OutingImplTest, OuterOperationsCheckTheirOutPointers) {
  EXPECT_EQ(outing_->GetCaption(nullptr), E_POINTER);
  EXPECT_EQ(outing_->GetOutingInformation(nullptr), E_POINTER);
  auto four = outing_.As<IKivOuting4>();
  EXPECT_EQ(four->GetOutingId(nullptr), E_POINTER);
  EXPECT_EQ(four->GetStatusChannelDefinitions(nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar::testing
