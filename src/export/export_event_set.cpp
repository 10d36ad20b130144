#include "export/export_event_set.h"

#include <utility>

namespace velmar {

CExportEventSet::CExportEventSet(CExportStringHelper& strings, std::u16string name, IKivEventSet* eventSet,
                                 KivTime start, KivTime end, KivTime base)
    : CExportSourceItem(eventSet), strings_(strings), name_(std::move(name)), start_(start), end_(end), base_(base) {
  Begin();
}

KivResult CExportEventSet::Fetch() {
  auto* set = static_cast<IKivEventSet*>(source());
  ComPtr<IKivEventsIterator> iterator;
  const KivResult r = set->GetIterator(iterator.Put());
  if (Failed(r) || !iterator) return Failed(r) ? r : E_FAIL;
  ComPtr<IKivEvents> events;
  uint32_t count = 0;
  if (Failed(iterator->GetEvents(events.Put())) || !events || Failed(events->GetCount(&count))) return E_FAIL;
  events_.clear();
  for (uint32_t i = 1; i <= count; ++i) {
    ComPtr<IKivEvent> event;
    if (Failed(events->GetEvent(static_cast<int32_t>(i), event.Put()))) return E_FAIL;
    if (const KivResult appended = Append(event.Get()); Failed(appended)) return appended;
  }
  return events_.empty() ? S_FALSE : S_OK;
}

KivResult CExportEventSet::Append(IKivEvent* event) {
  CExportEvent e;
  if (Failed(event->GetTime(&e.time))) return E_FAIL;
  if (e.time < start_ || e.time > end_) return S_FALSE;
  if (Failed(event->GetName(&e.name)) || Failed(event->GetCategory(&e.category)) ||
      Failed(event->GetSource(&e.source)) || Failed(event->GetMessage(&e.message))) {
    return E_FAIL;
  }
  if (!strings_.CheckStrings(e.name, e.source, e.message)) return E_INVALIDARG;
  if (Failed(event->GetFixedData(&e.fixedData)) || Failed(event->GetData(&e.data))) return E_FAIL;
  e.time -= base_;
  events_.push_back(std::move(e));
  return S_OK;
}

}  // namespace velmar
