#include "outing/blocks/channel_iterator.h"

#include <algorithm>
#include <cmath>

#include "outing/blocks/channel_iterator_search.h"

namespace velmar {
namespace {

const DataBlockList kNoBlocks;

bool BadSearchMode(int32_t mode) { return mode < kFindNextAfter || mode > kFindNearest; }

uint32_t LastIndex(const IKivDataBlockImplBase& block) { return block.GetSampleCount() - 1; }

}  // namespace

const DataBlockList& CChannelIterator::Blocks() const { return blocks_ ? *blocks_ : kNoBlocks; }

KivResult CChannelIterator::GetDataBlocks(IKivDataBlocks** blocks) {
  if (!blocks) return E_POINTER;
  *blocks = nullptr;
  if (!blocks_) return E_FAIL;
  auto list = MakeKiv<CDataBlocks>(blocks_, ComPtr<IKivUnknown>(PrimaryUnknown()));
  return GiveOut<IKivDataBlocks>(list.Get(), blocks);
}

KivResult CChannelIterator::Bounds(uint32_t range, KivTime* lo, KivTime* hi) {
  const DataBlockList& blocks = Blocks();
  *lo = blocks.front()->StartTime();
  *hi = blocks.back()->EndTime();
  if (range != kRangeSelection) return S_OK;
  if (!selection_) return E_FAIL;
  KivTime start = kTimeMin;
  KivTime end = kTimeMax;
  if (KivResult r = selection_->GetSelectionRange(&start, &end); Failed(r)) return r;
  *lo = std::max(*lo, start);
  *hi = std::min(*hi, end);
  return S_OK;
}

KivResult CChannelIterator::Locate(KivTime* time, int32_t mode, uint32_t range, size_t* block, uint32_t* index) {
  *block = 0;
  *index = 0;
  if (BadSearchMode(mode) || range > kRangeSelection) return E_INVALIDARG;
  const DataBlockList& blocks = Blocks();
  if (blocks.empty()) return S_FALSE;
  KivTime lo = 0;
  KivTime hi = 0;
  if (KivResult r = Bounds(range, &lo, &hi); Failed(r)) return r;
  if (lo > hi) return S_FALSE;

  // Clamp to just outside [lo, hi]; lo - 1 and hi + 1 stay in range since
  // no sample time is an unbounded extreme.
  if (*time <= lo) {
    if (mode == kFindLastBefore) return S_FALSE;
    if (mode == kFindNearest || *time < lo) {
      mode = kFindNextAfter;
      *time = lo - 1;
    }
  }
  if (*time >= hi) {
    if (mode == kFindNextAfter) return S_FALSE;
    if (mode == kFindNearest || *time > hi) {
      mode = kFindLastBefore;
      *time = hi + 1;
    }
  }
  if (*time < blocks.front()->StartTime()) return S_OK;  // the first sample
  if (*time > blocks.back()->EndTime()) {
    *block = blocks.size() - 1;
    *index = LastIndex(*blocks.back());
    return S_OK;
  }
  return LocateInBlocks(*time, mode, lo, hi, block, index);
}

KivResult CChannelIterator::LocateInBlocks(KivTime time, int32_t mode, KivTime lo, KivTime hi, size_t* block,
                                           uint32_t* index) {
  const DataBlockList& blocks = Blocks();
  BlockPosition at;
  if (Failed(SearchBlocks(blocks, time, &at))) return E_FAIL;
  const size_t g = at.block;
  if (at.kind == BlockPosition::Kind::kGapAfter) {
    // Between the last sample of g and the first of g + 1.
    const bool earlier = mode == kFindLastBefore ||
                         (mode == kFindNearest && time - blocks[g]->EndTime() < blocks[g + 1]->StartTime() - time);
    *block = earlier ? g : g + 1;
    *index = earlier ? LastIndex(*blocks[g]) : 0;
    return S_OK;
  }
  // On a block's edge the neighbour block may hold the answer.
  if (mode == kFindNextAfter && time == blocks[g]->EndTime()) {
    if (g + 1 >= blocks.size() || blocks[g + 1]->StartTime() > hi) return S_FALSE;
    *block = g + 1;
    *index = 0;
    return S_OK;
  }
  if (mode == kFindLastBefore && time == blocks[g]->StartTime()) {
    if (g == 0 || lo > blocks[g - 1]->EndTime()) return S_FALSE;
    *block = g - 1;
    *index = LastIndex(*blocks[g - 1]);
    return S_OK;
  }
  *block = g;
  return blocks[g]->FindSample(lo, hi, time, mode, index);
}

KivResult CChannelIterator::FindBlock(KivTime time, int32_t mode, uint32_t range, uint32_t* block,
                                      uint32_t* sampleIndex) {
  if (!block || !sampleIndex) return E_POINTER;
  size_t found = 0;
  uint32_t index = 0;
  KivResult r = Locate(&time, mode, range, &found, &index);
  *block = r == S_OK ? static_cast<uint32_t>(found + 1) : 1;
  *sampleIndex = r == S_OK ? index : 0;
  return r;
}

KivResult CChannelIterator::GetSampleAtTime(KivTime time, int32_t mode, uint32_t range, KivTime* sampleTime,
                                            double* value) {
  if (!sampleTime || !value) return E_POINTER;
  size_t block = 0;
  uint32_t index = 0;
  KivResult r = Locate(&time, mode, range, &block, &index);
  if (r == S_OK) return Blocks()[block]->GetSample(index, sampleTime, value);
  *sampleTime = time;
  *value = 0.0;
  return r;
}

KivResult CChannelIterator::GetSampleTime(KivTime time, int32_t mode, uint32_t range, KivTime* sampleTime) {
  if (!sampleTime) return E_POINTER;
  size_t block = 0;
  uint32_t index = 0;
  KivResult r = Locate(&time, mode, range, &block, &index);
  if (r == S_OK) return Blocks()[block]->GetTimeAt(index, sampleTime);
  *sampleTime = time;
  return r;
}

KivResult CChannelIterator::GetValueAtTime(KivTime time, uint32_t mode, uint32_t range, double* value) {
  if (!value) return E_POINTER;
  *value = 0.0;
  if (mode > kValueInterpolate || range > kRangeSelection) return E_INVALIDARG;
  const DataBlockList& blocks = Blocks();
  if (range == kRangeSelection) {
    KivTime start = kTimeMin;
    KivTime end = kTimeMax;
    if (!selection_ || Failed(selection_->GetSelectionRange(&start, &end))) return E_FAIL;
    if (time < start || time > end) return E_FAIL;
  }
  if (blocks.empty() || time < blocks.front()->StartTime() || time > blocks.back()->EndTime()) return E_FAIL;
  BlockPosition at;
  if (Failed(SearchBlocks(blocks, time, &at))) return E_FAIL;
  if (at.kind == BlockPosition::Kind::kInside) return blocks[at.block]->GetValueAt(time, mode, value);
  return ValueInGap(at.block, time, mode, value);
}

KivResult CChannelIterator::ValueInGap(size_t before, KivTime time, uint32_t mode, double* value) {
  const DataBlockList& blocks = Blocks();
  // Only a continuous later block joins the two with a line.
  if (!blocks[before + 1]->continuous() || mode == kValueExact) return E_FAIL;
  KivTime t0 = 0;
  KivTime t1 = 0;
  double va = 0.0;
  double vb = 0.0;
  if (Failed(LastSampleOf(before, &t0, &va)) || Failed(blocks[before + 1]->GetSample(0, &t1, &vb))) return E_FAIL;
  *value = mode == kValueHold ? va : LinearValue(t0, t1, va, vb, time);
  return S_FALSE;
}

size_t CChannelIterator::FirstBlockForValueSearch(KivTime lo) const {
  const DataBlockList& blocks = Blocks();
  auto after = std::upper_bound(blocks.begin(), blocks.end(), lo,
                                [](KivTime t, const auto& block) { return t < block->StartTime(); });
  if (after == blocks.begin()) return blocks.size();  // lo before every block
  auto k = static_cast<size_t>(after - blocks.begin()) - 1;
  if (k > 0 && blocks[k]->StartTime() == lo) --k;  // lo closes the span of the block before
  if (k + 1 == blocks.size() && lo > blocks[k]->EndTime()) return blocks.size();
  return k;
}

KivResult CChannelIterator::FindTimeOfValue(double value, uint32_t mode, uint32_t range, KivTime* time) {
  if (!time) return E_POINTER;
  const bool acrossBreaks = (mode & kCrossingAcrossBreaks) != 0;
  mode &= ~kCrossingAcrossBreaks;
  if (mode > kCrossingInterpolated || range > kRangeSelection) return E_INVALIDARG;
  const DataBlockList& blocks = Blocks();
  if (blocks.empty()) return E_FAIL;
  KivTime lo = blocks.front()->StartTime();
  KivTime hi = blocks.back()->EndTime();
  if (range == kRangeSelection) {
    if (!selection_) return E_FAIL;
    if (KivResult r = selection_->GetSelectionRange(&lo, &hi); Failed(r)) return r;
  }
  size_t k = FirstBlockForValueSearch(lo);
  if (k == blocks.size()) {
    if (hi < blocks.front()->StartTime()) return E_FAIL;
    k = 0;
  }
  KivResult last = E_FAIL;
  for (; k < blocks.size() && blocks[k]->StartTime() <= hi; ++k) {
    last = blocks[k]->FindTimeOfValue(value, mode, time);
    if (Succeeded(last)) return last;
    if (mode != kCrossingInterpolated || k + 1 == blocks.size()) continue;
    // The gap to the next block.
    KivTime t0 = 0;
    KivTime t1 = 0;
    double va = 0.0;
    double vb = 0.0;
    if (Failed(LastSampleOf(k, &t0, &va)) || Failed(blocks[k + 1]->GetSample(0, &t1, &vb))) continue;
    if (!StrictlyBetween(value, va, vb)) continue;
    if (acrossBreaks || blocks[k + 1]->continuous()) {
      *time = CrossingTime(t0, t1, va, vb, value);
      return S_FALSE;
    }
    *time = std::fabs(value - vb) > std::fabs(va - value) ? t0 : t1;
    return S_OK;
  }
  return last;
}

KivResult CChannelIterator::LastSampleOf(size_t block, KivTime* time, double* value) {
  const auto& b = Blocks()[block];
  return b->GetSample(LastIndex(*b), time, value);
}

KivResult CChannelIterator::GetLastSample(KivTime* time, double* value) {
  if (!time || !value) return E_POINTER;
  if (Blocks().empty()) return E_FAIL;
  return LastSampleOf(Blocks().size() - 1, time, value);
}

KivResult CChannelIterator::GetEndTime(KivTime* end) {
  if (!end) return E_POINTER;
  if (Blocks().empty()) return E_FAIL;
  *end = Blocks().back()->EndTime();
  return S_OK;
}

KivResult CChannelIterator::GetLastValue(double* value) {
  if (!value) return E_POINTER;
  if (Blocks().empty()) return E_FAIL;
  std::span<const double> values;
  if (KivResult r = Blocks().back()->ValuesArray(true, &values); Failed(r)) return r;
  if (values.empty()) return E_FAIL;
  *value = values.back();
  return S_OK;
}

}  // namespace velmar
