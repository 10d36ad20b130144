// CListLapMarkers<Data>: IKivLapMarkers over a list of markers that the
// source read whole (a text file's "End of lap" times, a store's marker
// records). A call that finds nothing read yet starts the read.
//
// Data holds `span` (a LapSpan), `distanceOrigin` and `markers`, in time
// order; for each marker m, found by argument-dependent lookup:
// LapMarkerTime(m), LapMarkerNumber(m) and LapMarkerHalted(m).
//
// Client thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "velmar/lap_markers.h"

namespace velmar {

// The stretch that lap markers cut: the outing's start and end, and the
// first and last movement of the car when the source knows them.
struct LapSpan {
  KivTime outingStart = 0;
  KivTime outingEnd = 0;
  std::optional<std::pair<KivTime, KivTime>> movement;
};

template <class Data>
class CListLapMarkers : public IKivLapMarkers {
 public:
  // 0 until read.
  KivResult GetLapMarkerCount(uint32_t* count) override {
    if (!count) return E_POINTER;
    const Data* data = LapMarkerData();
    *count = data ? static_cast<uint32_t>(data->markers.size()) : 0;
    return S_OK;
  }
  // 0.0 until read.
  KivResult GetDistanceOrigin(double* origin) override {
    if (!origin) return E_POINTER;
    const Data* data = LapMarkerData();
    *origin = data ? data->distanceOrigin : 0.0;
    return S_OK;
  }
  // DISP_E_BADINDEX out of range, E_FAIL until read.
  KivResult GetLapMarkerTime(uint32_t index, KivTime* time) override {
    return Field(index, time, [](const auto& m) { return LapMarkerTime(m); });
  }
  KivResult GetLapMarkerNumber(uint32_t index, uint32_t* number) override {
    return Field(index, number, [](const auto& m) { return LapMarkerNumber(m); });
  }
  KivResult IsCarHalt(uint32_t index, KivBool* carHalt) override {
    return Field(index, carHalt, [](const auto& m) { return ToKivBool(LapMarkerHalted(m)); });
  }
  // E_FAIL until read.
  KivResult GetOutingStart(KivTime* time) override { return SpanTime(time, &LapSpan::outingStart); }
  KivResult GetOutingEnd(KivTime* time) override { return SpanTime(time, &LapSpan::outingEnd); }
  // S_FALSE with 0 when the source does not know the movement.
  KivResult GetFirstMovement(KivTime* time) override { return Movement(time, true); }
  KivResult GetLastMovement(KivTime* time) override { return Movement(time, false); }

 protected:
  ~CListLapMarkers() = default;
  // The markers as read; null (and the read started) while not read.
  virtual const Data* LapMarkerData() = 0;

 private:
  template <class T, class Get>
  KivResult Field(uint32_t index, T* out, Get get) {
    if (!out) return E_POINTER;
    const Data* data = LapMarkerData();
    if (!data) return E_FAIL;
    if (index == 0 || index > data->markers.size()) return DISP_E_BADINDEX;
    *out = static_cast<T>(get(data->markers[index - 1]));
    return S_OK;
  }
  KivResult SpanTime(KivTime* time, KivTime LapSpan::*field) {
    if (!time) return E_POINTER;
    *time = 0;
    const Data* data = LapMarkerData();
    if (!data) return E_FAIL;
    *time = data->span.*field;
    return S_OK;
  }
  KivResult Movement(KivTime* time, bool first) {
    if (!time) return E_POINTER;
    *time = 0;
    const Data* data = LapMarkerData();
    if (!data) return E_FAIL;
    if (!data->span.movement) {
      // Not known: the car is taken to move for the whole outing, so that a
      // reader of the values alone (the outing finder) sees the whole run.
      *time = first ? data->span.outingStart : data->span.outingEnd;
      return S_FALSE;
    }
    *time = first ? data->span.movement->first : data->span.movement->second;
    return S_OK;
  }
};

}  // namespace velmar
