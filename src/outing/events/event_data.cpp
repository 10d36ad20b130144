#include "outing/events/event_data.h"

#include <algorithm>

namespace velmar {

std::vector<COutingEventData> MakeEventReferences(const std::vector<EventRecordPtr>& records, KivTime offset) {
  std::vector<COutingEventData> events;
  events.reserve(records.size());
  for (const EventRecordPtr& record : records) {
    if (record) events.emplace_back(record, offset);
  }
  std::stable_sort(events.begin(), events.end(),
                   [](const COutingEventData& a, const COutingEventData& b) { return a.record().time < b.record().time; });
  return events;
}

}  // namespace velmar
