// The sources of a segment finder for its tests and benchmark: an outing
// whose channels hang under a root, and a map-position channel over fixed
// samples (or one whose data is still coming).
#pragma once

#include <string>

#include "fake_lap_outing.h"
#include "outing/blocks/channel_iterator.h"
#include "velmar/channel.h"
#include "velmar/data_factory.h"

namespace velmar::testing {

// A map-position channel over fixed samples, or one whose data is still coming.
class FakePositionChannel final
    : public KivObject<IKivChannel, IKivNotificationsImpl<FakePositionChannel, IKivDataNotifications2>> {
 public:
  ComPtr<CChannelIterator> iterator;
  bool pending = false;
  KivResult GetName(std::u16string* name) override { return (*name = u"Map Position D", S_OK); }
  KivResult GetStatus(uint32_t* status) override { return (*status = pending ? 3 : 1, S_OK); }
  KivResult GetIterator(IKivChannelIterator2** out) override {
    *out = nullptr;
    if (pending) return KIV_E_PENDING;
    return GiveOut(static_cast<IKivChannelIterator2*>(iterator.Get()), out);
  }
  void FireDataChanged() { FireNotification(&IKivDataNotifications::OnDataChanged, static_cast<IKivData*>(this), 0, 10); }
};

// An outing whose channels hang under a root of their own (the outing itself).
class SegmentOuting final : public FakeLapOutingT<IKivDataFactory> {
 public:
  KivResult GetNames(NameList* names) override { return (names->clear(), S_OK); }
  KivResult GetParent(IKivUnknown**) override { return E_UNEXPECTED; }
  KivResult SetParent(IKivUnknown*) override { return E_INVALIDARG; }
  KivResult GetRoot(IKivUnknown** root) override { return GiveOut(PrimaryUnknown(), root); }
  KivResult SetRoot(IKivUnknown*) override { return E_UNEXPECTED; }
  KivResult GetIcon(int32_t, int32_t, IKivUnknown**) override { return E_NOTIMPL; }
};

}  // namespace velmar::testing
