#include "outing/laps/fast_lap.h"

namespace velmar {
namespace {

FastLap BetweenMarkers(const FastLapInput& in) {
  FastLap best{false, 0, kTimeMax};
  for (size_t i = 1; i < in.markers.size(); ++i) {
    const KivTime time = in.markers[i] - in.markers[i - 1];
    // "time - 1 < best": of equal laps the later one wins.
    if (time - 1 < best.time && !(in.filter && time - 1 < in.minimum)) best = {true, static_cast<int32_t>(i), time};
  }
  return best;
}

FastLap WholeStretch(const FastLapInput& in) {
  KivTime from = in.outingStart;
  KivTime to = in.outingEnd;
  const bool oneMarker = in.markers.size() == 1;
  if (in.hasChannels) {
    from = in.channelStart;
    to = in.channelEnd;
    if (oneMarker) {
      to = in.markers[0];
      if (!(in.markers[0] > in.channelStart)) from = in.outingStart;
    }
  } else if (oneMarker) {
    to = in.markers[0];
  }
  const KivTime best = to - from;
  if (best < 0 || (in.filter && best < in.minimum)) return {};
  return {true, 0, best};
}

}  // namespace

FastLap ComputeFastLap(const FastLapInput& input) {
  FastLap lap = input.markers.size() >= 2 ? BetweenMarkers(input) : WholeStretch(input);
  if (!lap.found) return {};
  return lap;
}

}  // namespace velmar
