#include "velmar/notification_family.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/notification_test_families.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;

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
