#include "sources/tarn/tarn_lap_markers.h"

namespace velmar {
namespace {

// E_POINTER for a null out, else E_FAIL with the out cleared: nothing read yet.
template <class T>
[[nodiscard]] KivResult NotRead(T* out) {
  if (!out) return E_POINTER;
  *out = T{};
  return E_FAIL;
}

}  // namespace

KivResult CTarnLapMarkers::Marker(uint32_t index, const TarnLapMarker** marker) {
  const TarnLapData* data = LapMarkerData();
  if (!data) return E_FAIL;
  if (index == 0 || index > data->markers.size()) return DISP_E_BADINDEX;
  *marker = &data->markers[index - 1];
  return S_OK;
}

KivResult CTarnLapMarkers::GetLapMarkerCount(uint32_t* count) {
  if (!count) return E_POINTER;
  const TarnLapData* data = LapMarkerData();
  *count = data ? static_cast<uint32_t>(data->markers.size()) : 0;
  return S_OK;
}

KivResult CTarnLapMarkers::GetDistanceOrigin(double* origin) {
  if (!origin) return E_POINTER;
  const TarnLapData* data = LapMarkerData();
  *origin = data ? data->distanceOrigin : 0.0;
  return S_OK;
}

KivResult CTarnLapMarkers::GetLapMarkerTime(uint32_t index, KivTime* time) {
  if (!time) return E_POINTER;
  const TarnLapMarker* m = nullptr;
  if (KivResult r = Marker(index, &m); r != S_OK) return r;
  *time = m->baseTime + m->timeOffset;
  return S_OK;
}

KivResult CTarnLapMarkers::GetLapMarkerNumber(uint32_t index, uint32_t* number) {
  if (!number) return E_POINTER;
  const TarnLapMarker* m = nullptr;
  if (KivResult r = Marker(index, &m); r != S_OK) return r;
  *number = m->lapNumber;
  return S_OK;
}

KivResult CTarnLapMarkers::IsCarHalt(uint32_t index, KivBool* carHalt) {
  if (!carHalt) return E_POINTER;
  const TarnLapMarker* m = nullptr;
  if (KivResult r = Marker(index, &m); r != S_OK) return r;
  *carHalt = ToKivBool(m->crossing == 0);
  return S_OK;
}

KivResult CTarnLapMarkers::GetOutingStart(KivTime* time) {
  const TarnLapData* data = LapMarkerData();
  if (!data || !time) return NotRead(time);
  *time = data->span.outingStart;
  return S_OK;
}

KivResult CTarnLapMarkers::GetOutingEnd(KivTime* time) {
  const TarnLapData* data = LapMarkerData();
  if (!data || !time) return NotRead(time);
  *time = data->span.outingEnd;
  return S_OK;
}

KivResult CTarnLapMarkers::GetFirstMovement(KivTime* time) {
  const TarnLapData* data = LapMarkerData();
  if (!data || !time) return NotRead(time);
  *time = data->span.movement ? data->span.movement->first : 0;
  return data->span.movement ? S_OK : S_FALSE;
}

KivResult CTarnLapMarkers::GetLastMovement(KivTime* time) {
  const TarnLapData* data = LapMarkerData();
  if (!data || !time) return NotRead(time);
  *time = data->span.movement ? data->span.movement->second : 0;
  return data->span.movement ? S_OK : S_FALSE;
}

}  // namespace velmar
