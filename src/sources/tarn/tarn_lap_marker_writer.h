// IKivLapMarkerWriter of a `.trn` outing: each edit checks what it can at
// once against the markers read so far, builds its step and queues it in the
// cache's transaction. Nothing reaches the file before the commit.
//
// Client thread only.
#pragma once

#include "velmar/data_factory.h"
#include "velmar/lap_markers.h"

namespace velmar {

class CTarnOutingCache;

class CLapMarkerWriterBase : public IKivLapMarkerWriter {
 public:
  // 0x80070057 outside the outing, KIV_E_MARKER_EXISTS on a marker's time.
  KivResult AddLapMarkerAtTime(KivTime time) override;
  // E_FAIL while the markers are not read.
  KivResult AddLapMarkerAtDistance(double distance) override;
  // 1-based; DISP_E_BADINDEX out of range, E_FAIL while not read.
  KivResult RemoveLapMarker(uint32_t index) override;
  // Moves every line crossing by `distance` metres along the lap.
  KivResult ShiftLapMarkers(double distance) override;
  KivResult ResetLapMarkers() override;

 protected:
  ~CLapMarkerWriterBase() = default;
  virtual CTarnOutingCache* WriterCache() = 0;
  // The outing's channel factory: the road to the distance channel.
  virtual IKivDataFactory* WriterChannels() = 0;
};

}  // namespace velmar
