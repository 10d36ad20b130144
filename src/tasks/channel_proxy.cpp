#include "tasks/channel_proxy.h"

#include <algorithm>

namespace velmar {
namespace {

// "Filter": an object that makes filter channels.
ComPtr<IKivFilterFactory> FilterFactoryOf(IKivPropertySet* properties) {
  Variant value;
  if (Failed(properties->GetProperty(u"Filter", &value))) return nullptr;
  return QueryAs<IKivFilterFactory>(value.AsObject());
}

// A filter that takes a value offset is given the proxy's.
void PassOffset(IKivFilter* filter, double offset) {
  if (auto withOffset = QueryAs<IKivFilter3>(filter)) (void)withOffset->SetOffset(offset);
}

}  // namespace

// Filters are let go, not emptied: an iterator a client still holds keeps
// its filter, and so its values, alive.
CChannelProxy::~CChannelProxy() {
  while (cacheHeld_ > 0) (void)Unlock();
}

void CChannelProxy::ReadOffset() {
  if (owner()) valueOffset_ = owner()->ChannelOffset(name());
}

KivResult CChannelProxy::GetIterator(IKivChannelIterator2** iterator) {
  if (!iterator) return E_POINTER;
  *iterator = nullptr;
  if (!real()) return KIV_E_PENDING;
  if (valueOffset_ != 0.0) {
    if (!offsetFilter_) {
      if (KivResult r = CreateOffsetFilter(real(), valueOffset_, &offsetFilter_); Failed(r)) return r;
      if (owner()) (void)offsetFilter_->SetParent(owner()->OwnerUnknown());
    }
    return FilterIterator(offsetFilter_.Get(), iterator);
  }
  return real()->GetIterator(iterator);
}

KivResult CChannelProxy::FilterIterator(IKivFilter* filter, IKivChannelIterator2** iterator) {
  auto channel = QueryAs<IKivChannel>(filter);
  if (!channel) return E_FAIL;
  return channel->GetIterator(iterator);
}

KivResult CChannelProxy::GetValueOffset(double* offset) {
  if (!offset) return E_POINTER;
  *offset = valueOffset_;
  return S_OK;
}

KivResult CChannelProxy::SetValueOffset(double offset) {
  if (offset == valueOffset_) return S_OK;
  if (owner() && !owner()->SetChannelOffset(name(), offset)) return S_FALSE;
  valueOffset_ = offset;
  OffsetFilters();
  ChangedOverAllTime();
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  FireNotification(&IKivChannelProxyNotifications::OnValueOffsetChanged, static_cast<IKivChannelProxy*>(this),
                   offset);
  return S_OK;
}

void CChannelProxy::OffsetFilters() {
  if (valueOffset_ == 0.0) {
    if (offsetFilter_) (void)offsetFilter_->SetInput(nullptr);
    offsetFilter_ = nullptr;
  } else if (offsetFilter_) {
    (void)offsetFilter_->SetOffset(valueOffset_);
  }
  for (FilterEntry& entry : clientFilters_) {
    if (entry.filter) PassOffset(entry.filter.Get(), valueOffset_);
  }
}

CChannelProxy::FilterEntry* CChannelProxy::Slot(int32_t index) {
  if (index < 1 || static_cast<size_t>(index) > clientFilters_.size()) return nullptr;
  FilterEntry& entry = clientFilters_[static_cast<size_t>(index) - 1];
  return entry.properties ? &entry : nullptr;
}

KivResult CChannelProxy::AddFilter(IKivPropertySet* properties, int32_t* index) {
  if (!properties || !index) return E_POINTER;
  for (const FilterEntry& entry : clientFilters_) {
    if (entry.properties.Get() == properties) return E_INVALIDARG;
  }
  auto freeSlot = std::find_if(clientFilters_.begin(), clientFilters_.end(),
                               [](const FilterEntry& e) { return !e.properties; });
  if (freeSlot == clientFilters_.end()) freeSlot = clientFilters_.insert(clientFilters_.end(), FilterEntry{});
  freeSlot->properties = properties;
  *index = static_cast<int32_t>(freeSlot - clientFilters_.begin()) + 1;
  ApplyFilter(*freeSlot);
  return S_OK;
}

KivResult CChannelProxy::RemoveFilter(int32_t index) {
  FilterEntry* entry = Slot(index);
  if (!entry) return E_INVALIDARG;
  if (entry->filter) (void)entry->filter->SetInput(nullptr);
  *entry = FilterEntry{};
  return S_OK;
}

KivResult CChannelProxy::GetFilterIterator(int32_t index, IKivChannelIterator2** iterator) {
  if (!iterator) return E_POINTER;
  *iterator = nullptr;
  if (!real()) return KIV_E_PENDING;
  FilterEntry* entry = Slot(index);
  if (!entry) return E_INVALIDARG;
  return entry->filter ? FilterIterator(entry->filter.Get(), iterator) : GetIterator(iterator);
}

void CChannelProxy::ApplyFilter(FilterEntry& entry) {
  Variant enabled;
  if (Failed(entry.properties->GetProperty(u"Filter enabled", &enabled))) return;
  if (!enabled.AsBool().value_or(false)) {
    if (entry.filter) (void)entry.filter->SetInput(nullptr);
    entry.filter = nullptr;
    ChangedOverAllTime();
    return;
  }
  ComPtr<IKivFilterFactory> factory = FilterFactoryOf(entry.properties.Get());
  ComPtr<IKivFilter> filter;
  if (!factory || !real() || Failed(factory->CreateFilter(real(), filter.Put())) || !filter) return;
  if (entry.filter) (void)entry.filter->SetInput(nullptr);
  entry.filter = filter;
  if (auto filter2 = QueryAs<IKivFilter2>(filter.Get()); filter2 && owner())
    (void)filter2->SetParent(owner()->OwnerUnknown());
  PassOffset(filter.Get(), valueOffset_);
  ChangedOverAllTime();
}

KivResult CChannelProxy::Lock() {
  auto cache = QueryAs<IKivDataCache>(real());
  if (cache) {
    if (KivResult r = cache->Lock(); Failed(r)) return r;
  }
  ++cacheHeld_;
  return S_OK;
}

KivResult CChannelProxy::Unlock() {
  if (cacheHeld_ == 0) return KIV_E_NOT_LOCKED;
  if (auto cache = QueryAs<IKivDataCache>(real())) (void)cache->Unlock();
  --cacheHeld_;
  return S_OK;
}

void CChannelProxy::OnRebound(IKivChannel* old) {
  // The client's cache locks move to the new real channel.
  auto oldCache = QueryAs<IKivDataCache>(old);
  auto newCache = QueryAs<IKivDataCache>(real());
  for (uint32_t i = 0; i < cacheHeld_; ++i) {
    if (oldCache) (void)oldCache->Unlock();
    if (newCache) (void)newCache->Lock();
  }
  if (offsetFilter_) (void)offsetFilter_->SetInput(real());
  for (FilterEntry& entry : clientFilters_) {
    if (entry.filter) (void)entry.filter->SetInput(real());
  }
}

void CChannelProxy::RealChanged(KivTime from, KivTime to) {
  // Each filter may need more of its output read again than the input changed.
  KivTime widest[2] = {from, to};
  auto widen = [&](IKivFilter* filter) {
    KivTime f = from, t = to;
    if (filter && Succeeded(filter->WidenDirtyRange(&f, &t))) {
      widest[0] = std::min(widest[0], f);
      widest[1] = std::max(widest[1], t);
    }
  };
  widen(offsetFilter_.Get());
  for (FilterEntry& entry : clientFilters_) widen(entry.filter.Get());
  SetStatusRange(DataStatus::kUnknown, widest[0], widest[1]);
}

}  // namespace velmar
