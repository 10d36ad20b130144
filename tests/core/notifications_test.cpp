#include "velmar/notifications.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "core/notification_test_families.h"
#include "velmar/notification_family.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;

// An object with no IKivNotifications.
struct IKivMute : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{0B0E0003-0000-4000-8000-000000000001}");
};
class Mute : public KivObject<IKivMute> {};

class SinkTest : public ::testing::Test {
 protected:
  void TearDown() override {
    first_ = nullptr;
    second_ = nullptr;
    EXPECT_EQ(g_liveTestObjects, 0) << "a reference was not given back";
  }

  std::vector<std::string> log_;
  ProbeLog receiver_{&log_, "r"};
  ComPtr<ProbeSource> first_ = MakeKiv<ProbeSource>();
  ComPtr<ProbeSource> second_ = MakeKiv<ProbeSource>();
};

TEST_F(SinkTest, SingleSourceConnectsOnlyToANotifyingSourceOnceAndDisconnects) {
  auto sink = MakeSink<CProbeNotifications2Sink<>>(&receiver_);
  EXPECT_FALSE(sink->Connect(MakeKiv<Mute>().Get())) << "an object that raises nothing";
  EXPECT_FALSE(sink->Connect(static_cast<IKivUnknown*>(nullptr)));
  EXPECT_FALSE(sink->IsConnected());
  ASSERT_TRUE(sink->Connect(first_.Get()));
  EXPECT_EQ(sink->Cookie(), 0x00000002u) << "generation 2 is the source's second point";
  EXPECT_FALSE(sink->Connect(first_.Get())) << "already connected";
  EXPECT_FALSE(sink->Connect(second_.Get())) << "one source at a time";
  first_->Name(u"a");
  second_->Name(u"b");
  EXPECT_TRUE(sink->Disconnect(first_.Get()));
  EXPECT_FALSE(sink->IsConnected());
  EXPECT_FALSE(sink->Disconnect(first_.Get())) << "nothing left to take back";
  first_->Name(u"c");
  EXPECT_THAT(log_, ElementsAre("r:Nameda"));

  ASSERT_TRUE(sink->Connect(second_.Get())) << "a disconnected sink connects again";
  second_->Name(u"d");
  EXPECT_TRUE(sink->Disconnect(second_.Get()));
  EXPECT_THAT(log_, ElementsAre("r:Nameda", "r:Namedd"));
}

TEST_F(SinkTest, MultiSourceConnectsToTwoSourcesHoldsThemAndDisconnectsOneOrAll) {
  auto sink = MakeSink<CProbeNotificationsSink<CBaseMultiSourceSink>>(&receiver_);
  EXPECT_FALSE(sink->Connect(MakeKiv<Mute>().Get()));
  EXPECT_EQ(sink->SourceCount(), 0u);
  ASSERT_TRUE(sink->Connect(first_.Get()));
  ASSERT_TRUE(sink->Connect(second_.Get()));
  EXPECT_FALSE(sink->Connect(first_.As<IKivNotifications>().Get())) << "same identity through another interface";
  EXPECT_EQ(sink->SourceCount(), 2u);
  first_->Count(1);
  second_->Count(2);

  sink->DisconnectAll();
  EXPECT_EQ(sink->SourceCount(), 0u);
  EXPECT_FALSE(sink->IsConnectedTo(first_.Get()));
  first_->Count(3);
  second_->Count(4);
  EXPECT_THAT(log_, ElementsAre("r:Counted1", "r:Counted2"));
  EXPECT_EQ(first_->NotificationPoints().Point<IKivProbeNotifications>().ConnectedCount(), 0u);

  // Disconnecting one leaves the other; each source is held until disconnected.
  ASSERT_TRUE(sink->Connect(first_.Get()));
  ASSERT_TRUE(sink->Connect(second_.Get()));
  EXPECT_TRUE(sink->Disconnect(first_.Get()));
  EXPECT_FALSE(sink->Disconnect(first_.Get())) << "no longer known";
  EXPECT_TRUE(sink->IsConnectedTo(second_.Get()));
  first_->Count(5);
  second_->Count(6);
  EXPECT_THAT(log_, ElementsAre("r:Counted1", "r:Counted2", "r:Counted6"));
  ASSERT_TRUE(sink->Connect(first_.Get()));
  first_ = nullptr;
  second_ = nullptr;
  EXPECT_EQ(g_liveTestObjects, 3) << "both sources live on while connected";
  sink->DisconnectAll();
  EXPECT_EQ(g_liveTestObjects, 1) << "only the sink is left";
}

TEST_F(SinkTest, ReceiverClearedDuringAWalkMakesTheLaterCallDoNothing) {
  ProbeLog other(&log_, "other");
  auto sink = MakeSink<CProbeNotificationsSink<>>(&receiver_);
  auto otherSink = MakeSink<CProbeNotificationsSink<>>(&other);
  ASSERT_TRUE(sink->Connect(first_.Get()));
  ASSERT_TRUE(otherSink->Connect(first_.Get()));
  // The first client tears the second one down in the client's order, but
  // stops after clearing the receiver: the call still under way finds none.
  EXPECT_EQ(otherSink->GetReceiver(), &other);
  receiver_.onNext = [&] { otherSink->SetReceiver(nullptr); };
  EXPECT_EQ(first_->Count(1), S_OK) << "a sink without a receiver succeeds";
  EXPECT_THAT(log_, ElementsAre("r:Counted1"));
  EXPECT_EQ(otherSink->GetReceiver(), nullptr);
  EXPECT_TRUE(otherSink->Disconnect(first_.Get()));
  EXPECT_TRUE(sink->Disconnect(first_.Get()));
}

TEST_F(SinkTest, CountIsSafeAcrossThreads) {
  auto sink = MakeSink<CProbeNotificationsSink<>>(&receiver_);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([held = sink]() mutable {
      for (int i = 0; i < 10000; ++i) {
        ComPtr<IKivUnknown> extra(held->PrimaryUnknown());
      }
      held = nullptr;
    });
  }
  // The last reference goes on whichever thread ends last; the object dies once.
  sink = nullptr;
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(g_liveTestObjects, 2);
}

// Records what reached it, overriding only what it cares about.
struct NameAndCount : CProbeNotifications3Receiver {
  void Counted(IKivUnknown* source, uint32_t n) override { heard.push_back({source, "Counted", std::to_string(n)}); }
  void Named(IKivUnknown* source, const std::u16string& name) override {
    heard.push_back({source, "Named", WideToUtf8(name)});
  }
  struct Call {
    IKivUnknown* source;
    std::string what;
    std::string argument;
    bool operator==(const Call&) const = default;
  };
  std::vector<Call> heard;
};

TEST(NotificationFamily, SinkForwardsEveryGenerationsOperationsWithTheirArguments) {
  NameAndCount receiver;
  auto sink = MakeKiv<CProbeNotifications3Sink<>>();
  sink->SetReceiver(&receiver);
  IKivProbeNotifications3* notifications = sink.Get();
  IKivUnknown* source = sink->PrimaryUnknown();
  EXPECT_EQ(notifications->Started(source), S_OK) << "a default receiver operation does nothing";
  EXPECT_EQ(notifications->Counted(source, 42), S_OK);
  EXPECT_EQ(notifications->Named(source, u"Lap 3"), S_OK);
  EXPECT_EQ(notifications->Stopped(nullptr), S_OK);
  EXPECT_THAT(receiver.heard, ElementsAre(NameAndCount::Call{source, "Counted", "42"},
                                          NameAndCount::Call{source, "Named", "Lap 3"}));
}

}  // namespace
}  // namespace velmar::testing
