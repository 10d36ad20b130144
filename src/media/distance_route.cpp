#include "media/distance_route.h"

#include <algorithm>

namespace velmar {
namespace {

// A frame table laid onto the active outing: adjusted times (on the active
// outing's clock) and source times (in the clip), both from the clip's start.
struct MappedFrames {
  std::vector<KivTime> adjusted;
  std::vector<KivTime> source;
  uint32_t lastFrame = 0;
};

// The own outing's distance at `time` from its span's start: interpolated,
// else the sample on the side `mode` names.
bool OwnDistance(const DistanceFrame& frame, KivTime time, int32_t mode, double* distance) {
  double d = 0;
  if (!frame.own->ValueAt(time, &d) && !frame.own->SampleValue(time, mode, &d)) return false;
  *distance = d - frame.ownStartDistance;
  return true;
}

MappedFrames MapFrames(const ClipSource& clip, const DistanceFrame& frame, KivTime position, KivTime remaining) {
  const DistanceSpans& s = frame.spans;
  const KivTime clipBase = s.timeOffset + clip.start;
  const bool startsBeforeSpan = clip.frames.front().time + s.timeOffset < s.ownStart;
  MappedFrames out;
  KivTime shift = 0, limit = 0;
  WalkFrameTable(clip, s.ownStart - s.timeOffset, [&](uint32_t number, KivTime storeTime, bool first) {
    KivTime t = storeTime + s.timeOffset;
    KivTime m = 0;
    if (!MapToActive(frame, t, &m)) {
      // Beyond the distance the active outing's data reaches: past the span's end.
      double d = 0;
      if (out.adjusted.empty() || !frame.own->ValueAt(t, &d) || d - frame.ownStartDistance < frame.activeDistanceRange) {
        return true;
      }
      m = limit + 1;
    }
    if (m < s.activeStart + position) return true;
    if (out.adjusted.empty()) {
      // A clip that began before the span joins it at the span's start.
      if (!first && startsBeforeSpan) {
        t = s.ownStart;
        m = s.activeStart;
      }
      shift = m - (t - clipBase);
      limit = m + remaining;
      out.adjusted.push_back(t - clipBase);
      out.source.push_back(t - clipBase);
      out.lastFrame = number;
      return true;
    }
    // Distance falling behind time (a car that reverses) holds the picture.
    const KivTime adjusted = std::max((m > limit ? limit : m) - shift, out.adjusted.back());
    out.adjusted.push_back(adjusted);
    out.source.push_back(t - clipBase);
    // The entry that ends the walk is a frame too, so that frame numbers
    // and source times stay in step.
    out.lastFrame = number;
    return m <= limit;
  });
  return out;
}

}  // namespace

DistancePreparation PrepareDistanceRoute(const DistanceTrace* own, const DistanceTrace* active,
                                         const DistanceSpans& spans, DistanceFrame* frame) {
  *frame = DistanceFrame{own, active, spans, 0, 0, 0, 0};
  if (!own || !own->ValueOrNearest(spans.ownStart, &frame->ownStartDistance)) {
    return DistancePreparation::kNoOwnDistance;
  }
  if (!active || !active->ValueOrNearest(spans.activeEnd, &frame->activeEndDistance) ||
      !active->ValueOrNearest(spans.activeStart, &frame->activeStartDistance)) {
    return DistancePreparation::kNoActiveDistance;
  }
  frame->activeDistanceRange = frame->activeEndDistance - frame->activeStartDistance;
  return DistancePreparation::kReady;
}

bool MapToActive(const DistanceFrame& frame, KivTime time, KivTime* mapped) {
  double d = 0;
  if (!frame.own->ValueAt(time, &d)) return false;
  d -= frame.ownStartDistance;
  return d >= 0 && frame.active->TimeOf(d + frame.activeStartDistance, mapped);
}

DistanceRoute PlanDistanceRoute(const std::vector<ClipSource>& clips, const DistanceFrame& frame,
                                const std::function<bool(const std::u16string&)>& fileExists) {
  using Fate = DistanceRoute::Fate;
  const DistanceSpans& s = frame.spans;
  DistanceRoute route;
  for (const ClipSource& clip : clips) {
    Fate& fate = route.fates.emplace_back(Fate::kAdded);
    if (clip.path.empty() || !fileExists(clip.path)) {
      fate = Fate::kNoFile;
      continue;
    }
    const KivTime clipStart = std::max(clip.start + s.timeOffset, s.outingStart);
    const KivTime clipEnd = std::min(clip.end + s.timeOffset, s.outingEnd);
    double startDistance = 0, endDistance = 0;
    if (!OwnDistance(frame, clipStart, kFindNextAfter, &startDistance) ||
        !OwnDistance(frame, clipEnd, kFindLastBefore, &endDistance)) {
      fate = Fate::kNoDistance;
      route.distanceMissing = true;
      continue;
    }
    if (startDistance > frame.activeDistanceRange || endDistance < 0) {
      fate = Fate::kOutside;
      continue;
    }
    KivTime position = 0;
    if (clipStart > s.ownStart) {
      KivTime reached = 0;
      position = frame.active->TimeOf(startDistance + frame.activeStartDistance, &reached)
                     ? reached - s.activeStart
                     : clipStart - s.ownStart;
    }
    const KivTime remaining = s.activeEnd - s.activeStart - position;
    MappedFrames mapped = clip.frames.empty() ? MappedFrames{} : MapFrames(clip, frame, position, remaining);
    if (mapped.adjusted.empty()) {
      fate = Fate::kNoFrames;
      continue;
    }
    const KivTime length = mapped.adjusted.back() - mapped.adjusted.front();
    const uint32_t count = static_cast<uint32_t>(mapped.adjusted.size());
    const uint32_t first = mapped.lastFrame >= count - 1 ? mapped.lastFrame - (count - 1) : 0;
    auto timestamp = MakeKiv<CDynamicTimestamp>(std::move(mapped.adjusted), std::move(mapped.source), first);
    route.planned.push_back({clip.path, std::move(timestamp), position, length});
  }
  return route;
}

}  // namespace velmar
