#include "media/clip_routes.h"

#include <algorithm>

namespace velmar {

FrameTimes FrameTimesInRegion(const ClipSource& clip, KivTime base, KivTime spanStart, KivTime spanEnd) {
  FrameTimes out;
  const KivTime from = spanStart - base;
  const KivTime to = spanEnd - base;
  if (to <= from || to < 0 || clip.frames.empty()) return out;
  const TarnMediaFrame& first = clip.frames.front();
  const KivTime t0 = first.time - clip.start;
  out.times.push_back(from > 0 ? t0 + from : t0);
  uint32_t noted = first.frameNumber;
  bool done = false;
  for (size_t i = 1; i < clip.frames.size() && !done; ++i) {
    const TarnMediaFrame& previous = clip.frames[i - 1];
    const TarnMediaFrame& record = clip.frames[i];
    if (record.frameNumber <= previous.frameNumber || record.time <= previous.time) break;
    const uint32_t frames = record.frameNumber - previous.frameNumber;
    const double step = static_cast<double>(record.time - previous.time) / frames;
    const KivTime previousRelative = previous.time - first.time;
    for (uint32_t k = 1; k <= frames; ++k) {
      const KivTime t = previousRelative + static_cast<KivTime>(k * step);
      if (t <= from) continue;
      if (t >= to) {
        out.times.push_back(t0 + to);
        done = true;
        break;
      }
      out.times.push_back(t + t0);
      noted = previous.frameNumber + k;
    }
  }
  if (out.times.size() == 1) {
    out.times.clear();
    out.firstFrame = noted;
  } else {
    const int64_t firstFrame = int64_t{noted} - static_cast<int64_t>(out.times.size() - 1);
    out.firstFrame = static_cast<uint32_t>(std::max<int64_t>(firstFrame, 0));
  }
  return out;
}

bool ClipInSpan(const ClipSource& clip, KivTime timeOffset, KivTime spanStart, KivTime spanEnd) {
  const KivTime start = timeOffset + clip.start;
  return !(start > spanEnd || start + (clip.end - clip.start) < spanStart);
}

std::vector<PlannedClip> PlainRoute(const std::vector<ClipSource>& clips, KivTime timeOffset, KivTime spanStart,
                                    KivTime spanEnd) {
  std::vector<PlannedClip> planned;
  for (const ClipSource& clip : clips) {
    if (clip.path.empty() || !ClipInSpan(clip, timeOffset, spanStart, spanEnd)) continue;
    const KivTime start = timeOffset + clip.start;
    PlannedClip p{clip.path, nullptr, start - spanStart, clip.end - clip.start};
    if (clip.frames.size() >= 2) {
      FrameTimes times = FrameTimesInRegion(clip, start, spanStart, spanEnd);
      if (times.times.empty()) continue;
      p.position += times.times.front();
      p.length = times.times.back() - times.times.front();
      p.timestamp = MakeKiv<CDynamicTimestamp>(std::move(times.times), std::vector<KivTime>{}, times.firstFrame);
    }
    planned.push_back(std::move(p));
  }
  return planned;
}

}  // namespace velmar
