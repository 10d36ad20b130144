#include "core/notifications_impl.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/notification_test_families.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class NotificationsImplTest : public ::testing::Test {
 protected:
  void TearDown() override {
    sinks_.clear();
    notifications_ = nullptr;
    source_ = nullptr;
    EXPECT_EQ(g_liveTestObjects, 0) << "a reference was not given back";
  }

  // Advises a new sink of generation `Sink` logging under `tag`; its cookie.
  template <class Sink>
  uint32_t Advise(const std::string& tag) {
    receivers_.push_back(std::make_unique<ProbeLog>(&log_, tag));
    auto sink = MakeSink<Sink>(receivers_.back().get());
    uint32_t cookie = 0;
    EXPECT_EQ(notifications_->Advise(Sink::iid, sink->PrimaryUnknown(), &cookie), S_OK);
    sinks_.push_back(sink);
    return cookie;
  }
  ProbeLog& Receiver(size_t n) { return *receivers_[n]; }

  ComPtr<ProbeSource> source_ = MakeKiv<ProbeSource>();
  ComPtr<IKivNotifications> notifications_ = source_.As<IKivNotifications>();
  std::vector<std::string> log_;
  std::vector<std::unique_ptr<ProbeLog>> receivers_;
  std::vector<ComPtr<IKivUnknown>> sinks_;
};

TEST_F(NotificationsImplTest, CookiesCountPointsFromOneAndSinksFromZeroAndAFreedOneIsGivenAgain) {
  EXPECT_EQ(Advise<CProbeNotificationsSink<>>("a"), 0x00000001u);
  EXPECT_EQ(Advise<CProbeNotificationsSink<>>("b"), 0x00010001u);
  EXPECT_EQ(Advise<CProbeNotifications3Sink<>>("c"), 0x00000003u);
  auto gauge = MakeKiv<Counted<CGaugeNotificationsSink<>>>();
  uint32_t cookie = 0;
  EXPECT_EQ(notifications_->Advise(IKivGaugeNotifications::iid, gauge->PrimaryUnknown(), &cookie), S_OK);
  EXPECT_EQ(cookie, 0x00000004u) << "the second family follows the first in the table";
  EXPECT_EQ(notifications_->Unadvise(cookie), S_OK);
  EXPECT_EQ(notifications_->Unadvise(0x00000001u), S_OK);
  EXPECT_EQ(Advise<CProbeNotificationsSink<>>("d"), 0x00000001u);
}

TEST_F(NotificationsImplTest, AdviseAndUnadviseResultCodes) {
  ProbeLog receiver(&log_, "r");
  auto sink = MakeSink<CProbeNotifications2Sink<>>(&receiver);
  uint32_t cookie = 7;
  EXPECT_EQ(notifications_->Advise(IKivProbeNotifications2::iid, nullptr, &cookie), E_POINTER);
  EXPECT_EQ(notifications_->Advise(IKivProbeNotifications2::iid, sink->PrimaryUnknown(), nullptr), E_POINTER);
  EXPECT_EQ(notifications_->Advise(IKivNotifications::iid, sink->PrimaryUnknown(), &cookie), E_FAIL)
      << "no point for that interface";
  EXPECT_EQ(notifications_->Advise(IKivProbeNotifications::iid, sink->PrimaryUnknown(), &cookie), E_FAIL)
      << "the point refuses a sink that does not offer its interface";
  EXPECT_EQ(cookie, 0u);
  EXPECT_EQ(source_->Start(), S_OK);
  EXPECT_THAT(log_, IsEmpty());

  cookie = Advise<CProbeNotificationsSink<>>("a");
  EXPECT_EQ(notifications_->Unadvise(0), E_FAIL);
  EXPECT_EQ(notifications_->Unadvise(MakeNotificationCookie(0, 5)), E_FAIL) << "point 5 is outside the table";
  EXPECT_EQ(notifications_->Unadvise(MakeNotificationCookie(1, 1)), E_INVALIDARG) << "no sink at index 1";
  EXPECT_EQ(notifications_->Unadvise(MakeNotificationCookie(0, 2)), E_INVALIDARG) << "point 2 is empty";
  EXPECT_EQ(notifications_->Unadvise(cookie), S_OK);
  EXPECT_EQ(notifications_->Unadvise(cookie), E_INVALIDARG) << "a cookie works once";
}

TEST_F(NotificationsImplTest, AdviseByNameParsesTheIdentity) {
  ProbeLog receiver(&log_, "byname");
  auto sink = MakeSink<CProbeNotifications2Sink<>>(&receiver);
  uint32_t cookie = 0;
  const std::u16string id = IKivProbeNotifications2::iid.ToWide();
  EXPECT_EQ(notifications_->AdviseByName(id, nullptr, &cookie), E_POINTER);
  EXPECT_EQ(notifications_->AdviseByName(id, sink->PrimaryUnknown(), nullptr), E_POINTER);
  EXPECT_EQ(notifications_->AdviseByName(u"{not-an-identity}", sink->PrimaryUnknown(), &cookie), E_FAIL);
  EXPECT_EQ(notifications_->AdviseByName(u"", sink->PrimaryUnknown(), &cookie), E_FAIL);
  EXPECT_EQ(notifications_->AdviseByName(IKivProbeNotifications::iid.ToWide(), sink->PrimaryUnknown(), &cookie),
            E_FAIL)
      << "the sink does not offer generation 1";
  EXPECT_EQ(notifications_->AdviseByName(ToLowerWide(id), sink->PrimaryUnknown(), &cookie), S_OK);
  EXPECT_EQ(cookie, 0x00000002u);
  EXPECT_EQ(source_->Name(u"x"), S_OK);
  EXPECT_THAT(log_, ElementsAre("byname:Namedx"));
  EXPECT_EQ(notifications_->Unadvise(cookie), S_OK);
}

