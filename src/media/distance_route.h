// The distance-adjusted route of a media channel: video recorded with one
// outing (the channel's own) shown against another (the task's active
// selection), each frame placed where the active outing reaches the
// distance the own outing had when the frame was taken. Two laps' videos so
// stay at the same point of the circuit however differently they were driven.
//
// Distances are measured from each span's start: a frame at own distance d
// (from the own span's start) shows when the active outing is d past its
// span's start. Positions come out relative to the active span's start.
//
// Pure functions of their arguments; any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "media/clip_routes.h"
#include "media/distance_trace.h"

namespace velmar {

// The two outings' times, in outing time, as the route reads them.
struct DistanceSpans {
  KivTime ownStart = 0, ownEnd = 0;
  KivTime activeStart = 0, activeEnd = 0;
  KivTime outingStart = 0, outingEnd = 0;  // the own outing's first and last lap marker
  KivTime timeOffset = 0;                  // the own outing's offset, added to every clip time
};

// The distances every clip is measured from.
struct DistanceFrame {
  const DistanceTrace* own = nullptr;
  const DistanceTrace* active = nullptr;
  DistanceSpans spans;
  double ownStartDistance = 0;
  double activeStartDistance = 0;
  double activeEndDistance = 0;
  double activeDistanceRange = 0;
};

enum class DistancePreparation {
  kReady,
  kNoActiveDistance,  // the active outing's distance has no data over its span
  kNoOwnDistance,     // the own outing's has none at its span's start
};

// Reads the distances at the spans' ends (interpolated, else the nearest sample).
DistancePreparation PrepareDistanceRoute(const DistanceTrace* own, const DistanceTrace* active,
                                         const DistanceSpans& spans, DistanceFrame* frame);

// The time at which the active outing reaches the distance the own outing
// had at `time`; false when the own distance lies before its start or the
// active outing never gets there.
bool MapToActive(const DistanceFrame& frame, KivTime time, KivTime* mapped);

// What the route made of each clip, for the player and the diagnostics.
struct DistanceRoute {
  enum class Fate { kAdded, kNoFile, kNoDistance, kOutside, kNoFrames };
  std::vector<PlannedClip> planned;
  std::vector<Fate> fates;  // one per clip given, in order
  bool distanceMissing = false;  // some clip's ends had no distance
};

// `fileExists` answers for a clip's path (a missing file is skipped).
DistanceRoute PlanDistanceRoute(const std::vector<ClipSource>& clips, const DistanceFrame& frame,
                                const std::function<bool(const std::u16string&)>& fileExists);

}  // namespace velmar
