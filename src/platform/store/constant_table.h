// Constants: named numbers or texts with a unit.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/store/records_object.h"
#include "platform/store/sqlite_db.h"
#include "velmar/tarn_store.h"

namespace velmar::store {

[[nodiscard]] KivResult ReadConstants(Connection& db, RecordsObject<TarnConstantRecord>* out);
[[nodiscard]] KivResult AddConstants(Connection& db, std::span<const TarnConstantRecord> records,
                                     std::vector<uint64_t>* ids);
[[nodiscard]] KivResult ModifyConstants(Connection& db, std::span<const TarnConstantRecord> records);
[[nodiscard]] KivResult RemoveConstants(Connection& db, std::span<const uint64_t> ids);

}  // namespace velmar::store
