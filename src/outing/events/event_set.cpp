#include "outing/events/event_set.h"

#include <new>

namespace velmar {

CEventSet::CEventSet(std::u16string name, std::vector<COutingEventData> events, ComPtr<IKivSelectionRange> binding,
                     KivTime offset)
    : IKivDataImpl(std::move(name)),
      events_(MakeKiv<CEventReferences>(std::move(events))),
      binding_(std::move(binding)),
      offset_(offset) {
  events_->SetOffset(offset_);
}

bool CEventSet::PrepareData() {
  detail_ = events().empty() ? kDetailNoSamples : kDetailHasSamples;
  return true;
}

KivResult CEventSet::GetIterator(IKivEventsIterator** iterator) {
  if (!iterator) return E_POINTER;
  *iterator = nullptr;
  if (iterator_) return GiveOut(static_cast<IKivEventsIterator*>(iterator_.Get()), iterator);
  if (EvaluateStatus() != DataStatus::kAvailable) return KIV_E_PENDING;
  try {
    auto list = MakeKiv<Events>(&events_->events(), ComPtr<IKivUnknown>(events_.Get()));
    iterator_ = MakeKiv<Iterator>(std::move(list), binding_);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return GiveOut(static_cast<IKivEventsIterator*>(iterator_.Get()), iterator);
}

KivResult CEventSet::SetTimeOffset(KivTime offset) {
  offset_ = offset;
  events_->SetOffset(offset);
  if (iterator_) SetStatusRange(DataStatus::kAvailable, TimeRange::Whole());
  return S_OK;
}

void CEventSet::Detach() {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  FireRemoved();
  iterator_ = nullptr;
  binding_ = nullptr;
}

}  // namespace velmar
