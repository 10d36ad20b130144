#include "platform/store/event_table.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace velmar::store {
namespace {

// The library refuses a set holding any event without its three texts or its
// fixed block, so the store takes none: nothing half-usable is written.
KivResult CheckEvent(const TarnEventRecord& e) {
  if (!e.name || std::u16string_view(e.name).empty() || e.kind > 1) return E_INVALIDARG;
  if (!e.source || !e.message || !e.fixedData) return E_INVALIDARG;
  if ((e.payload == nullptr) != (e.payloadSize == 0)) return E_INVALIDARG;
  return S_OK;
}

// The id of the set called `name`, made if there is none.
KivResult NameId(Connection& db, const char16_t* name, uint64_t* id) {
  Statement s;
  if (KivResult r = db.Prepare("SELECT id FROM event_names WHERE name = ?1", &s); Failed(r)) return r;
  KivResult r = s.BindText(1, name).Step();
  if (Failed(r)) return r;
  if (r == S_OK) {
    *id = static_cast<uint64_t>(s.Int(0));
    return S_OK;
  }
  Statement add;
  if (r = db.Prepare("INSERT INTO event_names(name) VALUES(?1)", &add); Failed(r)) return r;
  if (r = add.BindText(1, name).Run(); Failed(r)) return r;
  *id = static_cast<uint64_t>(db.LastInsertId());
  return S_OK;
}

// Binds ?2 name id, ?3 time, ?4 source, ?5 message, ?6 payload, ?7 fixed data, ?8 kind.
void BindEvent(Statement& s, const TarnEventRecord& e, uint64_t nameId) {
  s.Bind(2, nameId).Bind(3, e.time).BindText(4, e.source).BindText(5, e.message);
  s.BindBlob(6, e.payload, e.payloadSize).BindBlob(7, e.fixedData, kTarnEventFixedDataSize);
  s.Bind(8, e.kind);
}

KivResult DropEmptySets(Connection& db) {
  return db.Exec(
      "DELETE FROM event_names WHERE NOT EXISTS (SELECT 1 FROM events WHERE events.name_id = event_names.id)");
}

// Adds `e` as a new event (id given back), or replaces the event e.id.
KivResult WriteEvent(Connection& db, const TarnEventRecord& e, bool add, uint64_t* id) {
  if (KivResult r = CheckEvent(e); Failed(r)) return r;
  uint64_t nameId = 0;
  if (KivResult r = NameId(db, e.name, &nameId); Failed(r)) return r;
  Statement s;
  KivResult r = db.Prepare(add ? "INSERT INTO events(name_id, time, source, message, payload, fixed_data, kind) "
                                 "VALUES(?2, ?3, ?4, ?5, ?6, ?7, ?8)"
                               : "UPDATE events SET name_id = ?2, time = ?3, source = ?4, message = ?5, "
                                 "payload = ?6, fixed_data = ?7, kind = ?8 WHERE id = ?1",
                           &s);
  if (Failed(r)) return r;
  if (!add) s.Bind(1, e.id);
  BindEvent(s, e, nameId);
  if (r = s.Run(); Failed(r)) return r;
  if (!add && db.Changes() == 0) return E_INVALIDARG;
  *id = add ? static_cast<uint64_t>(db.LastInsertId()) : e.id;
  return S_OK;
}

}  // namespace

KivResult ReadEventNames(Connection& db, RecordsObject<TarnEventName>* out) {
  Statement s;
  if (KivResult r = db.Prepare("SELECT id, name FROM event_names ORDER BY id", &s); Failed(r)) return r;
  KivResult r;
  while ((r = s.Step()) == S_OK) {
    TarnEventName& n = out->Add();
    n.id = static_cast<uint64_t>(s.Int(0));
    n.name = out->arena().Text(s.Text(1));
  }
  return Failed(r) ? r : S_OK;
}

KivResult ReadEvents(Connection& db, std::span<const uint64_t> nameIds, KivTime from, KivTime to,
                     RecordsObject<TarnEventRecord>* out) {
  RecordArena& a = out->arena();
  for (uint64_t nameId : nameIds) {
    if (KivResult r = CheckIdKnown(db, "SELECT 1 FROM event_names WHERE id = ?1", nameId); Failed(r)) return r;
    Statement s;
    KivResult r = db.Prepare(
        "SELECT e.id, e.time, n.name, e.source, e.message, e.payload, e.fixed_data, e.kind "
        "FROM events e JOIN event_names n ON n.id = e.name_id "
        "WHERE e.name_id = ?1 AND e.time BETWEEN ?2 AND ?3",
        &s);
    if (Failed(r)) return r;
    s.Bind(1, nameId).Bind(2, from).Bind(3, to);
    while ((r = s.Step()) == S_OK) {
      TarnEventRecord& e = out->Add();
      e.id = static_cast<uint64_t>(s.Int(0));
      e.time = s.Int(1);
      e.name = a.Text(s.Text(2));
      e.source = a.Text(s.Text(3));
      e.message = a.Text(s.Text(4));
      std::span<const std::byte> payload = s.Blob(5);
      e.payload = a.Bytes(payload);
      e.payloadSize = e.payload ? static_cast<uint32_t>(payload.size()) : 0;
      if (!s.IsNull(6)) {
        // Always a whole block, whatever the file holds.
        std::span<const std::byte> fixed = s.Blob(6);
        uint8_t* block = a.Array<uint8_t>(kTarnEventFixedDataSize);
        std::memset(block, 0, kTarnEventFixedDataSize);
        std::memcpy(block, fixed.data(), std::min(fixed.size(), kTarnEventFixedDataSize));
        e.fixedData = block;
      }
      e.nameId = nameId;
      e.kind = static_cast<uint32_t>(s.Int(7));
    }
    if (Failed(r)) return r;
  }
  std::stable_sort(out->records().begin(), out->records().end(),
                   [](const TarnEventRecord& x, const TarnEventRecord& y) {
                     return x.time != y.time ? x.time < y.time : x.id < y.id;
                   });
  return S_OK;
}

KivResult AddEvents(Connection& db, std::span<const TarnEventRecord> records, std::vector<uint64_t>* ids) {
  for (const TarnEventRecord& e : records) {
    uint64_t id = 0;
    if (KivResult r = WriteEvent(db, e, true, &id); Failed(r)) return r;
    ids->push_back(id);
  }
  return S_OK;
}

KivResult ModifyEvents(Connection& db, std::span<const TarnEventRecord> records) {
  for (const TarnEventRecord& e : records) {
    uint64_t id = 0;
    if (KivResult r = WriteEvent(db, e, false, &id); Failed(r)) return r;
  }
  return DropEmptySets(db);
}

KivResult RemoveEvents(Connection& db, std::span<const uint64_t> ids) {
  if (KivResult r = RunForIds(db, "DELETE FROM events WHERE id = ?1", ids); Failed(r)) return r;
  return DropEmptySets(db);
}

}  // namespace velmar::store
