#include "sources/tarn/tarn_event_set.h"

#include <new>
#include <utility>

#include "sources/tarn/tarn_outing_cache.h"

namespace velmar {

CTarnEventSet::CTarnEventSet(std::u16string name, uint64_t eventId, ComPtr<CTarnOutingCache> cache,
                             ComPtr<IKivSelectionRange> binding, KivTime offset)
    : IKivDataImpl(std::move(name)),
      eventId_(eventId),
      cache_(std::move(cache)),
      binding_(std::move(binding)),
      offset_(offset) {}

CTarnEventSet::~CTarnEventSet() {
  if (cache_) cache_->ForgetClient(this);
}

KivResult CTarnEventSet::GetIterator(IKivEventsIterator** iterator) {
  if (!iterator) return E_POINTER;
  *iterator = nullptr;
  if (iterator_) return GiveOut(static_cast<IKivEventsIterator*>(iterator_.Get()), iterator);
  if (EvaluateStatus() != DataStatus::kAvailable || !cache_) return KIV_E_PENDING;
  const CGetCachedEventsJobItem* read = nullptr;
  const KivResult hr = cache_->GetEventData(this, eventId_, &read);
  if (hr == S_FALSE) return KIV_E_PENDING;
  if (hr != S_OK) return hr;
  try {
    auto references = MakeKiv<CEventReferences>(MakeEventReferences(read->events(), offset_));
    auto list = MakeKiv<Events>(&references->events(), ComPtr<IKivUnknown>(references.Get()));
    iterator_ = MakeKiv<Iterator>(std::move(list), binding_);
    references_ = std::move(references);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  detail_ = references_->events().empty() ? kDetailNoSamples : kDetailHasSamples;
  return GiveOut(static_cast<IKivEventsIterator*>(iterator_.Get()), iterator);
}

KivResult CTarnEventSet::SetTimeOffset(KivTime offset) {
  offset_ = offset;
  if (!iterator_) return S_OK;
  references_->SetOffset(offset);
  SetStatusRange(DataStatus::kUnknown, TimeRange::Whole());
  return S_OK;
}

void CTarnEventSet::Detach() {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  FireRemoved();
  if (cache_) cache_->ForgetClient(this);
  cache_ = nullptr;
  iterator_ = nullptr;
  references_ = nullptr;
  binding_ = nullptr;
}

void CTarnEventSet::OnItemDataReady(bool succeeded, KivTime from, KivTime to) {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  SetStatusRange(succeeded ? DataStatus::kAvailable : DataStatus::kNotAvailable, from, to);
  if (!succeeded) NotifyDataFailed();
}

void CTarnEventSet::OnItemDataDropped() { SetStatusRange(DataStatus::kUnknown, TimeRange::Whole()); }

void CTarnEventSet::OnStatusChanged(DataStatus status, KivTime from, KivTime to) {
  if (status == DataStatus::kUnknown) {
    iterator_ = nullptr;
    references_ = nullptr;
  }
  IKivDataImpl::OnStatusChanged(status, from, to);
}

}  // namespace velmar
