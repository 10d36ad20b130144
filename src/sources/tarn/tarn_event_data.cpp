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

std::vector<CCachedEventData> CachedEvents(std::span<const TarnEventRecord> records) {
  if (!ValidEventRecords(records)) return {};
  std::vector<CCachedEventData> events;
  events.reserve(records.size());
  for (const TarnEventRecord& r : records) {
    CCachedEventData& e = events.emplace_back();
    e.id = r.id;
    e.time = r.time;
    e.name = r.name;
    e.source = r.source;
    e.message = r.message;
    if (r.payloadSize) e.payload.assign(r.payload, r.payload + r.payloadSize);
    std::copy_n(r.fixedData, kTarnEventFixedDataSize, e.fixedData.begin());
    e.kind = r.kind;
  }
  return events;
}

}  // namespace velmar
