#include "velmar/velmar_notifications.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "core/notifications_impl.h"
#include "core/velmar_test_fixture.h"
#include "support/vtable_slot.h"

namespace velmar {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

#define VELMAR_NAME(Name, Params, Args) #Name,
const std::vector<std::string> kSlotOrder = {
    KIV_VELMAR_NOTIFICATIONS_1(VELMAR_NAME) KIV_VELMAR_NOTIFICATIONS_2(VELMAR_NAME)
        KIV_VELMAR_NOTIFICATIONS_3(VELMAR_NAME) KIV_VELMAR_NOTIFICATIONS_4(VELMAR_NAME)
            KIV_VELMAR_NOTIFICATIONS_5(VELMAR_NAME) KIV_VELMAR_NOTIFICATIONS_6(VELMAR_NAME)
                KIV_VELMAR_NOTIFICATIONS_7(VELMAR_NAME)};
#undef VELMAR_NAME

#ifdef VELMAR_HAS_VTABLE_SLOT
using testing::VtableSlot;

TEST(VelmarNotifications, OperationsSitInTheirSlots) {
  std::vector<size_t> slots;
#define VELMAR_SLOT(Name, Params, Args) slots.push_back(VtableSlot(&IKivVelmarNotifications7::Name));
  KIV_VELMAR_NOTIFICATIONS_1(VELMAR_SLOT) KIV_VELMAR_NOTIFICATIONS_2(VELMAR_SLOT)
  KIV_VELMAR_NOTIFICATIONS_3(VELMAR_SLOT) KIV_VELMAR_NOTIFICATIONS_4(VELMAR_SLOT)
  KIV_VELMAR_NOTIFICATIONS_5(VELMAR_SLOT) KIV_VELMAR_NOTIFICATIONS_6(VELMAR_SLOT)
  KIV_VELMAR_NOTIFICATIONS_7(VELMAR_SLOT)
#undef VELMAR_SLOT
  std::vector<size_t> expected;
  for (size_t slot = 3; slot <= 23; ++slot) expected.push_back(slot);
  EXPECT_EQ(slots, expected);
  EXPECT_EQ(VtableSlot(&IKivVelmarNotifications::Closing), 9u);
  EXPECT_EQ(VtableSlot(&IKivVelmarNotifications4::SpeedPrecisionChanged), 19u);
}
#endif

// Calls `member` on `target` with value-initialised arguments.
template <class T, class I, class... P>
KivResult CallWithDefaults(T* target, KivResult (I::*member)(P...)) {
  return (target->*member)(std::remove_cvref_t<P>{}...);
}

TEST(VelmarNotifications, NewestSinkForwardsEveryNotification) {
  std::vector<std::string> log;
  testing::RootLog receiver(&log, "");
  auto sink = MakeKiv<CVelmarNotifications7Sink<>>();
  sink->SetReceiver(&receiver);
  IKivVelmarNotifications7* notifications = sink.Get();
#define VELMAR_CALL(Name, Params, Args) \
  EXPECT_EQ(CallWithDefaults(notifications, &IKivVelmarNotifications7::Name), S_OK);
  KIV_VELMAR_NOTIFICATIONS_1(VELMAR_CALL) KIV_VELMAR_NOTIFICATIONS_2(VELMAR_CALL)
  KIV_VELMAR_NOTIFICATIONS_3(VELMAR_CALL) KIV_VELMAR_NOTIFICATIONS_4(VELMAR_CALL)
  KIV_VELMAR_NOTIFICATIONS_5(VELMAR_CALL) KIV_VELMAR_NOTIFICATIONS_6(VELMAR_CALL)
  KIV_VELMAR_NOTIFICATIONS_7(VELMAR_CALL)
#undef VELMAR_CALL
  EXPECT_THAT(log, ElementsAreArray(kSlotOrder));

  CVelmarNotificationsReceiverImpl silent;
  sink->SetReceiver(&silent);
  EXPECT_EQ(notifications->SpeedPrecisionChanged(nullptr, 2), S_OK) << "the do-nothing set";
}

// A stand-in root with one point per generation.
class FakeRoot : public KivObject<IKivNotificationsImpl<FakeRoot, IKivVelmarNotifications7>> {
 public:
  using IKivNotificationsImpl::FireNotification;
};

// Which generation heard what, as "<generation>:<notification>".
class GenerationLog : public CVelmarNotificationsReceiverImpl {
 public:
  explicit GenerationLog(std::vector<std::string>* all, int generation) : all_(all), generation_(generation) {}
  void TimeFormatChanged(IKivVelmar*, uint32_t format) override {
    all_->push_back(std::to_string(generation_) + ":TimeFormat" + std::to_string(format));
  }
  void Closing(IKivVelmar*) override { all_->push_back(std::to_string(generation_) + ":Closing"); }
  void OutingLabelInitializationChanged(IKivVelmar*, uint32_t) override {
    all_->push_back(std::to_string(generation_) + ":OutingLabelInitialization");
  }

