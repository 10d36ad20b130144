#include "platform/store/store_object.h"

#include "platform/store/blob_table.h"
#include "platform/store/channel_table.h"
#include "platform/store/constant_table.h"
#include "platform/store/details_table.h"
#include "platform/store/event_table.h"
#include "platform/store/lap_marker_table.h"
#include "platform/store/media_table.h"
#include "platform/store/sample_chunks.h"
#include "platform/store/write_handle.h"

namespace velmar::store {

template <class Record, class Fill>
KivResult StoreObject::Read(uint32_t waitLimit, IKivTarnRecords<Record>** out, Fill&& fill) {
  if (!out) return E_POINTER;
  *out = nullptr;
  ReadScope scope(*file_, waitLimit);
  if (Failed(scope.status())) return scope.status();
  auto records = MakeKiv<RecordsObject<Record>>();
  if (KivResult r = fill(file_->db(), records.Get()); Failed(r)) return r;
  return GiveOut(records.Get(), out);
}

template <class Fill>
KivResult StoreObject::ReadSpan(uint32_t waitLimit, KivTime* first, KivTime* last, Fill&& fill) {
  if (!first || !last) return E_POINTER;
  ReadScope scope(*file_, waitLimit);
  if (Failed(scope.status())) return scope.status();
  TimeSpan span;
  KivResult r = fill(file_->db(), &span);
  if (Failed(r)) return r;
  *first = span.first;
  *last = span.last;
  return r;
}

KivResult StoreObject::GetMovementRange(uint32_t waitLimit, KivTime* first, KivTime* last) {
  return ReadSpan(waitLimit, first, last, ReadMovementRange);
}

KivResult StoreObject::GetFileName(std::u16string* path) {
  if (!path) return E_POINTER;
  *path = file_->path();
  return S_OK;
}

KivResult StoreObject::GetOutingRange(uint32_t waitLimit, KivTime* start, KivTime* end) {
  // A file with neither a set range nor samples spans (0, 0).
  KivResult r = ReadSpan(waitLimit, start, end, ReadOutingRange);
  return r == S_FALSE ? S_OK : r;
}

KivResult StoreObject::GetDetails(uint32_t waitLimit, IKivTarnOutingRecords** records) {
  return Read(waitLimit, records, ReadDetails);
}

KivResult StoreObject::GetWriteHandle(uint32_t waitLimit, const Guid& iid, void** handle) {
  return OpenWriteHandle(file_, waitLimit, iid, handle);
}

KivResult StoreObject::GetBlobList(uint32_t waitLimit, IKivTarnBlobRecords** records) {
  return Read(waitLimit, records, ReadBlobList);
}

KivResult StoreObject::GetBlobData(uint32_t waitLimit, uint64_t id, IKivTarnBlobDataRecords** records) {
  return Read(waitLimit, records, [id](Connection& db, auto* out) { return ReadBlob(db, id, out); });
}

KivResult StoreObject::GetChannelList(uint32_t waitLimit, IKivTarnChannelRecords** records) {
  return Read(waitLimit, records, ReadChannelList);
}

KivResult StoreObject::GetChannelData(uint32_t waitLimit, uint64_t id, KivTime from, KivTime to,
                                      IKivTarnChannelDataRecords** records) {
  return Read(waitLimit, records,
              [&](Connection& db, auto* out) { return ReadChannelData(db, id, from, to, out); });
}

KivResult StoreObject::GetEventNames(uint32_t waitLimit, IKivTarnEventNameRecords** records) {
  return Read(waitLimit, records, ReadEventNames);
}

KivResult StoreObject::GetEventData(uint32_t waitLimit, uint32_t count, const uint64_t* ids, KivTime from,
                                    KivTime to, IKivTarnEventRecords** records) {
  if (count > 0 && !ids) return E_POINTER;
  return Read(waitLimit, records, [&](Connection& db, auto* out) {
    return ReadEvents(db, std::span<const uint64_t>(ids, count), from, to, out);
  });
}

KivResult StoreObject::GetLapMarkers(uint32_t waitLimit, IKivTarnLapMarkerRecords** records) {
  return Read(waitLimit, records, ReadLapMarkers);
}

KivResult StoreObject::GetConstants(uint32_t waitLimit, IKivTarnConstantRecords** records) {
  return Read(waitLimit, records, ReadConstants);
}

KivResult StoreObject::GetMediaChannels(uint32_t waitLimit, IKivTarnMediaChannelRecords** records) {
  return Read(waitLimit, records, ReadMediaChannels);
}

KivResult StoreObject::GetMediaClips(uint32_t waitLimit, uint64_t channelId, KivTime from, KivTime to,
                                     IKivTarnMediaClipRecords** records) {
  return Read(waitLimit, records,
              [&](Connection& db, auto* out) { return ReadMediaClips(db, channelId, from, to, out); });
}

}  // namespace velmar::store
