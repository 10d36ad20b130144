#include "sources/tarn/tarn_event_remove.h"

#include "sources/tarn/tarn_records.h"

namespace velmar {

namespace {

constexpr uint32_t kAddedInAnalysis = 1;

// The store's id of the event set `name`; false when it has none.
bool FindNameId(std::span<const TarnEventName> names, const std::u16string& name, uint64_t* id) {
  for (const TarnEventName& n : names) {
    if (n.name && name == n.name) {
      *id = n.id;
      return true;
    }
  }
  return false;
}

}  // namespace

bool CWBTarnRemoveEventsJobItem::Validate() {
  TarnConnection* store = access() ? access()->connection() : nullptr;
  ComPtr<IKivTarnEventNameRecords> names;
  if (!store || !store->events || Failed(store->events->GetEventNames(kTarnWaitForever, names.Put()))) return false;
  ids_.clear();
  for (const CExportEvent& event : events()) {
    uint64_t nameId = 0;
    if (!FindNameId(Items(names), event.name, &nameId)) continue;
    ComPtr<IKivTarnEventRecords> records;
    if (Failed(store->events->GetEventData(kTarnWaitForever, 1, &nameId, event.time, event.time, records.Put()))) {
      return false;
    }
    for (const TarnEventRecord& r : Items(records)) {
      if (r.kind == kAddedInAnalysis) ids_.push_back(r.id);
    }
  }
  return !ids_.empty();
}

KivResult CWBTarnRemoveEventsJobItem::Write() {
  ComPtr<IKivTarnEventWriter> writer = access() ? access()->Writer<IKivTarnEventWriter>() : nullptr;
  if (!writer) return E_FAIL;
  return Failed(writer->RemoveEvents(static_cast<uint32_t>(ids_.size()), ids_.data())) ? E_FAIL : S_OK;
}

}  // namespace velmar
