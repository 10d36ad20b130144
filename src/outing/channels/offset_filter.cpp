#include "outing/channels/offset_filter.h"

#include <algorithm>
#include <new>

namespace velmar {
namespace {

// A mirror of one input block: same times, values to be computed.
KivResult Mirror(IKivDataBlockOwner* owner, IKivDataBlock& in, ComPtr<IKivDataBlockImplBase>* out) {
  KivBool periodic = KIV_FALSE;
  if (Failed(in.GetPeriodic(&periodic))) return E_FAIL;
  KivTime start = 0, end = 0, period = 0;
  if (FromKivBool(periodic) && Succeeded(in.GetStartTime(&start)) && Succeeded(in.GetEndTime(&end)) &&
      Succeeded(in.GetInterval(&period)) && period > 0) {
    ComPtr<CPeriodicOwnedDataBlock> block;
    const auto count = static_cast<uint32_t>((end - start) / period + 1);
    if (KivResult r = CPeriodicOwnedDataBlock::Create(owner, start, period, count, &block); Failed(r)) return r;
    *out = block;
  } else {
    std::vector<KivTime> times;
    if (Failed(in.GetTimes(&times)) || times.empty()) return E_FAIL;
    ComPtr<CAPeriodicOwnedDataBlock> block;
    if (KivResult r = CAPeriodicOwnedDataBlock::Create(owner, std::move(times), &block); Failed(r)) return r;
    *out = block;
  }
  KivBool continuous = KIV_FALSE;
  (void)in.GetContinuous(&continuous);
  (*out)->SetContinuous(FromKivBool(continuous));
  return S_OK;
}

bool Overlaps(const IKivDataBlockImplBase& b, KivTime from, KivTime to) {
  return b.StartTime() <= to && b.EndTime() >= from;
}

void Detach(const DataBlockList& blocks) {
  for (const auto& b : blocks) {
    if (auto* owned = dynamic_cast<CPeriodicOwnedDataBlock*>(b.Get())) owned->DetachOwner();
    if (auto* owned = dynamic_cast<CAPeriodicOwnedDataBlock*>(b.Get())) owned->DetachOwner();
  }
}

}  // namespace

CBasicOffsetFilter::CBasicOffsetFilter() : blocks_(std::make_shared<const DataBlockList>()) {}

CBasicOffsetFilter::~CBasicOffsetFilter() {
  Detach(*blocks_);
  blocks_.reset();
  parent_ = nullptr;
  if (auto cache = QueryAs<IKivDataCache>(input_.Get())) (void)cache->Unlock();
  input_ = nullptr;
}

KivResult CBasicOffsetFilter::GetInput(IKivChannel** input) {
  if (!input) return E_POINTER;
  *input = nullptr;
  if (!input_) return S_FALSE;
  return GiveOut(input_.Get(), input);
}

KivResult CBasicOffsetFilter::SetInput(IKivChannel* input) {
  if (input == input_.Get()) return S_OK;
  // The input's cache keeps its data while this filter reads it.
  if (auto cache = QueryAs<IKivDataCache>(input_.Get())) (void)cache->Unlock();
  if (auto cache = QueryAs<IKivDataCache>(input)) (void)cache->Lock();
  input_ = input;
  MarkAllStale();
  return S_OK;
}

KivResult CBasicOffsetFilter::SetParent(IKivUnknown* parent) {
  if (!parent) return E_INVALIDARG;
  if (parent_) return E_UNEXPECTED;
  parent_ = parent;
  return S_OK;
}

KivResult CBasicOffsetFilter::GetId(uint32_t* id) {
  if (!id) return E_POINTER;
  *id = id_;
  return S_OK;
}

KivResult CBasicOffsetFilter::SetId(uint32_t id) {
  if (idSet_) return E_UNEXPECTED;
  id_ = id;
  idSet_ = true;
  return S_OK;
}

KivResult CBasicOffsetFilter::GetFlags(uint32_t* flags) {
  if (!flags) return E_POINTER;
  *flags = flags_;
  return S_OK;
}

KivResult CBasicOffsetFilter::SetFlags(uint32_t flags) {
  flags_ = flags;
  return S_OK;
}

KivResult CBasicOffsetFilter::GetFilterName(std::u16string* name) {
  if (!name) return E_POINTER;
  *name = name_;
  return S_OK;
}

KivResult CBasicOffsetFilter::SetFilterName(const std::u16string& name) {
  name_ = name;
  return S_OK;
}

KivResult CBasicOffsetFilter::GetOffset(double* offset) {
  if (!offset) return E_POINTER;
  *offset = offset_;
  return S_OK;
}

KivResult CBasicOffsetFilter::SetOffset(double offset) {
  if (offset == offset_) return S_OK;
  offset_ = offset;
  MarkAllStale();
  return S_OK;
}

KivResult CBasicOffsetFilter::GetName(std::u16string* name) {
  if (!name) return E_POINTER;
  if (!input_) return E_FAIL;
  return input_->GetName(name);
}

KivResult CBasicOffsetFilter::GetStatus(uint32_t* status) {
  if (!status) return E_POINTER;
  if (!input_) return E_FAIL;
  return input_->GetStatus(status);
}

KivResult CBasicOffsetFilter::GetIterator(IKivChannelIterator2** iterator) {
  if (!iterator) return E_POINTER;
  *iterator = nullptr;
  inputDirty_.Process();
  if (blocks_->empty()) return KIV_E_PENDING;
  // A new iterator over the present blocks; it keeps the filter (which
  // computes their values) alive, and the filter keeps no iterator, so no
  // cycle forms.
  auto made = MakeKiv<CChannelIterator>(blocks_, ComPtr<IKivUnknown>(PrimaryUnknown()), nullptr);
  return GiveOut(static_cast<IKivChannelIterator2*>(made.Get()), iterator);
}

KivResult CBasicOffsetFilter::WidenDirtyRange(KivTime* from, KivTime* to) {
  if (!from || !to) return E_POINTER;
  inputDirty_.Add(*from, *to);
  // Readers must look again at every whole block the change touches.
  for (const auto& block : *blocks_) {
    if (!Overlaps(*block, *from, *to)) continue;
    *from = std::min(*from, block->StartTime());
    *to = std::max(*to, block->EndTime());
  }
  return S_OK;
}

void CBasicOffsetFilter::MarkAllStale() {
  Replace({});
  inputDirty_.MarkAll();
}

void CBasicOffsetFilter::Replace(DataBlockList blocks) {
  // Iterators out keep the old blocks, which no longer compute; blocks that
  // stay keep computing.
  DataBlockList gone;
  for (const auto& b : *blocks_) {
    if (std::find(blocks.begin(), blocks.end(), b) == blocks.end()) gone.push_back(b);
  }
  Detach(gone);
  blocks_ = std::make_shared<const DataBlockList>(std::move(blocks));
}

KivResult CBasicOffsetFilter::InputIterator(ComPtr<IKivChannelIterator2>* iterator) const {
  if (!input_) return E_FAIL;
  const KivResult r = input_->GetIterator(iterator->Put());
  return r == S_OK && *iterator ? S_OK : E_FAIL;
}

bool CBasicOffsetFilter::Load(KivTime from, KivTime to, bool whole) {
  ComPtr<IKivChannelIterator2> iterator;
  ComPtr<IKivDataBlocks> inputs;
  uint32_t count = 0;
  if (Failed(InputIterator(&iterator)) || Failed(iterator->GetDataBlocks(inputs.Put())) ||
      Failed(inputs->GetCount(&count)))
    return false;
  DataBlockList loaded;
  for (uint32_t i = 1; i <= count; ++i) {
    ComPtr<IKivDataBlock> in;
    KivTime start = 0, end = 0;
    if (Failed(inputs->GetBlock(i, in.Put())) || Failed(in->GetStartTime(&start)) || Failed(in->GetEndTime(&end)))
      return false;
    if (!whole && (end < from || start > to)) continue;
    ComPtr<IKivDataBlockImplBase> mirror;
    if (Failed(Mirror(this, *in, &mirror))) return false;
    loaded.push_back(mirror);
  }
  if (whole) {
    Replace(std::move(loaded));
    return true;
  }
  if (loaded.empty()) return true;
  // Whole input blocks replace every held block they overlap.
  const KivTime lo = loaded.front()->StartTime(), hi = loaded.back()->EndTime();
  DataBlockList kept;
  for (const auto& b : *blocks_) {
    if (!Overlaps(*b, lo, hi)) kept.push_back(b);
  }
  kept.insert(kept.end(), loaded.begin(), loaded.end());
  std::sort(kept.begin(), kept.end(), [](const auto& a, const auto& b) { return a->StartTime() < b->StartTime(); });
  Replace(std::move(kept));
  return true;
}

void CBasicOffsetFilter::Forget(KivTime from) {
  DataBlockList kept;
  for (const auto& b : *blocks_) {
    if (b->EndTime() <= from) kept.push_back(b);
  }
  if (kept.size() != blocks_->size()) Replace(std::move(kept));
}

KivTime CBasicOffsetFilter::InputRanges::GetEnd() {
  return filter_.blocks_->empty() ? kTimeMin : filter_.blocks_->back()->EndTime();
}

KivResult CBasicOffsetFilter::ComputeValues(IKivDataBlockImplBase& block, uint32_t first, uint32_t last,
                                            std::span<double> values) {
  KivTime time = 0;
  ComPtr<IKivChannelIterator2> iterator;
  if (Failed(block.GetTimeAt(first, &time)) || Failed(InputIterator(&iterator))) return E_FAIL;
  uint32_t blockIndex = 0, sample = 0;
  // The input sample at that time: the first after one tick before it.
  if (iterator->FindBlock(time - 1, kFindNextAfter, kRangeWholeChannel, &blockIndex, &sample) != S_OK) return E_FAIL;
  ComPtr<IKivDataBlocks> inputs;
  uint32_t count = 0;
  if (Failed(iterator->GetDataBlocks(inputs.Put())) || Failed(inputs->GetCount(&count))) return E_FAIL;
  size_t written = 0;
  const size_t wanted = static_cast<size_t>(last - first) + 1;
  for (uint32_t b = blockIndex; b <= count && written < wanted; ++b, sample = 0) {
    ComPtr<IKivDataBlock> in;
    std::span<const double> source;
    if (Failed(inputs->GetBlock(b, in.Put())) || Failed(in->GetValuesReference(&source))) return E_FAIL;
    for (size_t i = sample; i < source.size() && written < wanted; ++i) {
      values[first + written++] = source[i] + offset_;
    }
  }
  return written == wanted ? S_OK : E_FAIL;
}

KivResult CreateOffsetFilter(IKivChannel* input, double offset, ComPtr<CBasicOffsetFilter>* out) {
  if (!out) return E_POINTER;
  try {
    *out = MakeKiv<CBasicOffsetFilter>();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  (void)(*out)->SetInput(input);
  return (*out)->SetOffset(offset);
}

}  // namespace velmar
