#include "core/notification_point.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/notification_test_families.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ProbePoint = KivNotificationPointDynamic<struct PointTestOwner, IKivProbeNotifications>;

// A probe sink whose Counted answers with a chosen result.
class AnsweringSink : public CSimpleUnknownImpl<IKivProbeNotifications> {
 public:
  AnsweringSink(KivResult answer, std::vector<KivResult>* heard) : answer_(answer), heard_(heard) {}
  KivResult Started(IKivUnknown*) override { return S_OK; }
  KivResult Counted(IKivUnknown*, uint32_t) override {
    heard_->push_back(answer_);
    return answer_;
  }

 private:
  KivResult answer_;
  std::vector<KivResult>* heard_;
};

class NotificationPointTest : public ::testing::Test {
 protected:
  void TearDown() override {
    owned_.reset();
    EXPECT_EQ(g_liveTestObjects, 0) << "a sink reference was not given back";
  }

  // Connects a new sink logging under `tag`; its receiver lives in the fixture.
  uint16_t Connect(const std::string& tag) {
    receivers_.push_back(std::make_unique<ProbeLog>(&log_, tag));
    auto sink = MakeSink<CProbeNotificationsSink<>>(receivers_.back().get());
    uint16_t index = 0xFFFF;
    EXPECT_EQ(point_.Add(sink.Get(), &index), S_OK);
    return index;
  }
  ProbeLog& Receiver(size_t n) { return *receivers_[n]; }
  KivResult FireCount(uint32_t n) { return point_.Fire(&IKivProbeNotifications::Counted, nullptr, n); }

  std::vector<std::string> log_;
  std::vector<std::unique_ptr<ProbeLog>> receivers_;
  std::unique_ptr<ProbePoint> owned_ = std::make_unique<ProbePoint>();
  ProbePoint& point_ = *owned_;
};

TEST_F(NotificationPointTest, ReusesTheMostRecentlyFreedIndexFirstAndFreesAnIndexOnce) {
  KivNotificationPointLocator& locator = point_;
  EXPECT_EQ(locator.GetInterfaceId(), IKivProbeNotifications::iid);
  EXPECT_EQ(point_.Remove(0), E_INVALIDARG);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(Connect("s"), i);
  EXPECT_EQ(point_.Remove(5), E_INVALIDARG);
  EXPECT_EQ(point_.Remove(1), S_OK);
  EXPECT_EQ(point_.Remove(3), S_OK);
  EXPECT_EQ(point_.Remove(3), E_INVALIDARG) << "an emptied entry must not be freed twice";
  EXPECT_EQ(point_.ConnectedCount(), 2u);
  EXPECT_EQ(Connect("s"), 3);
  EXPECT_EQ(Connect("s"), 1) << "a double free would have handed index 3 out twice";
  EXPECT_EQ(Connect("s"), 4) << "with no free slot the list grows";
}

TEST_F(NotificationPointTest, AddChecksArgumentsInterfaceAndRoom) {
  ProbeLog receiver(&log_, "r");
  auto sink = MakeSink<CProbeNotificationsSink<>>(&receiver);
  uint16_t index = 0;
  EXPECT_EQ(point_.Add(nullptr, &index), E_POINTER);
  EXPECT_EQ(point_.Add(sink.Get(), nullptr), E_POINTER);

  auto gauge = MakeKiv<Counted<CGaugeNotificationsSink<>>>();
  EXPECT_EQ(point_.Add(gauge.Get(), &index), E_NOINTERFACE);
  auto newer = MakeSink<CProbeNotifications3Sink<>>(&receiver);
  EXPECT_EQ(point_.Add(newer.Get(), &index), E_NOINTERFACE) << "a sink answers only its own generation";
  EXPECT_EQ(point_.ConnectedCount(), 0u);
  // The 65536th sink is refused.
  for (size_t i = 0; i < kMaxSinksPerPoint; ++i) {
    ASSERT_EQ(point_.Add(sink.Get(), &index), S_OK) << i;
    ASSERT_EQ(index, i);
  }
  EXPECT_EQ(point_.Add(sink.Get(), &index), E_FAIL);
  EXPECT_EQ(point_.Remove(100), S_OK);
  EXPECT_EQ(point_.Add(sink.Get(), &index), S_OK) << "a freed slot is usable again";
  EXPECT_EQ(index, 100);
  EXPECT_EQ(point_.Fire(&IKivProbeNotifications::Started, nullptr), S_OK);
  EXPECT_EQ(log_.size(), kMaxSinksPerPoint);
}

