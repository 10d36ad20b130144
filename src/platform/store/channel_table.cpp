#include "platform/store/channel_table.h"

#include <algorithm>

#include "platform/store/sample_chunks.h"

namespace velmar::store {
namespace {

// Binds the description's fields from ?1 to ?16, in table order.
void BindDescription(Statement& s, const TarnChannelDescription& c) {
  s.Bind(1, c.displayMaximum).Bind(2, c.displayMinimum).Bind(3, c.rangeHigh).Bind(4, c.rangeLow);
  s.BindText(5, c.displayName).BindText(6, c.tagName).BindText(7, c.userType);
  s.Bind(8, c.decimalPlaces).Bind(9, c.quantityId).Bind(10, c.unitId).Bind(11, c.colour);
  s.Bind(12, c.revision).Bind(13, c.flags).Bind(14, c.sampleType);
  s.Bind(15, int64_t{c.autoscale}).Bind(16, int64_t{c.reserved});
}

KivResult HasSamples(Connection& db, uint64_t id, bool* has) {
  KivResult r = CheckIdKnown(db, "SELECT 1 FROM blocks WHERE channel_id = ?1 LIMIT 1", id);
  *has = r == S_OK;
  return r == E_INVALIDARG ? S_OK : r;
}

}  // namespace

KivResult ReadChannelList(Connection& db, RecordsObject<TarnChannelDescription>* out) {
  Statement s;
  KivResult r = db.Prepare(
      "SELECT id, display_maximum, display_minimum, range_high, range_low, display_name, tag_name, "
      "user_type, decimal_places, quantity_id, unit_id, colour, revision, flags, sample_type, "
      "autoscale, reserved FROM channels ORDER BY id",
      &s);
  if (Failed(r)) return r;
  RecordArena& a = out->arena();
  while ((r = s.Step()) == S_OK) {
    TarnChannelDescription& c = out->Add();
    c.id = static_cast<uint64_t>(s.Int(0));
    c.displayMaximum = s.Real(1);
    c.displayMinimum = s.Real(2);
    c.rangeHigh = s.Real(3);
    c.rangeLow = s.Real(4);
    c.displayName = a.Text(s.Text(5));
    c.tagName = a.Text(s.Text(6));
    c.userType = a.Text(s.Text(7));
    c.decimalPlaces = static_cast<uint32_t>(s.Int(8));
    c.quantityId = static_cast<int32_t>(s.Int(9));
    c.unitId = static_cast<uint32_t>(s.Int(10));
    c.colour = static_cast<uint32_t>(s.Int(11));
    c.revision = static_cast<uint64_t>(s.Int(12));
    c.flags = static_cast<uint32_t>(s.Int(13));
    c.sampleType = static_cast<uint32_t>(s.Int(14));
    c.autoscale = static_cast<uint8_t>(s.Int(15));
    c.reserved = static_cast<uint8_t>(s.Int(16));
  }
  return Failed(r) ? r : S_OK;
}

KivResult AddChannels(Connection& db, std::span<const TarnChannelDescription> records,
                      std::vector<uint64_t>* ids) {
  Statement s;
  KivResult r = db.Prepare(
      "INSERT INTO channels(display_maximum, display_minimum, range_high, range_low, display_name, "
      "tag_name, user_type, decimal_places, quantity_id, unit_id, colour, revision, flags, "
      "sample_type, autoscale, reserved) "
      "VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15, ?16)",
      &s);
  if (Failed(r)) return r;
  for (const TarnChannelDescription& c : records) {
    BindDescription(s, c);
    if (r = s.Run(); Failed(r)) return r;
    ids->push_back(static_cast<uint64_t>(db.LastInsertId()));
  }
  return S_OK;
}

KivResult ModifyChannels(Connection& db, std::span<const TarnChannelDescription> records) {
  for (const TarnChannelDescription& c : records) {
    ChannelInfo info;
    if (KivResult r = ReadChannelInfo(db, c.id, &info); Failed(r)) return r;
    if (c.sampleType != info.sampleType) {
      bool has = false;
      if (KivResult r = HasSamples(db, c.id, &has); Failed(r)) return r;
      if (has) return E_INVALIDARG;
    }
    Statement s;
    KivResult r = db.Prepare(
        "UPDATE channels SET display_maximum = ?1, display_minimum = ?2, range_high = ?3, "
        "range_low = ?4, display_name = ?5, tag_name = ?6, user_type = ?7, decimal_places = ?8, "
        "quantity_id = ?9, unit_id = ?10, colour = ?11, revision = ?12, flags = ?13, "
        "sample_type = ?14, autoscale = ?15, reserved = ?16 WHERE id = ?17",
        &s);
    if (Failed(r)) return r;
    BindDescription(s, c);
    if (r = s.Bind(17, c.id).Run(); Failed(r)) return r;
  }
  return S_OK;
}

KivResult RemoveChannels(Connection& db, std::span<const uint64_t> ids) {
  for (uint64_t id : ids) {
    ChannelInfo info;
    if (KivResult r = ReadChannelInfo(db, id, &info); Failed(r)) return r;
    if (KivResult r = DeleteSamples(db, id); Failed(r)) return r;
    if (KivResult r = RunWithId(db, "DELETE FROM channels WHERE id = ?1", id); Failed(r)) return r;
  }
  return S_OK;
}

KivResult ReadChannelInfo(Connection& db, uint64_t id, ChannelInfo* info) {
  Statement s;
  if (KivResult r = db.Prepare("SELECT sample_type, max_chunk_span FROM channels WHERE id = ?1", &s); Failed(r))
    return r;
  KivResult r = s.Bind(1, id).Step();
  if (Failed(r)) return r;
  if (r == S_FALSE) return E_INVALIDARG;
  int64_t type = s.Int(0);
  info->sampleType = type < 0 || type > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(type);
  info->maxChunkSpan = std::max<int64_t>(0, s.Int(1));
  return S_OK;
}

KivResult WidenChunkSpan(Connection& db, uint64_t id, int64_t span) {
  Statement s;
  if (KivResult r = db.Prepare("UPDATE channels SET max_chunk_span = max(max_chunk_span, ?1) WHERE id = ?2", &s);
      Failed(r))
    return r;
  return s.Bind(1, span).Bind(2, id).Run();
}

}  // namespace velmar::store
