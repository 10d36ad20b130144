// KivLiveFollower over the live outing's core.
#include "config/real_time_settings.h"
#include "sources/realtime/rt_outing_core.h"
#include "velmar/realtime_follow.h"

namespace velmar {

namespace {

class LiveFollower final : public KivLiveFollower, private IRtOutingEvents {
 public:
  explicit LiveFollower(const std::u16string& address)
      : core_(address, ComPtr<IKivRealTimeSettings3>(MakeKiv<CRealTimeSettings>().Get()), TcpLinkMaker(), this) {}

  std::u16string Caption() override { return core_.GetCaption(); }
  int32_t ConnectionState() const override { return static_cast<int32_t>(core_.state()); }
  bool IsConnected() const override { return core_.connected(); }
  KivResult TimeRange(KivTime* start, KivTime* end) const override {
    if (!start || !end) return E_POINTER;
    return core_.OutingRange(start, end);
  }
  std::vector<std::u16string> ChannelNames() override { return core_.ChannelNames(); }

  KivResult LatestValue(const std::u16string& channel, KivTime* time, double* value) override {
    if (!time || !value) return E_POINTER;
    const RtBlockList* blocks = nullptr;
    const KivResult r = core_.ReadChannel(channel, &blocks);
    if (Failed(r)) return r;
    const RtHeldBlock& last = blocks->blocks().back();
    *time = last.LastTime();
    *value = last.values.back();
    return S_OK;
  }

  KivResult LapTimes(std::vector<KivTime>* times) override {
    if (!times) return E_POINTER;
    std::vector<rt::WireLapMarker> markers;
    const KivResult r = core_.LapMarkers(&markers);
    if (Failed(r)) return r;
    times->clear();
    for (const auto& m : markers) times->push_back(m.baseTime + m.timeOffset);
    return S_OK;
  }

 private:
  // The follower reads again when asked; it acts on none of the notifications.
  CRTOutingCore core_;
};

}  // namespace

KivResult KivLiveFollower::Open(const std::u16string& address, std::unique_ptr<KivLiveFollower>* follower) {
  if (!follower) return E_POINTER;
  RtAddress single;
  if (!ParseRtAddress(address, &single) && ClassifyRtHostList(address, nullptr) != RtHostClass::kValid) {
    return E_INVALIDARG;
  }
  *follower = std::make_unique<LiveFollower>(address);
  return S_OK;
}

}  // namespace velmar
