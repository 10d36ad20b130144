#include "managed/block_clipping.h"

#include <limits>

namespace velmar::managed {
namespace {

constexpr KivTime kMin = std::numeric_limits<KivTime>::min();
constexpr KivTime kMax = std::numeric_limits<KivTime>::max();

// One tick before or after, except at the extremes, which stay.
KivTime Before(KivTime t) { return t == kMin || t == kMax ? t : t - 1; }
KivTime After(KivTime t) { return t == kMin || t == kMax ? t : t + 1; }

// Floor division, wide enough for any two ticks.
int64_t FloorDiv(__int128 a, __int128 b) {
  __int128 q = a / b;
  if ((a % b != 0) && ((a < 0) != (b < 0))) --q;
  return static_cast<int64_t>(q);
}

bool ClipPeriodic(const PluginBlockInfo& block, KivTime t0, KivTime t1, DotNetBlockInfo* info) {
  const bool clipStart = block.start < t0;
  const bool clipEnd = block.end > t1;
  const __int128 interval = block.interval;
  const int64_t first = clipStart ? FloorDiv(__int128(t0) + interval - block.start - 1, interval) : 0;
  const int64_t last = clipEnd ? FloorDiv(__int128(t1) - block.start, interval) : block.count - 1;
  if (last < first || first >= block.count || last < 0) return false;
  info->count = static_cast<int32_t>(last - first + 1);
  info->start = static_cast<KivTime>(block.start + interval * first);
  info->end = static_cast<KivTime>(block.start + interval * last);
  info->interval = block.interval;
  info->firstIndex = first;
  info->join = clipStart || block.join;
  return true;
}

bool ClipAperiodic(PluginChannel& channel, int64_t index, const PluginBlockInfo& block, KivTime t0, KivTime t1,
                   DotNetBlockInfo* info) {
  const int64_t first = channel.IndexOfNextTime(index, Before(t0));
  const int64_t last = channel.IndexOfPreviousTime(index, After(t1));
  if (first < 0 || last < first) return false;
  info->count = static_cast<int32_t>(last - first + 1);
  info->times.resize(static_cast<size_t>(info->count));
  channel.CopyTimes(index, first, info->count, info->times.data());
  info->start = info->times.front();
  info->end = info->times.back();
  info->firstIndex = first;
  info->join = block.start < t0 || block.join;
  return true;
}

}  // namespace

std::vector<DotNetBlockInfo> GetDataBlocksBetweenTimes(PluginChannel& channel, KivTime t0, KivTime t1) {
  std::vector<DotNetBlockInfo> infos;
  if (!channel.HasData() || channel.BlockCount() <= 0) return infos;
  const int64_t first = channel.IndexOfNearestBlock(Before(t0), true);
  const int64_t last = channel.IndexOfNearestBlock(After(t1), false);
  if (first < 0 || last < 0) return infos;
  for (int64_t b = first; b <= last; ++b) {
    const PluginBlockInfo block = channel.Block(b);
    if (block.count <= 0) continue;
    DotNetBlockInfo info;
    info.periodic = block.periodic && block.interval > 0;
    info.sourceBlock = b;
    const bool kept = info.periodic ? ClipPeriodic(block, t0, t1, &info) : ClipAperiodic(channel, b, block, t0, t1, &info);
    if (kept) infos.push_back(std::move(info));
  }
  return infos;
}

}  // namespace velmar::managed
