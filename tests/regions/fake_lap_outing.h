// An outing that is only its lap markers, its information and its
// notification points, for the finders' tests: each test sets the fields
// and fires what a source would.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/notifications_impl.h"
#include "support/map_properties.h"
#include "velmar/lap_markers.h"
#include "velmar/outing_notifications.h"
#include "velmar/time_regions.h"

namespace velmar::testing {

inline constexpr KivTime kSec = 10'000'000;

struct FakeMarker {
  KivTime time = 0;
  uint32_t number = 0;
  bool halted = false;
};

template <class... Extra>
class FakeLapOutingT
    : public KivObject<IKivOuting, IKivLapMarkers, Extra...,
                       IKivNotificationsImpl<FakeLapOutingT<Extra...>, IKivOutingNotifications2,
                                             IKivLapMarkersNotifications2>> {
 public:
  KivTime start = 0, end = 100 * kSec;
  KivTime moved = 0, stopped = 100 * kSec;
  bool movementKnown = true;
  std::vector<FakeMarker> markers;
  ComPtr<CMapProperties> information;  // null: the outing has none
  int failMarkerRead = 0;                // 1-based index whose reads fail

  // IKivOuting
  KivResult GetCaption(std::u16string* caption) override { return (*caption = u"fake", S_OK); }
  KivResult GetOutingInformation(IKivPropertySet** out) override {
    *out = nullptr;
    if (!information) return S_FALSE;
    return GiveOut(static_cast<IKivPropertySet*>(information.Get()), out);
  }
  KivResult GetFileName(std::u16string* path) override { return (*path = u"fake.trn", S_OK); }
  KivResult GetOutingType(uint32_t* type) override { return (*type = 1, S_OK); }
  KivResult CloseData() override { return S_OK; }
  KivResult SetTimeOffset(KivTime) override { return S_OK; }

  // IKivLapMarkers
  KivResult GetLapMarkerCount(uint32_t* count) override { return (*count = uint32_t(markers.size()), S_OK); }
  KivResult GetDistanceOrigin(double* origin) override { return (*origin = 0, S_OK); }
  KivResult GetLapMarkerTime(uint32_t i, KivTime* t) override {
    const FakeMarker* m = At(i);
    return m ? (*t = m->time, S_OK) : DISP_E_BADINDEX;
  }
  KivResult GetLapMarkerNumber(uint32_t i, uint32_t* n) override {
    const FakeMarker* m = At(i);
    return m ? (*n = m->number, S_OK) : DISP_E_BADINDEX;
  }
  KivResult IsCarHalt(uint32_t i, KivBool* halted) override {
    const FakeMarker* m = At(i);
    return m ? (*halted = ToKivBool(m->halted), S_OK) : DISP_E_BADINDEX;
  }
  KivResult GetOutingStart(KivTime* t) override { return (*t = start, S_OK); }
  KivResult GetOutingEnd(KivTime* t) override { return (*t = end, S_OK); }
  KivResult GetFirstMovement(KivTime* t) override { return (*t = moved, movementKnown ? S_OK : S_FALSE); }
  KivResult GetLastMovement(KivTime* t) override { return (*t = stopped, movementKnown ? S_OK : S_FALSE); }

  // Markers 1..n at the given times, numbered from 1.
  void SetMarkers(std::initializer_list<KivTime> times) {
    markers.clear();
    for (KivTime t : times) markers.push_back({t, uint32_t(markers.size() + 1), false});
  }
  void FireMarkersChanged() {
    this->FireNotification(&IKivLapMarkersNotifications::OnLapMarkersChanged, static_cast<IKivOuting*>(this),
                           start, end);
  }
  // The range notification, and the two that come with every load.
  void FireRange(KivTime from, KivTime to) {
    this->FireNotification(&IKivLapMarkersNotifications2::OnLapMarkersShifted, static_cast<IKivOuting*>(this), from,
                           to);
  }
  void FireReset() { this->FireNotification(&IKivLapMarkersNotifications::OnLapMarkersReset); }

 private:
  const FakeMarker* At(uint32_t i) const {
    if (i < 1 || i > markers.size() || int(i) == failMarkerRead) return nullptr;
    return &markers[i - 1];
  }
};

using FakeLapOuting = FakeLapOutingT<>;

// A live outing: the same, offering IKivRealtimeOuting.
class FakeLiveOuting final : public FakeLapOutingT<IKivRealtimeOuting> {
 public:
  KivResult GetHistoryMode(KivBool* keepAll) override { return (*keepAll = KIV_TRUE, S_OK); }
  KivResult SetHistoryMode(KivBool) override { return S_OK; }
};

}  // namespace velmar::testing
