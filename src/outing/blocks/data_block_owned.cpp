#include "outing/blocks/data_block_owned.h"

#include <algorithm>

#include "outing/time/time.h"

namespace velmar {

void DirtyRange::Mark(int64_t first, int64_t last) {
  if (first > last || last < 0) return;
  if (first < 0) first = 0;
  if (IsDirty()) {
    first_ = std::min(first_, static_cast<uint32_t>(first));
    last_ = std::max(last_, last);
  } else {
    first_ = static_cast<uint32_t>(first);
    last_ = last;
  }
}

void DirtyRange::DropFirst(uint32_t n) {
  if (!IsDirty()) return;
  if (last_ < static_cast<int64_t>(n)) {
    Clear();  // everything dirty went with the dropped samples
    return;
  }
  first_ = first_ > n ? first_ - n : 0;
  last_ -= n;
}

void DirtyRange::DropAfter(uint32_t lastIndex) {
  if (!IsDirty()) return;
  if (first_ > lastIndex) {
    Clear();
    return;
  }
  last_ = std::min<int64_t>(last_, lastIndex);
}

template <class Spacing>
KivResult IKivDataBlockImplOwnedData<Spacing>::ValuesArray(bool refresh, std::span<const double>* values) {
  if (!values) return E_POINTER;
  if (refresh && !values_.empty() && dirty_.IsDirty() && owner_) {
    const auto last = static_cast<uint32_t>(std::min<int64_t>(dirty_.last(), static_cast<int64_t>(values_.size()) - 1));
    if (dirty_.first() <= last) {
      if (KivResult r = owner_->ComputeValues(*this, dirty_.first(), last, values_); Failed(r)) return r;
    }
    dirty_.Clear();
  }
  *values = values_;
  return S_OK;
}

template <class Spacing>
void IKivDataBlockImplOwnedData<Spacing>::MarkDirtyRange(KivTime from, KivTime to) {
  if (from > to || to < this->StartTime() || from > this->EndTime()) return;
  dirty_.Mark(std::max<int64_t>(this->LastIndexAtOrBefore(from), 0),
              std::min<int64_t>(this->FirstIndexAtOrAfter(to), static_cast<int64_t>(this->GetSampleCount()) - 1));
}

template <class Spacing>
KivResult IKivDataBlockImplOwnedData<Spacing>::TrimBefore(KivTime t) {
  const int64_t first = this->FirstIndexAtOrAfter(t);
  if (first >= static_cast<int64_t>(this->GetSampleCount())) return E_INVALIDARG;
  return DropFirst(static_cast<uint32_t>(first));
}

template <class Spacing>
KivResult IKivDataBlockImplOwnedData<Spacing>::TrimAfter(KivTime t) {
  const int64_t last = this->LastIndexAtOrBefore(t);
  if (last < 0) return E_INVALIDARG;
  return DropAfter(static_cast<uint32_t>(last));
}

template <class Spacing>
KivResult IKivDataBlockImplOwnedData<Spacing>::DropFirst(uint32_t n) {
  if (n == 0) return S_OK;
  if (n >= this->GetSampleCount()) return E_INVALIDARG;
  values_.erase(values_.begin(), values_.begin() + n);
  dirty_.DropFirst(n);
  OnDropFirst(n);
  return S_OK;
}

template <class Spacing>
KivResult IKivDataBlockImplOwnedData<Spacing>::DropAfter(uint32_t lastIndex) {
  if (lastIndex + 1 >= this->GetSampleCount()) return S_OK;
  values_.resize(lastIndex + 1);
  dirty_.DropAfter(lastIndex);
  OnDropAfter(lastIndex);
  return S_OK;
}

template class IKivDataBlockImplOwnedData<PeriodicDataBlock>;
template class IKivDataBlockImplOwnedData<AperiodicDataBlock>;

// ---- periodic

CPeriodicOwnedDataBlock::CPeriodicOwnedDataBlock(IKivDataBlockOwner* owner, KivTime firstTime, KivTime lastTime,
                                                 KivTime interval, uint32_t count)
    : IKivDataBlockImplOwnedData(owner, firstTime, lastTime, interval, count) {}

KivResult CPeriodicOwnedDataBlock::Create(IKivDataBlockOwner* owner, KivTime firstTime, KivTime interval,
                                          uint32_t count, ComPtr<CPeriodicOwnedDataBlock>* out) {
  if (!out) return E_POINTER;
  KivTime last = 0;
  if (!PeriodicLastTime(firstTime, interval, count, &last)) return E_INVALIDARG;
  ComPtr<CPeriodicOwnedDataBlock> block(new CPeriodicOwnedDataBlock(owner, firstTime, last, interval, count));
  block->Allocate(count);
  *out = std::move(block);
  return S_OK;
}

KivResult CPeriodicOwnedDataBlock::TimesArray(std::span<const KivTime>* times) {
  if (!times) return E_POINTER;
  if (times_.empty()) times_ = PeriodicTimes(StartTime(), interval(), GetSampleCount());
  *times = times_.view();
  return S_OK;
}

KivResult CPeriodicOwnedDataBlock::Resize(uint32_t count) {
  const uint32_t old = GetSampleCount();
  if (count == 0) return E_INVALIDARG;
  if (count <= old) return DropAfter(count - 1);
  KivTime last = 0;
  if (!PeriodicLastTime(firstTime(), interval(), count, &last) || !OffsetFits(firstTime(), last, timeOffset())) {
    return E_INVALIDARG;
  }
  values().resize(count, 0.0);
  SetLastTime(last);
  SetCount(count);
  times_ = {};
  dirty().Mark(old, count - 1);
  return S_OK;
}

KivResult CPeriodicOwnedDataBlock::ApplyOffset(KivTime, KivTime) {
  times_ = {};  // always private: made again on the next request
  return S_OK;
}

void CPeriodicOwnedDataBlock::OnDropFirst(uint32_t n) {
  SetFirstTime(firstTime() + static_cast<KivTime>(n) * interval());
  SetCount(GetSampleCount() - n);
  times_ = {};
}

void CPeriodicOwnedDataBlock::OnDropAfter(uint32_t lastIndex) {
  SetLastTime(firstTime() + static_cast<KivTime>(lastIndex) * interval());
  SetCount(lastIndex + 1);
  times_ = {};
}

// ---- aperiodic

CAPeriodicOwnedDataBlock::CAPeriodicOwnedDataBlock(IKivDataBlockOwner* owner, std::vector<KivTime> times)
    : IKivDataBlockImplOwnedData(owner, times.front(), times.back()), times_(std::move(times)) {}

KivResult CAPeriodicOwnedDataBlock::Create(IKivDataBlockOwner* owner, std::vector<KivTime> times,
                                           ComPtr<CAPeriodicOwnedDataBlock>* out) {
  if (!out) return E_POINTER;
  if (!ValidSampleTimes(times) || times.size() > UINT32_MAX) return E_INVALIDARG;
  const auto count = static_cast<uint32_t>(times.size());
  ComPtr<CAPeriodicOwnedDataBlock> block(new CAPeriodicOwnedDataBlock(owner, std::move(times)));
  block->Allocate(count);
  *out = std::move(block);
  return S_OK;
}

KivResult CAPeriodicOwnedDataBlock::TimesArray(std::span<const KivTime>* times) {
  if (!times) return E_POINTER;
  *times = times_;
  return S_OK;
}

KivResult CAPeriodicOwnedDataBlock::Resize(uint32_t count) {
  if (count == 0 || count > GetSampleCount()) return E_INVALIDARG;
  return DropAfter(count - 1);
}

KivResult CAPeriodicOwnedDataBlock::ApplyOffset(KivTime oldOffset, KivTime newOffset) {
  // Through the stored time, so that new - old can't overflow.
  for (KivTime& t : times_) t = (t - oldOffset) + newOffset;
  return S_OK;
}

void CAPeriodicOwnedDataBlock::OnDropFirst(uint32_t n) {
  times_.erase(times_.begin(), times_.begin() + n);
  SetFirstTime(times_.front() - timeOffset());
}

void CAPeriodicOwnedDataBlock::OnDropAfter(uint32_t lastIndex) {
  times_.resize(lastIndex + 1);
  SetLastTime(times_.back() - timeOffset());
}

}  // namespace velmar
