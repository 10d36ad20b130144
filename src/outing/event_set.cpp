#include "outing/event_set.h"

#include <new>

namespace velmar {

CEventSet::CEventSet(std::u16string name, std::vector<COutingEventData> events, ComPtr<IKivSelectionRange> binding,
                     KivTime offset)
    : IKivDataImpl(std::move(name)), events_(std::move(events)), binding_(std::move(binding)), offset_(offset) {
  for (COutingEventData& event : events_) event.set_offset(offset_);
}

bool CEventSet::PrepareData() {
  detail_ = events_.empty() ? kDetailNoSamples : kDetailHasSamples;
  return true;
}

KivResult CEventSet::GetIterator(IKivEventsIterator** iterator) {
  if (!iterator) return E_POINTER;
  *iterator = nullptr;
  if (iterator_) return GiveOut(static_cast<IKivEventsIterator*>(iterator_.Get()), iterator);
  if (EvaluateStatus() != DataStatus::kAvailable) return KIV_E_PENDING;
  try {
    auto list = MakeKiv<Events>(&events_, ComPtr<IKivUnknown>(PrimaryUnknown()));
    iterator_ = MakeKiv<Iterator>(std::move(list), binding_);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return GiveOut(static_cast<IKivEventsIterator*>(iterator_.Get()), iterator);
}

KivResult CEventSet::SetTimeOffset(KivTime offset) {
  offset_ = offset;
  for (COutingEventData& event : events_) event.set_offset(offset);
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
