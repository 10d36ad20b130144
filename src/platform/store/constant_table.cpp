#include "platform/store/constant_table.h"

namespace velmar::store {

KivResult ReadConstants(Connection& db, RecordsObject<TarnConstantRecord>* out) {
  Statement s;
  if (KivResult r = db.Prepare("SELECT id, value, name, text, unit FROM constants ORDER BY id", &s); Failed(r))
    return r;
  KivResult r;
  RecordArena& a = out->arena();
  while ((r = s.Step()) == S_OK) {
    TarnConstantRecord& c = out->Add();
    c.id = static_cast<uint64_t>(s.Int(0));
    c.value = s.Real(1);
    c.name = a.Text(s.Text(2));
    c.text = a.Text(s.Text(3));
    c.unit = a.Text(s.Text(4));
  }
  return Failed(r) ? r : S_OK;
}

KivResult AddConstants(Connection& db, std::span<const TarnConstantRecord> records, std::vector<uint64_t>* ids) {
  Statement s;
  KivResult r = db.Prepare("INSERT INTO constants(value, name, text, unit) VALUES(?2, ?3, ?4, ?5)", &s);
  if (Failed(r)) return r;
  for (const TarnConstantRecord& c : records) {
    if (!c.name) return E_INVALIDARG;
    if (r = s.Bind(2, c.value).BindText(3, c.name).BindText(4, c.text).BindText(5, c.unit).Run(); Failed(r))
      return r;
    ids->push_back(static_cast<uint64_t>(db.LastInsertId()));
  }
  return S_OK;
}

KivResult ModifyConstants(Connection& db, std::span<const TarnConstantRecord> records) {
  Statement s;
  KivResult r = db.Prepare("UPDATE constants SET value = ?2, name = ?3, text = ?4, unit = ?5 WHERE id = ?1", &s);
  if (Failed(r)) return r;
  for (const TarnConstantRecord& c : records) {
    if (!c.name) return E_INVALIDARG;
    s.Bind(1, c.id).Bind(2, c.value).BindText(3, c.name).BindText(4, c.text).BindText(5, c.unit);
    if (r = s.Run(); Failed(r)) return r;
    if (db.Changes() == 0) return E_INVALIDARG;
  }
  return S_OK;
}

KivResult RemoveConstants(Connection& db, std::span<const uint64_t> ids) {
  return RunForIds(db, "DELETE FROM constants WHERE id = ?1", ids);
}

}  // namespace velmar::store
