#include "sources/tarn/tarn_event_data.h"

#include <algorithm>

namespace velmar {

bool ValidEventRecords(std::span<const TarnEventRecord> records) {
  return std::all_of(records.begin(), records.end(), [](const TarnEventRecord& r) {
    if (!r.name || !r.source || !r.message || !r.fixedData) return false;
    if ((r.payload == nullptr) != (r.payloadSize == 0)) return false;
    return r.kind <= 1;
  });
}

std::vector<EventRecordPtr> CachedEvents(std::span<const TarnEventRecord> records) {
  static_assert(kTarnEventFixedDataSize == kEventFixedDataSize);
  if (!ValidEventRecords(records)) return {};
  std::vector<EventRecordPtr> events;
  events.reserve(records.size());
  for (const TarnEventRecord& r : records) {
    auto e = std::make_shared<CCachedEventData>();
    e->id = r.id;
    e->time = r.time;
    e->name = r.name;
    e->source = r.source;
    e->message = r.message;
    if (r.payloadSize) e->data.emplace(r.payload, r.payload + r.payloadSize);
    e->fixedData.emplace();
    std::copy_n(r.fixedData, kTarnEventFixedDataSize, e->fixedData->begin());
    e->category = r.kind;
    events.push_back(std::move(e));
  }
  return events;
}

}  // namespace velmar
