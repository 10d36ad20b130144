#include "platform/store/details_table.h"

#include <algorithm>

namespace velmar::store {
namespace {

constexpr const char* kSelectDetails =
    "SELECT fast_lap_time, create_date, track_name, driver_name, short_comment, long_comment, "
    "time_zone, system_details, reserved, car_name, session_number, outing_number, "
    "first_lap_number, fast_lap_number, last_lap_number, dataset_type, utc_difference, engine_test "
    "FROM details ORDER BY id";

constexpr const char* kWriteDetails =
    "INSERT OR REPLACE INTO details(id, fast_lap_time, create_date, track_name, driver_name, "
    "short_comment, long_comment, time_zone, system_details, reserved, car_name, session_number, "
    "outing_number, first_lap_number, fast_lap_number, last_lap_number, dataset_type, "
    "utc_difference, engine_test) "
    "VALUES(1, ?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16, ?17, ?18)";

uint32_t U32(const Statement& s, int column) { return static_cast<uint32_t>(s.Int(column)); }

// One value of store_info; S_FALSE when it is missing.
KivResult ReadValue(Connection& db, const char* key, int64_t* value) {
  Statement s;
  if (KivResult r = db.Prepare("SELECT value FROM store_info WHERE key = ?1 AND value IS NOT NULL", &s);
      Failed(r))
    return r;
  KivResult r = s.BindText(1, key).Step();
  if (r == S_OK) *value = s.Int(0);
  return r;
}

// A pair of values in store_info; S_FALSE, with (0, 0), when either is missing.
KivResult ReadPair(Connection& db, const char* firstKey, const char* lastKey, TimeSpan* span) {
  TimeSpan read;
  KivResult r = ReadValue(db, firstKey, &read.first);
  if (r == S_OK) r = ReadValue(db, lastKey, &read.last);
  *span = r == S_OK ? read : TimeSpan{};
  return r;
}

KivResult WritePair(Connection& db, const char* firstKey, const char* lastKey, TimeSpan span) {
  Statement s;
  if (KivResult r = db.Prepare("INSERT OR REPLACE INTO store_info(key, value) VALUES(?1, ?2), (?3, ?4)", &s);
      Failed(r))
    return r;
  return s.BindText(1, firstKey).Bind(2, span.first).BindText(3, lastKey).Bind(4, span.last).Run();
}

}  // namespace

KivResult ReadDetails(Connection& db, RecordsObject<TarnOutingRecord>* out) {
  Statement s;
  if (KivResult r = db.Prepare(kSelectDetails, &s); Failed(r)) return r;
  KivResult r;
  RecordArena& a = out->arena();
  while ((r = s.Step()) == S_OK) {
    TarnOutingRecord& d = out->Add();
    d.fastLapTime = s.Int(0);
    d.createDate = s.Real(1);
    d.trackName = a.Text(s.Text(2));
    d.driverName = a.Text(s.Text(3));
    d.shortComment = a.Text(s.Text(4));
    d.longComment = a.Text(s.Text(5));
    d.timeZone = a.Text(s.Text(6));
    d.systemDetails = a.Text(s.Text(7));
    d.reserved = static_cast<uint64_t>(s.Int(8));
    d.carName = a.Text(s.Text(9));
    d.sessionNumber = U32(s, 10);
    d.outingNumber = U32(s, 11);
    d.firstLapNumber = U32(s, 12);
    d.fastLapNumber = U32(s, 13);
    d.lastLapNumber = U32(s, 14);
    d.datasetType = U32(s, 15);
    d.utcDifference = static_cast<int32_t>(s.Int(16));
    d.engineTest = s.Int(17) != 0 ? 1 : 0;
  }
  return Failed(r) ? r : S_OK;
}

KivResult WriteDetails(Connection& db, const TarnOutingRecord& d) {
  Statement s;
  if (KivResult r = db.Prepare(kWriteDetails, &s); Failed(r)) return r;
  s.Bind(1, d.fastLapTime).Bind(2, d.createDate);
  s.BindText(3, d.trackName).BindText(4, d.driverName).BindText(5, d.shortComment);
  s.BindText(6, d.longComment).BindText(7, d.timeZone).BindText(8, d.systemDetails);
  s.Bind(9, d.reserved).BindText(10, d.carName).Bind(11, d.sessionNumber).Bind(12, d.outingNumber);
  s.Bind(13, d.firstLapNumber).Bind(14, d.fastLapNumber).Bind(15, d.lastLapNumber);
  s.Bind(16, d.datasetType).Bind(17, d.utcDifference).Bind(18, int64_t{d.engineTest != 0 ? 1 : 0});
  return s.Run();
}

KivResult ReadFirstLapNumber(Connection& db, uint32_t* number) {
  int64_t v = 1;
  KivResult r = QueryInt(db, "SELECT first_lap_number FROM details ORDER BY id LIMIT 1", &v);
  if (Failed(r)) return r;
  *number = r == S_OK ? static_cast<uint32_t>(v) : 1;
  return S_OK;
}

KivResult WriteFirstLapNumber(Connection& db, uint32_t number) {
  if (KivResult r = db.Exec("INSERT OR IGNORE INTO details(id) VALUES(1)"); Failed(r)) return r;
  Statement s;
  if (KivResult r = db.Prepare("UPDATE details SET first_lap_number = ?1", &s); Failed(r)) return r;
  return s.Bind(1, number).Run();
}

KivResult ReadOutingRange(Connection& db, TimeSpan* span) {
  return ReadPair(db, "outing_start", "outing_end", span);
}

KivResult WriteOutingRange(Connection& db, TimeSpan span) {
  if (span.first > span.last) return E_INVALIDARG;
  return WritePair(db, "outing_start", "outing_end", span);
}

KivResult WidenOutingRange(Connection& db, TimeSpan span) {
  TimeSpan now;
  KivResult r = ReadOutingRange(db, &now);
  if (Failed(r)) return r;
  if (r == S_OK) {
    span.first = std::min(span.first, now.first);
    span.last = std::max(span.last, now.last);
    if (span.first == now.first && span.last == now.last) return S_OK;
  }
  return WriteOutingRange(db, span);
}

KivResult ReadMovementRange(Connection& db, TimeSpan* span) {
  return ReadPair(db, "movement_first", "movement_last", span);
}

KivResult WriteMovementRange(Connection& db, TimeSpan span) {
  if (span.first > span.last) return E_INVALIDARG;
  return WritePair(db, "movement_first", "movement_last", span);
}

KivResult ClearMovementRange(Connection& db) {
  return db.Exec("DELETE FROM store_info WHERE key IN ('movement_first', 'movement_last')");
}

}  // namespace velmar::store
