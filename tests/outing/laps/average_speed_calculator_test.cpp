#include "outing/laps/average_speed_calculator.h"

#include <gtest/gtest.h>

#include "core/notifications_impl.h"
#include "outing/data_block_test_util.h"
#include "velmar/common_channels.h"
#include "velmar/velmar.h"

namespace velmar::testing {
namespace {

// Every role names the corrected distance; nothing can be set.
class FakeCommonChannels final : public KivObject<IKivCommonChannels> {
#define FAKE_ROLE_(Role)                                                                   \
  KivResult Get##Role(std::u16string* text) override { return (*text = u"[1]Corrected Distance", S_OK); } \
  KivResult Set##Role(const std::u16string&) override { return E_NOTIMPL; }
  KIV_COMMON_CHANNEL_ROLES(FAKE_ROLE_)
#undef FAKE_ROLE_
};

// A root that only hands out its common channels and tells of their change.
class FakeRoot final : public KivObject<IKivVelmar, IKivNotificationsImpl<FakeRoot, IKivVelmarNotifications>> {
 public:
  KivResult GetCommonChannels(IKivCommonChannels** out) override { return GiveOut(common_.Get(), out); }
  void FireCommonChannelsChanged() { FireNotification(&IKivVelmarNotifications::CommonChannelsChanged, this); }
  KivResult GetChannelPropertyFactory(IKivChannelPropertyFactory**) override { return E_NOTIMPL; }
  KivResult SetChannelPropertyFactory(IKivChannelPropertyFactory*) override { return E_NOTIMPL; }
  KivResult GetCircuitMapData(IKivCircuitMapData**) override { return E_NOTIMPL; }
  KivResult SetCircuitMapData(IKivCircuitMapData*) override { return E_NOTIMPL; }
  KivResult GetGlobalConstantFactory(IKivConstantFactory**) override { return E_NOTIMPL; }
  KivResult GetGroupFactory(IKivGroupFactory**) override { return E_NOTIMPL; }
  KivResult SetGroupFactory(IKivGroupFactory*) override { return E_NOTIMPL; }
  KivResult GetRealTimeSettings(IKivRealTimeSettings**) override { return E_NOTIMPL; }
  KivResult GetTasks(IKivTasks**) override { return E_NOTIMPL; }
  KivResult AddDataFactory(const Guid&) override { return E_NOTIMPL; }
  KivResult RemoveDataFactory(const Guid&) override { return E_NOTIMPL; }
  KivResult AddDataFactoryByProgId(const std::u16string&) override { return E_NOTIMPL; }
  KivResult RemoveDataFactoryByProgId(const std::u16string&) override { return E_NOTIMPL; }
  KivResult ReloadExternalData() override { return E_NOTIMPL; }
  KivResult Close() override { return S_OK; }

 private:
  ComPtr<FakeCommonChannels> common_ = MakeKiv<FakeCommonChannels>();
};

// A distance channel over fixed samples.
class FakeDistance final : public KivObject<IKivChannel, IKivNotificationsImpl<FakeDistance, IKivDataNotifications>> {
 public:
  ComPtr<CChannelIterator> iterator;
  KivResult GetName(std::u16string* name) override { return (*name = u"[1]Corrected Distance", S_OK); }
  KivResult GetStatus(uint32_t* status) override { return (*status = 1, S_OK); }
  KivResult GetIterator(IKivChannelIterator2** out) override {
    return GiveOut(static_cast<IKivChannelIterator2*>(iterator.Get()), out);
  }
  void FireDataChanged() { FireNotification(&IKivDataNotifications::OnDataChanged, static_cast<IKivData*>(this), 0, 1); }
};

// The selection binding: a channel factory under the fake root.
class FakeBinding final : public KivObject<IKivChannelFactory> {
 public:
  ComPtr<FakeRoot> root = MakeKiv<FakeRoot>();
  ComPtr<FakeDistance> distance = MakeKiv<FakeDistance>();
  int lookups = 0;
  KivResult GetItem(const std::u16string& name, IKivChannel** out) override {
    ++lookups;
    if (name != u"[1]Corrected Distance") return E_INVALIDARG;
    return GiveOut(static_cast<IKivChannel*>(distance.Get()), out);
  }
  KivResult GetNames(NameList* names) override { return (*names = {u"[1]Corrected Distance"}, S_OK); }
  KivResult GetParent(IKivUnknown**) override { return E_UNEXPECTED; }
  KivResult SetParent(IKivUnknown*) override { return E_INVALIDARG; }
  KivResult GetRoot(IKivUnknown** out) override { return GiveOut(static_cast<IKivVelmar*>(root.Get()), out); }
  KivResult SetRoot(IKivUnknown*) override { return E_UNEXPECTED; }
  KivResult GetIcon(int32_t, int32_t, IKivUnknown**) override { return E_NOTIMPL; }
};

class Invalidations final : public CAverageSpeedCalculatorCallback {
 public:
  void OnAverageSpeedInvalid() override { ++count; }
  int count = 0;
};

TEST(AverageSpeedCalculator, SpeedOverAStretchFromTheCorrectedDistanceAndStaleOnlyOnceUntilRead) {
  auto binding = MakeKiv<FakeBinding>();
  // 0, 50, 100 ... metres every second: 50 m/s.
  binding->distance->iterator = Iterator({PeriodicBlock(0, kTicksPerSecond, {0, 50, 100, 150, 200})});
  Invalidations heard;
  CAverageSpeedCalculator calculator(&heard);
  EXPECT_EQ(calculator.Speed(), std::nullopt) << "no selection";
  calculator.SetSelection(binding.Get());
  calculator.SetRange(kTicksPerSecond / 2, 3 * kTicksPerSecond);
  EXPECT_EQ(calculator.Speed(), 50.0) << "interpolated between samples";
  const int lookups = binding->lookups;
  EXPECT_EQ(calculator.Speed(), 50.0);
  EXPECT_EQ(binding->lookups, lookups) << "the channel is kept while nothing changed";

  heard.count = 0;
  binding->distance->FireDataChanged();
  binding->distance->FireDataChanged();
  EXPECT_EQ(heard.count, 1) << "told on the change from clean only";
  EXPECT_EQ(calculator.Speed(), 50.0);
  binding->root->FireCommonChannelsChanged();
  EXPECT_EQ(heard.count, 2);
  EXPECT_EQ(calculator.Speed(), 50.0);
  EXPECT_GT(binding->lookups, lookups) << "found again after the common channels changed";

  calculator.SetRange(kTicksPerSecond, kTicksPerSecond);
  EXPECT_EQ(calculator.Speed(), std::nullopt) << "a stretch of no length";
  calculator.SetRange(9 * kTicksPerSecond, 10 * kTicksPerSecond);
  EXPECT_EQ(calculator.Speed(), 0.0) << "past the data the nearest sample stands";
}

}  // namespace
}  // namespace velmar::testing
