#include "platform/store/store_schema.h"

#include <array>
#include <string_view>

namespace velmar::store {
namespace {

constexpr const char* kSchema = R"sql(
CREATE TABLE store_info(key TEXT PRIMARY KEY, value) WITHOUT ROWID;
CREATE TABLE details(
  id INTEGER PRIMARY KEY CHECK (id = 1),
  fast_lap_time INTEGER NOT NULL DEFAULT 0, create_date REAL DEFAULT 0,
  track_name TEXT, driver_name TEXT, short_comment TEXT, long_comment TEXT,
  time_zone TEXT, system_details TEXT, reserved INTEGER NOT NULL DEFAULT 0, car_name TEXT,
  session_number INTEGER NOT NULL DEFAULT 0, outing_number INTEGER NOT NULL DEFAULT 0,
  first_lap_number INTEGER NOT NULL DEFAULT 1, fast_lap_number INTEGER NOT NULL DEFAULT 0,
  last_lap_number INTEGER NOT NULL DEFAULT 0, dataset_type INTEGER NOT NULL DEFAULT 0,
  utc_difference INTEGER NOT NULL DEFAULT 0, engine_test INTEGER NOT NULL DEFAULT 0);
CREATE TABLE channels(
  id INTEGER PRIMARY KEY AUTOINCREMENT,
  display_maximum REAL, display_minimum REAL, range_high REAL, range_low REAL,
  display_name TEXT, tag_name TEXT, user_type TEXT,
  decimal_places INTEGER NOT NULL, quantity_id INTEGER NOT NULL, unit_id INTEGER NOT NULL,
  colour INTEGER NOT NULL, revision INTEGER NOT NULL, flags INTEGER NOT NULL,
  sample_type INTEGER NOT NULL, autoscale INTEGER NOT NULL, reserved INTEGER NOT NULL,
  max_chunk_span INTEGER NOT NULL DEFAULT 0);
CREATE TABLE blocks(
  id INTEGER PRIMARY KEY AUTOINCREMENT, channel_id INTEGER NOT NULL,
  period INTEGER NOT NULL, continuous INTEGER NOT NULL,
  first_time INTEGER NOT NULL, last_time INTEGER NOT NULL, sample_count INTEGER NOT NULL);
CREATE INDEX blocks_by_channel ON blocks(channel_id, first_time);
CREATE TABLE chunks(
  channel_id INTEGER NOT NULL, first_time INTEGER NOT NULL,
  block_id INTEGER NOT NULL, seq INTEGER NOT NULL,
  last_time INTEGER NOT NULL, sample_count INTEGER NOT NULL,
  period INTEGER NOT NULL, continuous INTEGER NOT NULL,
  samples BLOB NOT NULL, times BLOB);
CREATE INDEX chunks_by_time ON chunks(channel_id, first_time, block_id, seq);
CREATE INDEX chunks_by_block ON chunks(block_id, seq);
CREATE TABLE event_names(id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL UNIQUE);
CREATE TABLE events(
  id INTEGER PRIMARY KEY AUTOINCREMENT, name_id INTEGER NOT NULL, time INTEGER NOT NULL,
  source TEXT, message TEXT, payload BLOB, fixed_data BLOB, kind INTEGER NOT NULL);
CREATE INDEX events_by_time ON events(name_id, time);
CREATE TABLE lap_markers(
  id INTEGER PRIMARY KEY AUTOINCREMENT, base_time INTEGER NOT NULL,
  time_offset INTEGER NOT NULL DEFAULT 0, distance_origin REAL,
  distance_shift REAL DEFAULT 0, crossing INTEGER NOT NULL,
  recorded INTEGER NOT NULL, removed INTEGER NOT NULL DEFAULT 0);
CREATE TABLE constants(
  id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL, value REAL,
  text TEXT, unit TEXT);
CREATE TABLE blobs(
  id INTEGER PRIMARY KEY AUTOINCREMENT, type TEXT NOT NULL, name TEXT NOT NULL, data BLOB);
CREATE TABLE media_channels(
  id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT NOT NULL,
  reserved16 INTEGER NOT NULL, type INTEGER NOT NULL, reserved24 INTEGER NOT NULL,
  reserved28 INTEGER NOT NULL, reserved32 INTEGER NOT NULL, file_number INTEGER NOT NULL,
  reserved40 INTEGER NOT NULL);
CREATE TABLE media_clips(
  id INTEGER PRIMARY KEY AUTOINCREMENT, channel_id INTEGER NOT NULL, path TEXT,
  reserved INTEGER NOT NULL, start_time INTEGER NOT NULL, end_time INTEGER NOT NULL,
  frames BLOB);
CREATE INDEX media_clips_by_channel ON media_clips(channel_id, start_time);
)sql";

constexpr std::array<std::string_view, 13> kTables = {
    "store_info", "details",     "channels",  "blocks", "chunks",         "event_names", "events",
    "lap_markers", "constants",  "blobs",     "media_channels", "media_clips", "sqlite_sequence"};

}  // namespace

KivResult CreateSchema(Connection& db, double createDate) {
  // Samples come in chunks of several kilobytes: big pages keep a chunk in
  // one page, and a commit of many chunks in few writes. Set before the log
  // mode, which fixes the page size.
  if (KivResult r = db.Exec("PRAGMA page_size=65536"); Failed(r)) return r;
  if (KivResult r = db.Exec("PRAGMA journal_mode=WAL"); Failed(r)) return r;
  if (KivResult r = db.Exec("BEGIN EXCLUSIVE"); Failed(r)) return r;
  KivResult r = db.Exec(kSchema);
  Statement s;
  if (Succeeded(r)) r = db.Prepare("INSERT INTO store_info(key, value) VALUES('format_version', ?1)", &s);
  if (Succeeded(r)) r = s.Bind(1, kFormatVersion).Run();
  Statement d;
  if (Succeeded(r)) r = db.Prepare("INSERT INTO details(id, create_date) VALUES(1, ?1)", &d);
  if (Succeeded(r)) r = d.Bind(1, createDate).Run();
  if (Failed(r)) {
    (void)db.Exec("ROLLBACK");
    return r;
  }
  return db.Exec("COMMIT");
}

KivResult CheckSchema(Connection& db, int64_t* version) {
  *version = 0;
  Statement s;
  KivResult r = db.Prepare("SELECT name, type FROM sqlite_schema WHERE type IN ('table', 'view')", &s);
  if (Failed(r)) return r;
  uint32_t found = 0;
  bool views = false;
  while ((r = s.Step()) == S_OK) {
    const char16_t* name = s.Text(0);
    const char16_t* type = s.Text(1);
    if (!name || !type) continue;
    std::u16string_view n(name);
    for (size_t i = 0; i < kTables.size(); ++i) {
      if (n.size() == kTables[i].size() && std::equal(n.begin(), n.end(), kTables[i].begin())) {
        found |= 1u << i;
        views |= type[0] == u'v';
      }
    }
  }
  if (Failed(r)) return r;
  if (!(found & 1u) || views) return STG_E_DOCFILECORRUPT;
  r = QueryInt(db, "SELECT value FROM store_info WHERE key = 'format_version'", version);
  if (Failed(r)) return r;
  if (r == S_FALSE) return STG_E_DOCFILECORRUPT;
  if (*version != kFormatVersion) return E_BADFILEVERSION;
  constexpr uint32_t kAll = (1u << kTables.size()) - 1;
  return found == kAll ? S_OK : STG_E_DOCFILECORRUPT;
}

}  // namespace velmar::store
