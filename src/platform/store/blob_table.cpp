#include "platform/store/blob_table.h"

namespace velmar::store {
namespace {

// Types are kept in their braced text form.
const Guid* ReadType(const Statement& s, int column, RecordArena& arena) {
  const char16_t* text = s.Text(column);
  auto type = text ? Guid::Parse(std::u16string_view(text)) : std::nullopt;
  return arena.Id(type.value_or(GUID_NULL));
}

KivResult CheckContent(const TarnBlobRecord& b) { return b.size > 0 && !b.data ? E_POINTER : S_OK; }

}  // namespace

KivResult ReadBlobList(Connection& db, RecordsObject<TarnBlobDescription>* out) {
  Statement s;
  if (KivResult r = db.Prepare("SELECT id, type, name FROM blobs ORDER BY id", &s); Failed(r)) return r;
  KivResult r;
  while ((r = s.Step()) == S_OK) {
    TarnBlobDescription& b = out->Add();
    b.id = static_cast<uint64_t>(s.Int(0));
    b.type = ReadType(s, 1, out->arena());
    b.name = out->arena().Text(s.Text(2));
  }
  return Failed(r) ? r : S_OK;
}

KivResult ReadBlob(Connection& db, uint64_t id, RecordsObject<TarnBlobRecord>* out) {
  Statement s;
  if (KivResult r = db.Prepare("SELECT type, name, data FROM blobs WHERE id = ?1", &s); Failed(r)) return r;
  KivResult r = s.Bind(1, id).Step();
  if (Failed(r)) return r;
  if (r == S_FALSE) return E_INVALIDARG;
  TarnBlobRecord& b = out->Add();
  b.id = id;
  b.type = ReadType(s, 0, out->arena());
  b.name = out->arena().Text(s.Text(1));
  std::span<const std::byte> data = s.Blob(2);
  b.data = out->arena().Bytes(data);
  b.size = b.data ? static_cast<uint32_t>(data.size()) : 0;
  return S_OK;
}

KivResult AddBlobs(Connection& db, std::span<const TarnBlobRecord> records, std::vector<uint64_t>* ids) {
  Statement s;
  if (KivResult r = db.Prepare("INSERT INTO blobs(type, name, data) VALUES(?1, ?2, ?3)", &s); Failed(r)) return r;
  for (const TarnBlobRecord& b : records) {
    if (!b.type || !b.name) return E_INVALIDARG;
    if (KivResult r = CheckContent(b); Failed(r)) return r;
    std::string type = b.type->ToString();
    s.BindText(1, type).BindText(2, b.name).BindBlob(3, b.size ? b.data : nullptr, b.size);
    if (KivResult r = s.Run(); Failed(r)) return r;
    ids->push_back(static_cast<uint64_t>(db.LastInsertId()));
  }
  return S_OK;
}

KivResult ModifyBlobs(Connection& db, std::span<const TarnBlobRecord> records) {
  Statement s;
  KivResult r = db.Prepare(
      "UPDATE blobs SET type = coalesce(?2, type), name = coalesce(?3, name), data = ?4 WHERE id = ?1", &s);
  if (Failed(r)) return r;
  for (const TarnBlobRecord& b : records) {
    if (r = CheckContent(b); Failed(r)) return r;
    std::string type = b.type ? b.type->ToString() : std::string();
    s.Bind(1, b.id).BindBlob(4, b.size ? b.data : nullptr, b.size).BindText(3, b.name);
    if (b.type) {
      s.BindText(2, type);
    } else {
      s.BindNull(2);
    }
    if (r = s.Run(); Failed(r)) return r;
    if (db.Changes() == 0) return E_INVALIDARG;
  }
  return S_OK;
}

KivResult RemoveBlobs(Connection& db, std::span<const uint64_t> ids) {
  return RunForIds(db, "DELETE FROM blobs WHERE id = ?1", ids);
}

}  // namespace velmar::store
