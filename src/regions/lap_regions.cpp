#include "regions/lap_regions.h"

#include <algorithm>

#include "velmar/text.h"

namespace velmar {
namespace {

constexpr char16_t kWarmUp[] = u"Warm-up Events";
constexpr char16_t kCoolDown[] = u"Cool-down Events";
constexpr char16_t kUnknownLap[] = u"Lap ?";

std::u16string Number(int64_t n) { return Utf8ToWide(std::to_string(n)); }

// What the markers say of the outing as a whole.
struct OutingSpan {
  KivTime start = 0;     // S
  KivTime end = 0;       // E
  KivTime moved = 0;     // M: first movement
  KivTime stopped = 0;   // Z: last movement
};

KivResult ReadSpan(IKivLapMarkers* markers, OutingSpan* span) {
  if (Failed(markers->GetOutingStart(&span->start)) || Failed(markers->GetOutingEnd(&span->end))) return E_FAIL;
  if (span->start == span->end) return E_FAIL;
  if (Failed(markers->GetFirstMovement(&span->moved))) return E_FAIL;
  const KivResult r = markers->GetLastMovement(&span->stopped);
  if (Failed(r)) return r;
  if (r == S_FALSE) span->moved = span->stopped = 0;  // movement not known
  return S_OK;
}

struct Marker {
  KivTime time = 0;
  uint32_t number = 0;
  bool halted = false;
};

KivResult ReadMarker(IKivLapMarkers* markers, uint32_t index, Marker* marker) {
  KivBool halted = KIV_FALSE;
  if (Failed(markers->IsCarHalt(index, &halted)) || Failed(markers->GetLapMarkerTime(index, &marker->time)) ||
      Failed(markers->GetLapMarkerNumber(index, &marker->number))) {
    return E_FAIL;
  }
  marker->halted = halted != KIV_FALSE;
  return S_OK;
}

// Rounds a length up to the next whole ten seconds; an exact multiple still gains ten.
KivTime NextTenSeconds(KivTime length) { return (length / kTimeTenSeconds + 1) * kTimeTenSeconds; }

// The current lap of a live outing, which has no end yet: a predicted one.
void AddPredictedLap(const LapRegionsInput& in, const OutingSpan& span, KivTime cursor, KivTime lastEnd,
                     const Marker& last, uint32_t count, CTimeRegionSet* regions) {
  if (regions->empty()) {
    const KivTime length = std::max(span.end - span.start, in.predictedLapTime);
    regions->Add(span.start, span.start + NextTenSeconds(length), kUnknownLap);
    return;
  }
  KivTime predicted = in.predictedLapTime > 0 ? std::max(lastEnd - cursor, in.predictedLapTime)
                                              : regions->back().end - regions->back().start + kTimeTwoSeconds;
  const KivTime from = cursor + kTimeOneTick;
  if (lastEnd - from > predicted) predicted += NextTenSeconds(lastEnd - from - predicted);
  KivBool halted = KIV_FALSE;
  const bool known = count > 0 && Succeeded(in.markers->IsCarHalt(count, &halted));
  regions->Add(from, from + predicted,
               known ? MakeLapName(in.words, int64_t{last.number} + 1, halted != KIV_FALSE) : kUnknownLap);
}

}  // namespace

std::u16string MakeLapName(const LapWords& words, int64_t number, bool halted) {
  std::u16string name = words.lap + u" " + Number(number);
  if (halted) name += u" (" + words.carHalt + u")";
  return name;
}

KivResult BuildLapRegions(const LapRegionsInput& in, CTimeRegionSet* regions, bool* firstMarkerAtStart) {
  *firstMarkerAtStart = false;
  if (!in.markers) return E_FAIL;
  OutingSpan span;
  if (const KivResult r = ReadSpan(in.markers, &span); Failed(r)) return r;
  uint32_t count = 0;
  if (Failed(in.markers->GetLapMarkerCount(&count))) count = 0;

  KivTime cursor = span.start;  // the end of the last lap so far
  bool warmUp = false;
  Marker marker;
  for (uint32_t i = 1; i <= count; ++i) {
    if (Failed(ReadMarker(in.markers, i, &marker))) return E_FAIL;
    if (!in.realTime && i == 1 && span.moved < marker.time && span.moved - 1 > span.start) {
      regions->Add(span.start, span.moved - 1, kWarmUp, true);
      cursor = span.moved - 1;
      warmUp = true;
    }
    if (cursor < marker.time) {
      // The first lap begins on the start itself; each later one a tick after its marker.
      const KivTime gap = (i == 1 && !warmUp) ? 0 : kTimeOneTick;
      regions->Add(cursor + gap, marker.time, MakeLapName(in.words, marker.number, marker.halted));
    } else if (i == 1 && cursor == marker.time) {
      *firstMarkerAtStart = true;
    }
    cursor = marker.time;  // a marker at or before the cursor still moves it
  }

  KivTime lastEnd = span.end;  // B
  if (!in.realTime) {
    const KivTime lastMarked = count > 0 ? marker.time : span.moved;
    if (span.stopped > lastMarked) lastEnd = std::min(span.stopped, span.end);
  }
  if (in.realTime) {
    AddPredictedLap(in, span, cursor, lastEnd, marker, count, regions);
    return S_OK;
  }
  if (count > 0) {
    // What follows the last marker is one more lap, in or out.
    if (cursor < lastEnd) {
      regions->Add(cursor + kTimeOneTick, lastEnd, MakeLapName(in.words, int64_t{marker.number} + 1, false));
    }
  } else {
    if (cursor == lastEnd) lastEnd += kTimeOneTick;
    KivTime lapStart = span.start;
    if (span.start < span.moved - 1) {
      regions->Add(span.start, span.moved - 1, kWarmUp, true);
      lapStart = span.moved;
    }
    regions->Add(lapStart, lastEnd, in.unmarkedLapName ? in.unmarkedLapName() : MakeLapName(in.words, 1, false));
  }
  // The tail is split off only when the last lap really ended on the last movement.
  if (span.stopped == lastEnd && span.stopped < span.end) {
    regions->Add(span.stopped + 1, span.end, kCoolDown, true);
  }
  return S_OK;
}

}  // namespace velmar
