// CLapFinder: the laps of one outing, from its lap markers (lap_regions.h).
// Any change of the markers or of the outing's data throws the laps away;
// the next read builds them again, so an edit needs no special case.
//
// The default region is the fastest lap, as the outing's information names
// it ("Fast lap number" against "First lap number"). A live outing's
// current lap is predicted, from a circuit map's lap time when the client
// gave one, and grows in steps of ten seconds as data arrives.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>

#include "core/branded_outing_information.h"
#include "regions/lap_regions.h"
#include "regions/time_region_finder_impl.h"
#include "velmar/classes.h"
#include "velmar/lap_markers.h"
#include "velmar/outing_notifications.h"
#include "velmar/property_factories.h"
#include "velmar/velmar_notifications.h"

namespace velmar {

class CLapFinder final : public IKivTimeRegionFinderImpl<CLapFinder>,
                         private COutingNotifications2Receiver,
                         private CLapMarkersNotifications2Receiver,
                         private CCircuitMapDataNotifications2Receiver,
                         private CVelmarNotificationsReceiver {
 public:
  static constexpr Guid kClassId = CLSID_KivLapFinder;
  CLapFinder();
  explicit CLapFinder(CBrandedOutingInformation labels);

  KivResult GetDefaultRegionName(std::u16string* name) override;

  // Takes the circuit map a client placed on the root (or none): its lap
  // time predicts a live outing's current lap, and follows its changes.
  void SetCircuitMapData(IKivCircuitMapData* map);
  KivTime predicted_lap_time() const { return predictedLapTime_; }
  // A live outing now holds data over [from, to]: the current lap grows
  // when the data passed its end; a jump of the window rebuilds.
  void OnLiveRange(KivTime from, KivTime to);

  bool real_time() const { return realTime_; }
  bool first_marker_at_start() const { return firstMarkerAtStart_; }

 private:
  ~CLapFinder() override;

  KivResult Populate() override;
  KivResult FindDefaultRegion(int32_t* index) override;
  KivResult FindLastCompleteRegion(int32_t* index) override;
  KivResult AttachOuting(IKivOuting* outing) override;
  void Detach();
  // The root the outing's channel factory hangs under; none is no error.
  void ReachRoot(IKivOuting* outing);
  // Once per outing, the root's circuit map.
  void AdoptRootMapOnce();
  void ReadPredictedLapTime();

  // The name of the one lap of an outing without markers.
  std::u16string UnmarkedLapName();
  LapWords Words() const;

  // COutingNotifications2Receiver / CLapMarkersNotifications2Receiver. The
  // laps are rebuilt when the outing's data comes or changes and when the
  // markers change; a reset or a reload is followed by those, so it alone
  // rebuilds nothing. The range notification only walks a live lap ahead.
  void OnInformationChanged(IKivOuting*) override {
    Invalidate();
    AdoptRootMapOnce();
  }
  void OnLapMarkersChanged(IKivOuting*, KivTime, KivTime) override { Invalidate(); }
  void OnLapMarkersShifted(IKivOuting*, KivTime from, KivTime to) override { OnLiveRange(from, to); }
  // CCircuitMapDataNotifications2Receiver: the lap time may have changed; the laps stay.
  void OnMapDataChanged(IKivCircuitMapData*) override { ReadPredictedLapTime(); }
  // CVelmarNotificationsReceiver
  void CircuitMapDataChanged(IKivVelmar*, IKivCircuitMapData* map) override { SetCircuitMapData(map); }
  void Closing(IKivVelmar*) override { Detach(); }

  CBrandedOutingInformation labels_;
  ComPtr<IKivOuting> outing_;
  ComPtr<IKivLapMarkers> lapMarkers_;
  ComPtr<IKivCircuitMapData> circuitMap_;
  ComPtr<IKivVelmar> root_;
  ComPtr<COutingNotifications2Sink<>> outingSink_;
  ComPtr<CLapMarkersNotifications2Sink<>> markerSink_;
  ComPtr<CCircuitMapDataNotifications2Sink<>> mapSink_;
  ComPtr<CVelmarNotificationsSink<>> rootSink_;
  bool circuitMapTried_ = false;
  bool realTime_ = false;
  bool firstMarkerAtStart_ = false;
  KivTime lastExtensionEnd_ = kTimeMin;
  KivTime lastExtensionLength_ = 0;
  KivTime predictedLapTime_ = 0;
};

}  // namespace velmar
