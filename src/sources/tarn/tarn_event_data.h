// The occurrences of an event set as the outing keeps them, copied out of
// the store's event records.
//
// Pure functions; any thread (the store thread runs them).
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "outing/events/event_data.h"
#include "velmar/tarn_store.h"

namespace velmar {

// Whether every record can be read: the three texts and the 32-byte block
// given, payload pointer and size both set or both empty, kind 0 or 1.
[[nodiscard]] bool ValidEventRecords(std::span<const TarnEventRecord> records);

// The events of the records, or none when one record is not valid.
std::vector<EventRecordPtr> CachedEvents(std::span<const TarnEventRecord> records);

}  // namespace velmar
