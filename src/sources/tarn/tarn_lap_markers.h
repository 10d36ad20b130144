// IKivLapMarkers of a `.trn` outing, read from its cache's lap marker read.
// A call that finds the markers not yet read starts the read.
//
// Client thread only.
#pragma once

#include "sources/tarn/tarn_lap_data.h"
#include "velmar/lap_markers.h"

namespace velmar {

class CTarnLapMarkers : public IKivLapMarkers {
 public:
  KivResult GetLapMarkerCount(uint32_t* count) override;
  KivResult GetDistanceOrigin(double* origin) override;
  KivResult GetLapMarkerTime(uint32_t index, KivTime* time) override;
  KivResult GetLapMarkerNumber(uint32_t index, uint32_t* number) override;
  KivResult IsCarHalt(uint32_t index, KivBool* carHalt) override;
  KivResult GetOutingStart(KivTime* time) override;
  KivResult GetOutingEnd(KivTime* time) override;
  KivResult GetFirstMovement(KivTime* time) override;
  KivResult GetLastMovement(KivTime* time) override;

 protected:
  ~CTarnLapMarkers() = default;
  // The markers as read; null (and the read started) while not read.
  virtual const TarnLapData* LapMarkerData() = 0;

 private:
  // The marker of a public index (from 1): S_OK, E_FAIL until read,
  // DISP_E_BADINDEX out of range.
  [[nodiscard]] KivResult Marker(uint32_t index, const TarnLapMarker** marker);
};

}  // namespace velmar
