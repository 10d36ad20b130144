#include "platform/store/lap_marker_table.h"

#include "platform/store/details_table.h"

namespace velmar::store {

KivResult ReadLapMarkers(Connection& db, RecordsObject<TarnLapMarker>* out) {
  uint32_t firstLap = 1;
  if (KivResult r = ReadFirstLapNumber(db, &firstLap); Failed(r)) return r;
  Statement s;
  KivResult r = db.Prepare(
      "SELECT id, base_time, time_offset, distance_origin, crossing FROM lap_markers "
      "WHERE removed = 0 ORDER BY base_time + time_offset, id",
      &s);
  if (Failed(r)) return r;
  uint32_t number = firstLap;
  while ((r = s.Step()) == S_OK) {
    TarnLapMarker& m = out->Add();
    m.id = static_cast<uint64_t>(s.Int(0));
    m.baseTime = s.Int(1);
    m.timeOffset = s.Int(2);
    m.distanceOrigin = s.Real(3);
    m.crossing = s.Int(4) != 0 ? 1 : 0;
    m.lapNumber = number++;
  }
  return Failed(r) ? r : S_OK;
}

KivResult AddLapMarkers(Connection& db, std::span<const TarnLapMarker> records, bool recorded,
                        std::vector<uint64_t>* ids) {
  Statement s;
  KivResult r = db.Prepare(
      "INSERT INTO lap_markers(base_time, time_offset, distance_origin, crossing, recorded) "
      "VALUES(?1, ?2, ?3, ?4, ?5)",
      &s);
  if (Failed(r)) return r;
  for (const TarnLapMarker& m : records) {
    if (m.crossing > 1) return E_INVALIDARG;
    s.Bind(1, m.baseTime).Bind(2, m.timeOffset).Bind(3, m.distanceOrigin);
    s.Bind(4, int64_t{m.crossing}).Bind(5, int64_t{recorded ? 1 : 0});
    if (r = s.Run(); Failed(r)) return r;
    ids->push_back(static_cast<uint64_t>(db.LastInsertId()));
  }
  return S_OK;
}

KivResult RemoveLapMarkers(Connection& db, std::span<const uint64_t> ids) {
  Statement hide;
  KivResult r = db.Prepare("UPDATE lap_markers SET removed = 1 WHERE id = ?1 AND removed = 0 AND recorded = 1",
                           &hide);
  if (Failed(r)) return r;
  Statement drop;
  if (r = db.Prepare("DELETE FROM lap_markers WHERE id = ?1 AND removed = 0 AND recorded = 0", &drop); Failed(r))
    return r;
  for (uint64_t id : ids) {
    if (r = hide.Bind(1, id).Run(); Failed(r)) return r;
    if (db.Changes() > 0) continue;
    if (r = drop.Bind(1, id).Run(); Failed(r)) return r;
    if (db.Changes() == 0) return E_INVALIDARG;
  }
  return S_OK;
}

KivResult ResetLapMarkers(Connection& db) {
  if (KivResult r = db.Exec("DELETE FROM lap_markers WHERE recorded = 0"); Failed(r)) return r;
  return db.Exec("UPDATE lap_markers SET removed = 0, time_offset = 0, distance_shift = 0");
}

KivResult ShiftLapMarkers(Connection& db, std::span<const uint64_t> ids, const KivTime* offsets,
                          const double* shifts) {
  Statement s;
  KivResult r = db.Prepare(
      "UPDATE lap_markers SET time_offset = ?2, distance_shift = ?3 WHERE id = ?1 AND removed = 0", &s);
  if (Failed(r)) return r;
  for (size_t i = 0; i < ids.size(); ++i) {
    if (r = s.Bind(1, ids[i]).Bind(2, offsets[i]).Bind(3, shifts[i]).Run(); Failed(r)) return r;
    if (db.Changes() == 0) return E_INVALIDARG;
  }
  return S_OK;
}

}  // namespace velmar::store
