// Lap markers. A marker is recorded (came with the outing) or added by a
// user. Removing a recorded marker only hides it and shifting only sets its
// offset, so a reset can bring back the recorded set as it was. Lap numbers
// are not stored: markers are numbered in time order from the outing's
// first lap number when read.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/store/records_object.h"
#include "platform/store/sqlite_db.h"
#include "velmar/tarn_store.h"

namespace velmar::store {

[[nodiscard]] KivResult ReadLapMarkers(Connection& db, RecordsObject<TarnLapMarker>* out);
[[nodiscard]] KivResult AddLapMarkers(Connection& db, std::span<const TarnLapMarker> records, bool recorded,
                                      std::vector<uint64_t>* ids);
[[nodiscard]] KivResult RemoveLapMarkers(Connection& db, std::span<const uint64_t> ids);
[[nodiscard]] KivResult ResetLapMarkers(Connection& db);
// Sets marker ids[i]'s offset to offsets[i] and its distance shift to shifts[i].
[[nodiscard]] KivResult ShiftLapMarkers(Connection& db, std::span<const uint64_t> ids, const KivTime* offsets,
                                        const double* shifts);

}  // namespace velmar::store
