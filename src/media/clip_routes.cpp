#include "media/clip_routes.h"

#include <algorithm>
#include <cmath>

namespace velmar {
namespace {

// A frame table is outside data: frames closer than a millisecond, or more
// of them than ten days of video at 25 a second, end its walk, so that a
// bad table can't run the walk or the list without bound.
constexpr double kMinFrameStep = 10'000.0;
constexpr size_t kMaxFrameTimes = 10 * 24 * 3600 * 25;
// Times beyond about 7000 years either way are no times of a clip: sums of
// two of them must not overflow.
constexpr KivTime kSaneTime = KivTime{1} << 61;

bool Sane(KivTime t) { return t > -kSaneTime && t < kSaneTime; }

bool SaneClip(const ClipSource& clip, KivTime timeOffset, KivTime spanStart, KivTime spanEnd) {
  if (!Sane(clip.start) || !Sane(clip.end) || !Sane(timeOffset) || !Sane(spanStart) || !Sane(spanEnd)) return false;
  return std::all_of(clip.frames.begin(), clip.frames.end(), [](const TarnMediaFrame& f) { return Sane(f.time); });
}

}  // namespace

FrameTimes FrameTimesInRegion(const ClipSource& clip, KivTime base, KivTime spanStart, KivTime spanEnd) {
  FrameTimes out;
  if (!Sane(base) || !SaneClip(clip, 0, spanStart, spanEnd)) return out;
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
    if (step < kMinFrameStep) break;
    const KivTime previousRelative = previous.time - first.time;
    // The frames up to the span's start pass without a look.
    const double skip = std::floor(static_cast<double>(from - previousRelative) / step);
    const uint32_t firstK = skip < 1.0 ? 1 : static_cast<uint32_t>(std::min(skip, static_cast<double>(frames)));
    for (uint32_t k = firstK; k <= frames && out.times.size() < kMaxFrameTimes; ++k) {
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

void WalkFrameTable(const ClipSource& clip, KivTime from,
                    const std::function<bool(uint32_t frame, KivTime time, bool first)>& visit) {
  if (clip.frames.empty() || !SaneClip(clip, 0, from, from)) return;
  const TarnMediaFrame& first = clip.frames.front();
  if (first.time >= from && !visit(first.frameNumber, first.time, true)) return;
  size_t visited = 1;
  for (size_t i = 1; i < clip.frames.size(); ++i) {
    const TarnMediaFrame& previous = clip.frames[i - 1];
    const TarnMediaFrame& record = clip.frames[i];
    if (record.frameNumber <= previous.frameNumber || record.time <= previous.time) return;
    const uint32_t frames = record.frameNumber - previous.frameNumber;
    const double step = static_cast<double>(record.time - previous.time) / frames;
    if (step < kMinFrameStep) return;
    const double skip = std::floor(static_cast<double>(from - previous.time) / step);
    const uint32_t firstK = skip < 1.0 ? 1 : static_cast<uint32_t>(std::min(skip, static_cast<double>(frames)));
    for (uint32_t k = firstK; k <= frames; ++k) {
      const KivTime t = previous.time + static_cast<KivTime>(k * step);
      if (t < from) continue;
      if (++visited > kMaxFrameTimes || !visit(previous.frameNumber + k, t, false)) return;
    }
  }
}

bool ClipInSpan(const ClipSource& clip, KivTime timeOffset, KivTime spanStart, KivTime spanEnd) {
  if (!SaneClip(clip, timeOffset, spanStart, spanEnd)) return false;
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
