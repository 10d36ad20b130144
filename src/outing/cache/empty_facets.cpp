#include "outing/cache/empty_facets.h"

namespace velmar {
namespace {

// Null out: E_POINTER. Otherwise the out is cleared and the result is E_FAIL.
template <class T>
KivResult NothingLoaded(T* out) {
  if (!out) return E_POINTER;
  *out = T{};
  return E_FAIL;
}

}  // namespace

KivResult CEmptyLapMarkers::GetLapMarkerCount(uint32_t* count) {
  if (!count) return E_POINTER;
  *count = 0;
  return S_OK;
}

KivResult CEmptyLapMarkers::GetDistanceOrigin(double* origin) {
  if (!origin) return E_POINTER;
  *origin = 0.0;
  return S_OK;
}

KivResult CEmptyLapMarkers::GetLapMarkerTime(uint32_t, KivTime* time) { return NothingLoaded(time); }
KivResult CEmptyLapMarkers::GetLapMarkerNumber(uint32_t, uint32_t* number) { return NothingLoaded(number); }
KivResult CEmptyLapMarkers::IsCarHalt(uint32_t, KivBool* carHalt) { return NothingLoaded(carHalt); }
KivResult CEmptyLapMarkers::GetOutingStart(KivTime* time) { return NothingLoaded(time); }
KivResult CEmptyLapMarkers::GetOutingEnd(KivTime* time) { return NothingLoaded(time); }
KivResult CEmptyLapMarkers::GetFirstMovement(KivTime* time) { return NothingLoaded(time); }
KivResult CEmptyLapMarkers::GetLastMovement(KivTime* time) { return NothingLoaded(time); }

KivResult CEmptyLapMarkerWriter::AddLapMarkerAtTime(KivTime) { return E_INVALIDARG; }
KivResult CEmptyLapMarkerWriter::AddLapMarkerAtDistance(double) { return E_FAIL; }
KivResult CEmptyLapMarkerWriter::RemoveLapMarker(uint32_t) { return E_FAIL; }
KivResult CEmptyLapMarkerWriter::ShiftLapMarkers(double) { return E_FAIL; }
KivResult CEmptyLapMarkerWriter::ResetLapMarkers() { return E_FAIL; }

}  // namespace velmar
