// The outing's details record and its two time spans: the outing range and
// the car's movement range.
#pragma once

#include <cstdint>

#include "platform/store/records_object.h"
#include "platform/store/sqlite_db.h"
#include "velmar/tarn_store.h"

namespace velmar::store {

[[nodiscard]] KivResult ReadDetails(Connection& db, RecordsObject<TarnOutingRecord>* out);
[[nodiscard]] KivResult WriteDetails(Connection& db, const TarnOutingRecord& record);
[[nodiscard]] KivResult ReadFirstLapNumber(Connection& db, uint32_t* number);
[[nodiscard]] KivResult WriteFirstLapNumber(Connection& db, uint32_t number);

struct TimeSpan {
  KivTime first = 0;
  KivTime last = 0;
};

// S_FALSE, with (0, 0), when the file has no outing range and no samples.
[[nodiscard]] KivResult ReadOutingRange(Connection& db, TimeSpan* span);
[[nodiscard]] KivResult WriteOutingRange(Connection& db, TimeSpan span);
// Grows the outing range to take in `span`.
[[nodiscard]] KivResult WidenOutingRange(Connection& db, TimeSpan span);

// S_FALSE, with (0, 0), when the movement range isn't known.
[[nodiscard]] KivResult ReadMovementRange(Connection& db, TimeSpan* span);
[[nodiscard]] KivResult WriteMovementRange(Connection& db, TimeSpan span);
[[nodiscard]] KivResult ClearMovementRange(Connection& db);

}  // namespace velmar::store
