// CSegmentFinder: every passage of an outing through every segment of the
// root's circuit map ("Turn 1 : Lap 3"). Each lap is cut at its lap marker
// and walked along the map-position channel (segment_helper.h). Warm-up
// and cool-down stand around the run as the lap finder's do; an outing that
// can't be cut (no map, no position channel, no crossing) is one "Whole
// Outing" region from the first to the last movement.
//
// Any change of the markers, the position channel's data, the map or the
// root's common channels throws the regions away; the next read builds them.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>

#include "core/branded_outing_information.h"
#include "regions/time_region_finder_impl.h"
#include "velmar/classes.h"
#include "velmar/channel.h"
#include "velmar/circuit_map.h"
#include "velmar/data_factory.h"
#include "velmar/lap_markers.h"
#include "velmar/outing_notifications.h"
#include "velmar/velmar_notifications.h"

namespace velmar {

class CSegmentFinder final : public IKivTimeRegionFinderImpl<CSegmentFinder>,
                             private CLapMarkersNotificationsReceiver,
                             private CDataNotificationsReceiver,
                             private CVelmarNotificationsReceiver,
                             private CCircuitMapDataNotifications3Receiver {
 public:
  static constexpr Guid kClassId = CLSID_KivSegmentFinder;
  CSegmentFinder();
  explicit CSegmentFinder(CBrandedOutingInformation labels);

  KivResult GetDefaultRegionName(std::u16string* name) override;

  // The map to cut by, in place of the root's (null: none until the root's
  // next change).
  void SetCircuitMapData(IKivCircuitMapData* map);
  // The channel to follow, in place of the common map-position channel.
  void SetPositionChannel(IKivChannel* channel);

 private:
  ~CSegmentFinder() override;

  KivResult Populate() override;
  KivResult FindDefaultRegion(int32_t* index) override;
  KivResult AttachOuting(IKivOuting* outing) override;
  void Detach();
  void ReleasePositionChannel();
  void AcquirePositionChannel();
  void TakeRootMap();

  // CLapMarkersNotificationsReceiver
  void OnLapMarkersReset() override { Invalidate(); }
  void OnLapMarkersChanged(IKivOuting*, KivTime, KivTime) override { Invalidate(); }
  // CDataNotificationsReceiver
  void OnDataChanged(IKivData*, KivTime, KivTime) override { Invalidate(); }
  void OnDataRemoved(IKivData*) override { Invalidate(); }
  // CVelmarNotificationsReceiver
  void CircuitMapDataChanged(IKivVelmar*, IKivCircuitMapData* map) override;
  void CommonChannelsChanged(IKivVelmar*) override;
  void Closing(IKivVelmar*) override { Detach(); }
  // CCircuitMapDataNotifications3Receiver
  void OnLapLengthChanged(IKivCircuitMapData*) override { Invalidate(); }
  void OnSegmentsChanged(IKivCircuitMapData*) override { Invalidate(); }
  void OnMarkersChanged(IKivCircuitMapData*) override { Invalidate(); }

  CBrandedOutingInformation labels_;
  ComPtr<IKivLapMarkers> lapMarkers_;
  ComPtr<IKivOuting> outing_;
  ComPtr<IKivUnknown> root_;  // what the channels hang under
  ComPtr<IKivVelmar> velmar_;  // the same, when it is a root object
  ComPtr<IKivDataFactory> channelFactory_;
  ComPtr<IKivChannel> positionChannel_;
  ComPtr<IKivDataCache> positionCache_;  // locked while held
  ComPtr<IKivCircuitMapData> circuitMapData_;
  ComPtr<CLapMarkersNotificationsSink<>> markerSink_;
  ComPtr<CDataNotificationsSink<>> dataSink_;
  ComPtr<CVelmarNotificationsSink<>> rootSink_;
  ComPtr<CCircuitMapDataNotifications3Sink<>> mapSink_;
};

}  // namespace velmar
