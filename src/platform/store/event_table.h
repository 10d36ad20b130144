// Event sets (one name each) and their occurrences.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/store/records_object.h"
#include "platform/store/sqlite_db.h"
#include "velmar/tarn_store.h"

namespace velmar::store {

[[nodiscard]] KivResult ReadEventNames(Connection& db, RecordsObject<TarnEventName>* out);
// The events of the sets `nameIds` from `from` to `to`, ordered by time,
// then id. E_INVALIDARG for an unknown set.
[[nodiscard]] KivResult ReadEvents(Connection& db, std::span<const uint64_t> nameIds, KivTime from, KivTime to,
                                   RecordsObject<TarnEventRecord>* out);
// A new name makes a new set.
[[nodiscard]] KivResult AddEvents(Connection& db, std::span<const TarnEventRecord> records,
                                  std::vector<uint64_t>* ids);
[[nodiscard]] KivResult ModifyEvents(Connection& db, std::span<const TarnEventRecord> records);
// A set left empty goes too.
[[nodiscard]] KivResult RemoveEvents(Connection& db, std::span<const uint64_t> ids);

}  // namespace velmar::store