TEST_F(NotificationPointTest, HoldsAReferenceUntilRemovedOrDestroyed) {
  ProbeLog receiver(&log_, "r");
  uint16_t index = 0;
  {
    auto sink = MakeSink<CProbeNotificationsSink<>>(&receiver);
    ASSERT_EQ(point_.Add(sink.Get(), &index), S_OK);
  }
  EXPECT_EQ(g_liveTestObjects, 1) << "the point keeps the sink alive";
  EXPECT_EQ(point_.Remove(index), S_OK);
  EXPECT_EQ(g_liveTestObjects, 0);

  {
    ProbePoint local;
    auto sink = MakeSink<CProbeNotificationsSink<>>(&receiver);
    ASSERT_EQ(local.Add(sink.Get(), &index), S_OK);
  }
  EXPECT_EQ(g_liveTestObjects, 0) << "a destroyed point releases its sinks";
}

TEST_F(NotificationPointTest, FireCallsEverySinkInIndexOrder) {
  Connect("a");
  Connect("b");
  Connect("c");
  EXPECT_EQ(point_.Remove(1), S_OK);
  EXPECT_EQ(FireCount(7), S_OK);
  EXPECT_THAT(log_, ElementsAre("a:Counted7", "c:Counted7"));
}

TEST_F(NotificationPointTest, FailedCallDoesNotStopTheWalkAndLastResultWins) {
  EXPECT_EQ(FireCount(1), S_OK) << "no sink, nothing failed";
  std::vector<KivResult> heard;
  auto connect = [&](KivResult answer) {
    auto sink = MakeKiv<AnsweringSink>(answer, &heard);
    uint16_t index = 0;
    EXPECT_EQ(point_.Add(sink.Get(), &index), S_OK);
    return index;
  };
  connect(E_FAIL);
  const uint16_t ok = connect(S_OK);
  connect(S_FALSE);
  EXPECT_EQ(FireCount(1), S_FALSE);
  EXPECT_THAT(heard, ElementsAre(E_FAIL, S_OK, S_FALSE));

  heard.clear();
  EXPECT_EQ(point_.Remove(2), S_OK);
  EXPECT_EQ(point_.Remove(ok), S_OK);
  connect(E_ABORT);  // reuses index 1, after the first sink
  EXPECT_EQ(FireCount(1), E_ABORT);
  EXPECT_THAT(heard, ElementsAre(E_FAIL, E_ABORT));
}

TEST_F(NotificationPointTest, SinksRemovedDuringAWalkAreNotCalledAgain) {
  const uint16_t a = Connect("a");
  Connect("b");
  const uint16_t c = Connect("c");
  Receiver(0).onNext = [&] {
    EXPECT_EQ(point_.Remove(a), S_OK);  // itself
    EXPECT_EQ(point_.Remove(c), S_OK);  // one the walk has not reached
  };
  FireCount(1);
  FireCount(2);
  EXPECT_THAT(log_, ElementsAre("a:Counted1", "b:Counted1", "b:Counted2"));
}

// Whether behind the walk, in a slot freed ahead of it or at the end.
TEST_F(NotificationPointTest, SinksAddedDuringACallFirstHearTheNextOne) {
  Connect("a");
  const uint16_t b = Connect("b");
  Connect("c");
  Receiver(0).onNext = [&] {
    EXPECT_EQ(point_.Remove(b), S_OK);
    EXPECT_EQ(Connect("late"), b);
    EXPECT_EQ(Connect("last"), 3);
  };
  FireCount(1);
  FireCount(2);
  EXPECT_THAT(log_, ElementsAre("a:Counted1", "c:Counted1", "a:Counted2", "late:Counted2", "c:Counted2",
                                "last:Counted2"));
}

TEST_F(NotificationPointTest, ClientTearingDownInsideItsOwnCallIsSafe) {
  // The client owns its receiver and sink and drops both inside the call:
  // clear the receiver, disconnect, release. The walk's own reference keeps
  // the sink alive until the call returns.
  struct Client {
    std::unique_ptr<ProbeLog> receiver;
    ComPtr<Counted<CProbeNotificationsSink<>>> sink;
    uint16_t index = 0;
  };
  auto client = std::make_unique<Client>();
  client->receiver = std::make_unique<ProbeLog>(&log_, "gone");
  client->sink = MakeSink<CProbeNotificationsSink<>>(client->receiver.get());
  ASSERT_EQ(point_.Add(client->sink.Get(), &client->index), S_OK);
  Connect("b");
  client->receiver->onNext = [&] {
    client->sink->SetReceiver(nullptr);
    EXPECT_EQ(point_.Remove(client->index), S_OK);
    client.reset();
  };
  FireCount(1);
  FireCount(2);
  EXPECT_THAT(log_, ElementsAre("gone:Counted1", "b:Counted1", "b:Counted2"));
}

}  // namespace
}  // namespace velmar::testing
