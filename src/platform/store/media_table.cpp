#include "platform/store/media_table.h"

#include <cstring>

namespace velmar::store {
namespace {

KivResult CheckChannel(Connection& db, uint64_t id) {
  return CheckIdKnown(db, "SELECT 1 FROM media_channels WHERE id = ?1", id);
}

}  // namespace

KivResult ReadMediaChannels(Connection& db, RecordsObject<TarnMediaChannelRecord>* out) {
  Statement s;
  KivResult r = db.Prepare(
      "SELECT id, name, reserved16, type, reserved24, reserved28, reserved32, file_number, reserved40 "
      "FROM media_channels ORDER BY id",
      &s);
  if (Failed(r)) return r;
  while ((r = s.Step()) == S_OK) {
    TarnMediaChannelRecord& m = out->Add();
    m.id = static_cast<uint64_t>(s.Int(0));
    m.name = out->arena().Text(s.Text(1));
    m.reserved16 = static_cast<uint32_t>(s.Int(2));
    m.type = static_cast<uint32_t>(s.Int(3));
    m.reserved24 = static_cast<uint32_t>(s.Int(4));
    m.reserved28 = static_cast<uint32_t>(s.Int(5));
    m.reserved32 = static_cast<uint32_t>(s.Int(6));
    m.fileNumber = static_cast<uint32_t>(s.Int(7));
    m.reserved40 = static_cast<uint64_t>(s.Int(8));
  }
  return Failed(r) ? r : S_OK;
}

KivResult ReadMediaClips(Connection& db, uint64_t channelId, KivTime from, KivTime to,
                         RecordsObject<TarnMediaClipRecord>* out) {
  if (KivResult r = CheckChannel(db, channelId); Failed(r)) return r;
  Statement s;
  KivResult r = db.Prepare(
      "SELECT id, path, reserved, start_time, end_time, frames FROM media_clips "
      "WHERE channel_id = ?1 AND start_time <= ?3 AND end_time >= ?2 ORDER BY start_time, id",
      &s);
  if (Failed(r)) return r;
  s.Bind(1, channelId).Bind(2, from).Bind(3, to);
  RecordArena& a = out->arena();
  while ((r = s.Step()) == S_OK) {
    TarnMediaClipRecord& c = out->Add();
    c.id = static_cast<uint64_t>(s.Int(0));
    c.path = a.Text(s.Text(1));
    c.channelId = channelId;
    c.reserved = static_cast<uint64_t>(s.Int(2));
    c.start = s.Int(3);
    c.end = s.Int(4);
    std::span<const std::byte> frames = s.Blob(5);
    c.frameCount = static_cast<uint32_t>(frames.size() / sizeof(TarnMediaFrame));
    if (c.frameCount > 0) {
      TarnMediaFrame* copy = a.Array<TarnMediaFrame>(c.frameCount);
      std::memcpy(static_cast<void*>(copy), frames.data(), c.frameCount * sizeof(TarnMediaFrame));
      c.frames = copy;
    }
  }
  return Failed(r) ? r : S_OK;
}

KivResult AddMediaChannels(Connection& db, std::span<const TarnMediaChannelRecord> records,
                           std::vector<uint64_t>* ids) {
  Statement s;
  KivResult r = db.Prepare(
      "INSERT INTO media_channels(name, reserved16, type, reserved24, reserved28, reserved32, file_number, "
      "reserved40) VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)",
      &s);
  if (Failed(r)) return r;
  for (const TarnMediaChannelRecord& m : records) {
    if (!m.name) return E_INVALIDARG;
    s.BindText(1, m.name).Bind(2, m.reserved16).Bind(3, m.type).Bind(4, m.reserved24).Bind(5, m.reserved28);
    if (r = s.Bind(6, m.reserved32).Bind(7, m.fileNumber).Bind(8, m.reserved40).Run(); Failed(r)) return r;
    ids->push_back(static_cast<uint64_t>(db.LastInsertId()));
  }
  return S_OK;
}

KivResult RemoveMediaChannels(Connection& db, std::span<const uint64_t> ids) {
  if (KivResult r = RunForIds(db, "DELETE FROM media_channels WHERE id = ?1", ids); Failed(r)) return r;
  for (uint64_t id : ids) {
    if (KivResult r = RunWithId(db, "DELETE FROM media_clips WHERE channel_id = ?1", id); Failed(r)) return r;
  }
  return S_OK;
}

KivResult AddMediaClips(Connection& db, std::span<const TarnMediaClipRecord> records, std::vector<uint64_t>* ids) {
  for (const TarnMediaClipRecord& c : records) {
    if (c.start > c.end) return E_INVALIDARG;
    if (c.frameCount > 0 && !c.frames) return E_POINTER;
    if (KivResult r = CheckChannel(db, c.channelId); Failed(r)) return r;
    Statement s;
    KivResult r = db.Prepare(
        "INSERT INTO media_clips(channel_id, path, reserved, start_time, end_time, frames) "
        "VALUES(?1, ?2, ?3, ?4, ?5, ?6)",
        &s);
    if (Failed(r)) return r;
    s.Bind(1, c.channelId).BindText(2, c.path).Bind(3, c.reserved).Bind(4, c.start).Bind(5, c.end);
    s.BindBlob(6, c.frameCount > 0 ? c.frames : nullptr, size_t{c.frameCount} * sizeof(TarnMediaFrame));
    if (r = s.Run(); Failed(r)) return r;
    ids->push_back(static_cast<uint64_t>(db.LastInsertId()));
  }
  return S_OK;
}

KivResult SetMediaClipTimes(Connection& db, std::span<const uint64_t> ids, KivTime start, KivTime end) {
  if (start > end) return E_INVALIDARG;
  Statement s;
  if (KivResult r = db.Prepare("UPDATE media_clips SET start_time = ?2, end_time = ?3 WHERE id = ?1", &s); Failed(r))
    return r;
  for (uint64_t id : ids) {
    if (KivResult r = s.Bind(1, id).Bind(2, start).Bind(3, end).Run(); Failed(r)) return r;
    if (db.Changes() == 0) return E_INVALIDARG;
  }
  return S_OK;
}

}  // namespace velmar::store