TEST_F(NotificationsImplTest, OlderGenerationsHearFirstAndNewerNotificationsSkipThem) {
  Advise<CProbeNotifications3Sink<>>("g3");
  Advise<CProbeNotifications2Sink<>>("g2");
  Advise<CProbeNotificationsSink<>>("g1a");
  Advise<CProbeNotificationsSink<>>("g1b");
  source_->Start();
  source_->Name(u"n");
  source_->Stop();
  EXPECT_THAT(log_, ElementsAre("g1a:Started", "g1b:Started", "g2:Started", "g3:Started",  //
                                "g2:Namedn", "g3:Namedn",                                //
                                "g3:Stopped"));
}

TEST_F(NotificationsImplTest, FamiliesDoNotHearEachOther) {
  Advise<CProbeNotifications3Sink<>>("probe");
  struct GaugeLog : CGaugeNotificationsReceiver {
    void Moved(IKivUnknown*, double value) override { values.push_back(value); }
    std::vector<double> values;
  } gauge;
  auto sink = MakeSink<CGaugeNotificationsSink<>>(&gauge);
  uint32_t cookie = 0;
  ASSERT_EQ(notifications_->Advise(IKivGaugeNotifications::iid, sink->PrimaryUnknown(), &cookie), S_OK);
  source_->Move(2.5);
  source_->Count(3);
  EXPECT_THAT(gauge.values, ElementsAre(2.5));
  EXPECT_THAT(log_, ElementsAre("probe:Counted3"));
  EXPECT_EQ(notifications_->Unadvise(cookie), S_OK);
}

// A walk goes on through the later generations' points: a sink unadvised
// there is not called, one advised there first hears the next call.
TEST_F(NotificationsImplTest, SinksChangedOnALaterGenerationDuringAWalk) {
  Advise<CProbeNotificationsSink<>>("g1");
  const uint32_t g2 = Advise<CProbeNotifications2Sink<>>("g2");
  Advise<CProbeNotifications3Sink<>>("g3");
  Receiver(0).onNext = [&] {
    EXPECT_EQ(notifications_->Unadvise(g2), S_OK);
    Advise<CProbeNotifications2Sink<>>("late");
  };
  source_->Start();
  source_->Count(2);
  EXPECT_THAT(log_, ElementsAre("g1:Started", "g3:Started", "g1:Counted2", "late:Counted2", "g3:Counted2"));
}

TEST_F(NotificationsImplTest, WalkOverGenerationsGivesTheLastCallsResult) {
  struct Refusing : CSimpleUnknownImpl<IKivProbeNotifications2> {
    KivResult Started(IKivUnknown*) override { return E_ABORT; }
    KivResult Counted(IKivUnknown*, uint32_t) override { return S_OK; }
    KivResult Named(IKivUnknown*, const std::u16string&) override { return E_ABORT; }
  };
  Advise<CProbeNotificationsSink<>>("g1");
  auto refusing = MakeKiv<Refusing>();
  uint32_t cookie = 0;
  ASSERT_EQ(notifications_->Advise(IKivProbeNotifications2::iid, refusing->PrimaryUnknown(), &cookie), S_OK);
  EXPECT_EQ(source_->Start(), E_ABORT) << "the generation-2 sink is called last";
  Advise<CProbeNotifications3Sink<>>("g3");
  EXPECT_EQ(source_->Start(), S_OK) << "the generation-3 sink answers after it";
  EXPECT_THAT(log_, ElementsAre("g1:Started", "g1:Started", "g3:Started"));
  EXPECT_EQ(source_->Stop(), S_OK);
  EXPECT_EQ(notifications_->Unadvise(cookie), S_OK);
}

TEST_F(NotificationsImplTest, DestroyedOwnerReleasesItsSinks) {
  Advise<CProbeNotificationsSink<>>("a");
  {
    auto gauge = MakeKiv<Counted<CGaugeNotificationsSink<>>>();
    uint32_t cookie = 0;
    ASSERT_EQ(notifications_->Advise(IKivGaugeNotifications::iid, gauge->PrimaryUnknown(), &cookie), S_OK);
  }
  sinks_.clear();
  EXPECT_EQ(g_liveTestObjects, 3) << "the source and both sinks";
  notifications_ = nullptr;
  source_ = nullptr;
  EXPECT_EQ(g_liveTestObjects, 0);
}

}  // namespace
}  // namespace velmar::testing
