// The clip access records of a media channel, as the store hands them over
// (64-byte clip records, each with its 16-byte frame records), through what
// the channel does with them: the load's checks, the plain route over a
// span, the frame walk and the frame table's look-ups.
//
// Input: i64 span start, i64 span end, i64 time offset, u32 clip count; then
// per clip u64 id, i64 start, i64 end, a text path, u32 frame count and the
// frame records (i64 time, u32 number).
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "media/clip_routes.h"
#include "platform/byte_cursor.h"
#include "sources/tarn/tarn_media_data.h"

namespace {

struct Parsed {
  std::vector<std::u16string> paths;
  std::vector<std::vector<velmar::TarnMediaFrame>> frames;
  std::vector<velmar::TarnMediaClipRecord> records;
};

bool ReadClip(velmar::ByteReader& in, Parsed* p) {
  velmar::TarnMediaClipRecord r{};
  std::u16string path;
  uint32_t count = 0;
  if (!in.U64(&r.id) || !in.I64(&r.start) || !in.I64(&r.end) || !in.Text(&path) || !in.Count(12, &count)) {
    return false;
  }
  std::vector<velmar::TarnMediaFrame> frames(count);
  for (auto& f : frames) {
    if (!in.I64(&f.time) || !in.U32(&f.frameNumber)) return false;
  }
  r.frameCount = count;
  p->paths.push_back(std::move(path));
  p->frames.push_back(std::move(frames));
  p->records.push_back(r);
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  velmar::ByteReader in(std::span(data, size));
  int64_t spanStart = 0, spanEnd = 0, offset = 0;
  uint32_t clips = 0;
  if (!in.I64(&spanStart) || !in.I64(&spanEnd) || !in.I64(&offset) || !in.Count(32, &clips)) return 0;
  Parsed p;
  p.records.reserve(clips);
  for (uint32_t i = 0; i < clips && ReadClip(in, &p); ++i) {
  }
  // The records point into what was parsed, as the store's arena does.
  for (size_t i = 0; i < p.records.size(); ++i) {
    p.records[i].path = p.paths[i].c_str();
    p.records[i].frames = p.frames[i].empty() ? nullptr : p.frames[i].data();
  }
  std::vector<velmar::TarnMediaClip> taken;
  if (!velmar::TakeMediaClips(p.records, &taken)) return 0;
  std::vector<velmar::ClipSource> sources;
  for (const auto& c : taken) sources.push_back({c.path, c.start, c.end, c.frames});
  for (const auto& planned : velmar::PlainRoute(sources, offset, spanStart, spanEnd)) {
    if (!planned.timestamp) continue;
    const velmar::CDynamicTimestamp& ts = *planned.timestamp;
    uint32_t frame = 0;
    velmar::KivTime start = 0, end = 0, source = 0;
    (void)ts.TimeToFrame(ts.first_time() + planned.length / 2, &frame);
    (void)ts.FrameToTimes(static_cast<int32_t>(frame) + 1, &start, &end);
    (void)ts.AdjustedToSource(ts.first_time() + 1, &source);
    (void)ts.SourceToFrameTimes(source, &start, &end);
  }
  return 0;
}
