// CGlobalTimeFinder: several outings of one task recorded at once, each on
// its own time axis, put on one axis by the clock each carries (the common
// channel for global time, a whole-second counter). Each outing gets one
// region, "Global Time", whose start is shifted so that it is the same real
// instant in every outing of the task: the reference outing (the least
// clock reading at its anchor) keeps its start; an outing that started
// later begins before its own data. An outing without a usable clock keeps
// its own span.
//
// The anchor is found once: three samples one second apart that count up.
// Data that arrives after it costs nothing.
//
// Client thread only.
#pragma once

#include <string>

#include "regions/global_time_groups.h"
#include "regions/time_region_finder_impl.h"
#include "velmar/channel.h"
#include "velmar/classes.h"
#include "velmar/data_factory.h"
#include "velmar/lap_markers.h"
#include "velmar/outing_notifications.h"
#include "velmar/velmar_notifications.h"

namespace velmar {

class CGlobalTimeFinder final : public IKivTimeRegionFinderImpl<CGlobalTimeFinder>,
                                private CVelmarNotificationsReceiver,
                                private CDataNotificationsReceiver,
                                private CLapMarkersNotifications2Receiver {
 public:
  static constexpr Guid kClassId = CLSID_KivGlobalTimeFinder;
  CGlobalTimeFinder();

  KivResult GetDefaultRegionName(std::u16string* name) override;

  // The anchor found (after a read): clock reading and offset from the start.
  const GlobalTimeAnchor& anchor() const { return anchor_; }

 private:
  ~CGlobalTimeFinder() override;

  KivResult Populate() override;
  KivResult FindDefaultRegion(int32_t* index) override;
  KivResult AttachOuting(IKivOuting* outing) override;
  void FireRegionsChanged() override;
  void Detach();

  [[nodiscard]] bool FindAnchor(IKivChannelIterator2* iterator);
  [[nodiscard]] KivResult UpdateAnchor();
  void RemoveAnchor();
  void ReleaseGroup();
  void Restart();
  void AcquireClock();
  void ReleaseClock();
  void ClearAndTell(bool searchAgain);

  // CVelmarNotificationsReceiver
  void CommonChannelsChanged(IKivVelmar*) override;
  void Closing(IKivVelmar*) override { Detach(); }
  // CDataNotificationsReceiver: the clock channel.
  void OnDataChanged(IKivData*, KivTime from, KivTime to) override;
  void OnDataRemoved(IKivData*) override;
  // CLapMarkersNotifications2Receiver: the range notification alone counts.
  void OnLapMarkersShifted(IKivOuting*, KivTime, KivTime) override { ClearAndTell(false); }

  ComPtr<IKivOuting> outing_;
  ComPtr<IKivLapMarkers> lapMarkers_;
  ComPtr<IKivVelmar> root_;
  ComPtr<IKivDataFactory> channelFactory_;
  ComPtr<IKivUnknown> selection_;  // the data selection that holds the outing
  ComPtr<IKivChannel> clock_;
  ComPtr<IKivDataCache> clockCache_;
  GlobalTimeAnchor anchor_{kTimeMax, 0.0};
  KivTime anchorCheckEnd_ = kTimeMin;
  const void* groupKey_ = nullptr;  // the task, not counted
  bool needsAnchor_ = true;
  ComPtr<CVelmarNotificationsSink<>> rootSink_;
  ComPtr<CDataNotificationsSink<>> clockSink_;
  ComPtr<CLapMarkersNotifications2Sink<>> markerSink_;
};

}  // namespace velmar
