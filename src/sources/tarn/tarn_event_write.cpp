#include "sources/tarn/tarn_event_write.h"

#include <map>

#include "sources/tarn/tarn_event_remove.h"
#include "sources/tarn/tarn_outing.h"
#include "sources/tarn/tarn_records.h"
#include "velmar/tarn_store.h"

namespace velmar {

namespace {

bool SameText(const char16_t* stored, const std::u16string& text) {
  return stored ? text == stored : text.empty();
}

}  // namespace

bool CWBTarnWriteEventsJobItem::Validate() {
  TarnConnection* store = access() ? access()->connection() : nullptr;
  ComPtr<IKivTarnEventNameRecords> names;
  if (!store || !store->events || Failed(store->events->GetEventNames(kTarnWaitForever, names.Put()))) return false;
  std::map<std::u16string, uint64_t> ids;
  for (const TarnEventName& n : Items(names)) {
    if (n.name) ids.emplace(n.name, n.id);
  }
  ComPtr<IKivTarnEventRecords> records;
  const std::u16string* current = nullptr;  // the events come sorted by name
  for (const CExportEvent& event : events()) {
    auto id = ids.find(event.name);
    if (id == ids.end()) continue;  // a set the store doesn't know has no duplicates
    if (!current || *current != event.name) {
      current = &event.name;
      records = nullptr;
      if (Failed(store->events->GetEventData(kTarnWaitForever, 1, &id->second, start(), end(), records.Put()))) {
        return false;
      }
    }
    for (const TarnEventRecord& r : Items(records)) {
      if (r.time == event.time && SameText(r.source, event.source)) return false;
    }
  }
  return true;
}

KivResult CWBTarnWriteEventsJobItem::Write() {
  ComPtr<IKivTarnEventWriter> writer = access() ? access()->Writer<IKivTarnEventWriter>() : nullptr;
  if (!writer) return E_FAIL;
  std::vector<TarnEventRecord> records;
  // The store keeps a whole 32-byte block with every event: one of zeros
  // for an event that came without.
  static constexpr uint8_t kNoFixedData[kTarnEventFixedDataSize] = {};
  for (const CExportEvent& e : events()) {
    if (!e.fixedData.empty() && e.fixedData.size() != kTarnEventFixedDataSize) return E_FAIL;
    TarnEventRecord r{};
    r.time = e.time;
    r.name = e.name.c_str();
    r.source = e.source.c_str();
    r.message = e.message.c_str();
    r.payload = e.data.empty() ? nullptr : e.data.data();
    r.payloadSize = static_cast<uint32_t>(e.data.size());
    r.fixedData = e.fixedData.empty() ? kNoFixedData : e.fixedData.data();
    r.kind = 1;  // added in analysis: the one kind that can be removed again
    records.push_back(r);
  }
  std::vector<uint64_t> ids;
  return Failed(writer->AddEvents(static_cast<uint32_t>(records.size()), records.data(), &ids)) ? E_FAIL : S_OK;
}

KivResult CTarnOuting::WithEventsCache(const std::function<KivResult(CEventsWriterCache&)>& call) {
  OutingEventsWriterCache<CTarnOutingCache, CWBTarnWriteEventsStateMachine, CWBTarnRemoveEventsStateMachine> answers(
      cache(), events_factory(), cache()->event_write_back());
  return call(answers);
}

}  // namespace velmar
