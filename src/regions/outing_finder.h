// COutingFinder: the outing as one region, "Whole Outing", with the waits
// before the first movement ("Warm-up Events") and after the last one
// ("Cool-down Events") cut off as auxiliary regions. It follows the
// outing's lap markers, which carry the outing's span and movements.
//
// Client thread only.
#pragma once

#include <string>

#include "regions/time_region_finder_impl.h"
#include "velmar/classes.h"
#include "velmar/lap_markers.h"
#include "velmar/outing_notifications.h"

namespace velmar {

class COutingFinder final : public IKivTimeRegionFinderImpl<COutingFinder>, private CLapMarkersNotificationsReceiver {
 public:
  static constexpr Guid kClassId = CLSID_KivOutingFinder;
  COutingFinder();

  KivResult GetDefaultRegionName(std::u16string* name) override;

 private:
  ~COutingFinder() override;

  KivResult Populate() override;
  KivResult FindDefaultRegion(int32_t* index) override;
  KivResult AttachOuting(IKivOuting* outing) override;
  void Detach();

  void OnLapMarkersReset() override { Invalidate(); }
  void OnLapMarkersChanged(IKivOuting*, KivTime, KivTime) override { Invalidate(); }

  ComPtr<IKivOuting> outing_;
  ComPtr<IKivLapMarkers> lapMarkers_;
  ComPtr<CLapMarkersNotificationsSink<>> markerSink_;
};

}  // namespace velmar