 private:
  std::vector<std::string>* all_;
  int generation_;
};

template <class Sink>
ComPtr<Sink> Connect(FakeRoot* root, GenerationLog* receiver) {
  auto sink = MakeKiv<Sink>();
  sink->SetReceiver(receiver);
  EXPECT_TRUE(sink->Connect(root));
  return sink;
}

TEST(VelmarNotifications, RootNotificationsReachEachGenerationOldestFirst) {
  auto root = MakeKiv<FakeRoot>();
  std::vector<std::string> log;
  std::vector<std::unique_ptr<GenerationLog>> receivers;
  for (int g = 1; g <= 7; ++g) receivers.push_back(std::make_unique<GenerationLog>(&log, g));
  // Connected newest first: the order of hearing comes from the generations.
  auto s7 = Connect<CVelmarNotifications7Sink<>>(root.Get(), receivers[6].get());
  auto s6 = Connect<CVelmarNotifications6Sink<>>(root.Get(), receivers[5].get());
  auto s5 = Connect<CVelmarNotifications5Sink<>>(root.Get(), receivers[4].get());
  auto s4 = Connect<CVelmarNotifications4Sink<>>(root.Get(), receivers[3].get());
  auto s3 = Connect<CVelmarNotifications3Sink<>>(root.Get(), receivers[2].get());
  auto s2 = Connect<CVelmarNotifications2Sink<>>(root.Get(), receivers[1].get());
  auto s1 = Connect<CVelmarNotificationsSink<>>(root.Get(), receivers[0].get());
  EXPECT_EQ(s1->Cookie(), 1u);
  EXPECT_EQ(s7->Cookie(), 7u);

  EXPECT_EQ(root->FireNotification(&IKivVelmarNotifications::Closing, nullptr), S_OK);
  EXPECT_THAT(log, ElementsAre("1:Closing", "2:Closing", "3:Closing", "4:Closing", "5:Closing", "6:Closing",
                               "7:Closing"));
  log.clear();
  root->FireNotification(&IKivVelmarNotifications2::TimeFormatChanged, nullptr, 3u);
  EXPECT_THAT(log, ElementsAre("2:TimeFormat3", "3:TimeFormat3", "4:TimeFormat3", "5:TimeFormat3",
                               "6:TimeFormat3", "7:TimeFormat3"));
  log.clear();
  root->FireNotification(&IKivVelmarNotifications7::OutingLabelInitializationChanged, nullptr, 1u);
  EXPECT_THAT(log, ElementsAre("7:OutingLabelInitialization"));

  s1->SetReceiver(nullptr);
  EXPECT_TRUE(s1->Disconnect(root.Get()));
  EXPECT_TRUE(s7->Disconnect(root.Get()));
  EXPECT_TRUE(s2->Disconnect(root.Get()) && s3->Disconnect(root.Get()) && s4->Disconnect(root.Get()) &&
              s5->Disconnect(root.Get()) && s6->Disconnect(root.Get()));
}

}  // namespace
}  // namespace velmar
