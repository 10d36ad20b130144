#include "regions/segment_helper.h"

#include <algorithm>
#include <cfloat>
#include <cmath>

namespace velmar {
namespace {

// One block's samples as borrowed arrays.
struct BlockSamples {
  ComPtr<IKivDataBlock> block;
  std::span<const double> values;
  std::span<const KivTime> times;  // aperiodic only
  bool periodic = false;
  KivTime start = 0;
  KivTime interval = 0;

  KivTime TimeAt(uint32_t i) const { return periodic ? start + static_cast<KivTime>(i) * interval : times[i]; }
};

bool ReadBlock(IKivDataBlocks* blocks, uint32_t number, BlockSamples* out) {
  KivBool periodic = KIV_FALSE;
  if (Failed(blocks->GetBlock(number, out->block.Put())) || !out->block ||
      Failed(out->block->GetValuesReference(&out->values)) || Failed(out->block->GetPeriodic(&periodic))) {
    return false;
  }
  out->periodic = periodic != KIV_FALSE;
  if (out->periodic) {
    return Succeeded(out->block->GetStartTime(&out->start)) && Succeeded(out->block->GetInterval(&out->interval));
  }
  return Succeeded(out->block->GetTimesReference(&out->times)) && out->times.size() >= out->values.size();
}

}  // namespace

CSegmentHelper::CSegmentHelper(IKivCircuitMapData2* map, IKivChannelIterator* iterator)
    : iterator_(iterator), map_(map) {
  if (map_) {
    if (Failed(map_->GetLapLength(&lapLength_))) lapLength_ = 0;
    haveSegments_ = Succeeded(map_->GetSegments(&segments_));
    haveMarkers_ = Succeeded(map_->GetMarkers(&markers_));
    haveExtraList_ = Succeeded(map_->GetExtraList(&extraList_));
  }
  if (iterator_ && Failed(iterator_->GetDataBlocks(blocks_.Put()))) blocks_ = nullptr;
}

double CSegmentHelper::MarkerDistance(int32_t marker) const {
  if (marker < 0 || static_cast<size_t>(marker) >= markers_.size()) return std::nan("");
  return static_cast<double>(markers_[static_cast<size_t>(marker)].position) * static_cast<double>(lapLength_) /
         65535.0;
}

std::u16string CSegmentHelper::SegmentName(int32_t index) const {
  const char16_t* name = segments_[static_cast<size_t>(index)].name;
  return name ? std::u16string(name) : std::u16string();
}

bool CSegmentHelper::FindSegment(double distance, int32_t* index, double* low, double* high) const {
  const size_t count = haveSegments_ ? segments_.size() : 0;
  for (size_t i = 0; i < count; ++i) {
    *low = i == 0 ? -DBL_MAX : MarkerDistance(segments_[i].startMarker);
    *high = i + 1 == count ? DBL_MAX : MarkerDistance(segments_[i].endMarker);
    if (*low > distance || (distance >= *low && distance <= *high) || i + 1 == count) {
      *index = static_cast<int32_t>(i);
      return true;
    }
  }
  return false;
}

bool CSegmentHelper::FindStart(KivTime start, WalkEnd* at) {
  at->time = start;
  if (Failed(iterator_->GetValueAtTime(start, kValueInterpolate, kRangeWholeChannel, &at->value)) &&
      iterator_->GetSampleAtTime(start - 1, kFindNextAfter, kRangeWholeChannel, &at->time, &at->value) != S_OK) {
    return false;
  }
  return iterator_->FindBlock(start - 1, kFindNextAfter, kRangeWholeChannel, &at->block, &at->index) == S_OK;
}

bool CSegmentHelper::FindEnd(KivTime end, WalkEnd* at) {
  at->time = end;
  if (Failed(iterator_->GetValueAtTime(end, kValueInterpolate, kRangeWholeChannel, &at->value)) &&
      iterator_->GetSampleAtTime(end + 1, kFindLastBefore, kRangeWholeChannel, &at->time, &at->value) != S_OK) {
    return false;
  }
  return iterator_->FindBlock(end + 1, kFindLastBefore, kRangeWholeChannel, &at->block, &at->index) == S_OK;
}

std::vector<SegmentCrossing> CSegmentHelper::FindCrossings(KivTime start, KivTime end) {
  std::vector<SegmentCrossing> found;
  if (lapLength_ == 0 || !haveSegments_ || !haveMarkers_ || !haveExtraList_ || !blocks_) return found;
  WalkEnd first;
  WalkEnd last;
  if (!FindStart(start, &first) || !FindEnd(end, &last)) return found;
  int32_t k = 0;
  double low = 0;
  double high = 0;
  if (!FindSegment(first.value, &k, &low, &high)) return found;
  KivTime segmentStart = start;
  KivTime t0 = first.time;
  double d0 = first.value;
  for (uint32_t b = first.block; b <= last.block; ++b) {
    BlockSamples samples;
    if (!ReadBlock(blocks_.Get(), b, &samples)) return found;
    const uint32_t from = b == first.block ? first.index : 0;
    const auto size = static_cast<uint32_t>(samples.values.size());
    const uint32_t to = b == last.block ? std::min(last.index, size) : size;
    for (uint32_t i = from; i < to; ++i) {
      const double d = samples.values[i];
      const KivTime t = samples.TimeAt(i);
      if (!(d >= low && d <= high)) {
        int32_t next = 0;
        double nextLow = 0;
        double nextHigh = 0;
        const bool ok = FindSegment(d, &next, &nextLow, &nextHigh);
        KivTime crossing = t0;
        if (!(ok && high == DBL_MAX && nextLow == -DBL_MAX)) {
          const double boundary = d > high ? high : low;
          crossing = t0 + static_cast<KivTime>(
                              std::trunc(static_cast<double>(t - t0) * ((boundary - d0) / (d - d0))));
        }
        const bool pastEnd = end < crossing;
        if (pastEnd) crossing = end;
        if (crossing > segmentStart) found.push_back({segmentStart, crossing, k, SegmentName(k)});
        if (!ok) return found;
        k = next;
        low = nextLow;
        high = nextHigh;
        segmentStart = crossing + 1;
        if (pastEnd) return found;
      }
      t0 = t;
      d0 = d;
    }
  }
  if (end > segmentStart) found.push_back({segmentStart, end, k, SegmentName(k)});
  return found;
}

}  // namespace velmar
