#include "sources/realtime/rt_event_set.h"

#include <algorithm>

namespace velmar {

namespace {

EventRecordPtr Record(const rt::WireEvent& e) {
  auto record = std::make_shared<CCachedEventData>();
  if (!e.payload.empty()) record->data = e.payload;
  if (e.fixedData.size() == kEventFixedDataSize) {
    std::array<uint8_t, kEventFixedDataSize> fixed{};
    std::copy(e.fixedData.begin(), e.fixedData.end(), fixed.begin());
    record->fixedData = fixed;
  }
  record->message = e.message;
  record->source = e.source;
  record->name = e.name;
  record->category = e.kind;
  record->time = e.time;
  record->id = e.id;
  return record;
}

}  // namespace

KivResult CRTEventSet::GetIterator(IKivEventsIterator** iterator) {
  if (!iterator) return E_POINTER;
  *iterator = nullptr;
  if (iterator_) return GiveOut(static_cast<IKivEventsIterator*>(iterator_.Get()), iterator);
  if (!core_) return E_FAIL;
  const std::vector<rt::WireEvent>* events = nullptr;
  const KivResult r = core_->ReadEvents(name(), &events);
  if (r != S_OK) return r;
  std::vector<EventRecordPtr> records;
  for (const auto& e : *events) records.push_back(Record(e));
  auto references = MakeKiv<CEventReferences>(MakeEventReferences(records, 0));
  auto list = MakeKiv<Events>(&references->events(), ComPtr<IKivUnknown>(references.Get()));
  iterator_ = MakeKiv<Iterator>(std::move(list), nullptr);
  references_ = std::move(references);
  return GiveOut(static_cast<IKivEventsIterator*>(iterator_.Get()), iterator);
}

void CRTEventSet::OnLiveData(KivTime from, KivTime to) {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  iterator_ = nullptr;
  references_ = nullptr;
  SetStatusRange(DataStatus::kAvailable, from, to);
}

void CRTEventSet::Detach() {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  FireRemoved();
  core_ = nullptr;
  iterator_ = nullptr;
  references_ = nullptr;
}

void CRTEventSet::OnStatusChanged(DataStatus status, KivTime from, KivTime to) {
  if (status == DataStatus::kUnknown) {
    iterator_ = nullptr;
    references_ = nullptr;
  }
  IKivDataImpl::OnStatusChanged(status, from, to);
}

KivResult CRTOutingEventsFactory::GetItem(const std::u16string& name, IKivEventSet** set) {
  if (!set) return E_POINTER;
  *set = nullptr;
  if (!listed()) FillNames();
  auto it = items().find(name);
  if (it == items().end()) return E_INVALIDARG;
  auto& made = sets_[name];
  if (!made) {
    made = MakeKiv<CRTEventSet>(name, &LiveCore());
    made->Bind();
  }
  it->second = made.Get();
  return GiveOut(static_cast<IKivEventSet*>(made.Get()), set);
}

void CRTOutingEventsFactory::OnLiveEvents(const std::u16string& name, KivTime from, KivTime to) {
  if (!listed()) FillNames();
  (void)AddNames({name});
  const auto it = sets_.find(name);
  if (it != sets_.end()) it->second->OnLiveData(from, to);
}

void CRTOutingEventsFactory::DropEventSets() {
  auto sets = std::move(sets_);
  for (auto& [name, set] : sets) set->Detach();
}

void CRTOutingEventsFactory::FillNames() { (void)AddNames(LiveCore().EventSetNames()); }

void CRTOutingEventsFactory::DropItem(const std::u16string& name, IKivEventSet*&) {
  const auto it = sets_.find(name);
  if (it == sets_.end()) return;
  ComPtr<CRTEventSet> set = std::move(it->second);
  sets_.erase(it);
  set->Detach();
}

}  // namespace velmar
