#include "platform/store/write_handle.h"

#include <set>

#include "platform/store/blob_table.h"
#include "platform/store/channel_table.h"
#include "platform/store/constant_table.h"
#include "platform/store/details_table.h"
#include "platform/store/event_table.h"
#include "platform/store/lap_marker_table.h"
#include "platform/store/media_table.h"
#include "platform/store/sample_chunks.h"

namespace velmar::store {

KivResult OpenWriteHandle(const std::shared_ptr<TarnFile>& file, uint32_t waitLimit, const Guid& iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (Failed(file->status())) return file->status();
  if (file->readOnly()) return STG_E_ACCESSDENIED;
  // One write per file: this object already holds it.
  if (file->writing() || file->db().InTransaction()) return STG_E_SHAREVIOLATION;
  file->db().SetWaitLimit(waitLimit);
  if (KivResult r = file->db().Exec("BEGIN EXCLUSIVE"); Failed(r)) return r;
  file->set_writing(true);
  // A refused identity releases the handle at once, which ends the write.
  auto handle = MakeKiv<WriteHandle>(file, waitLimit);
  return handle->QueryInterface(iid, out);
}

WriteHandle::WriteHandle(std::shared_ptr<TarnFile> file, uint32_t waitLimit)
    : file_(std::move(file)), waitLimit_(waitLimit) {}

WriteHandle::~WriteHandle() { (void)End(true); }

KivResult WriteHandle::Fail(KivResult failure) {
  status_ = failure;
  return failure;
}

template <class Fn>
KivResult WriteHandle::Write(Fn&& fn) {
  if (Failed(status_)) return status_;
  Connection& db = file_->db();
  db.SetWaitLimit(waitLimit_);
  if (!db.InTransaction()) return Fail(E_UNEXPECTED);
  Savepoint step(db);
  if (Failed(step.status())) return Fail(step.status());
  KivResult r = fn(db);
  if (Succeeded(r)) {
    KivResult released = step.Release();
    return Failed(released) ? Fail(released) : r;
  }
  // A refused step is rolled back by the savepoint; a failing file ends the handle.
  if (IsFileFailure(r) || !db.InTransaction()) return Fail(r);
  return r;
}

template <class T, class Fn>
KivResult WriteHandle::WriteItems(uint32_t count, const T* items, std::vector<uint64_t>* ids, Fn&& fn) {
  if (!ids) return E_POINTER;
  ids->clear();
  if (Failed(status_)) return status_;
  if (count == 0) return S_FALSE;
  if (!items) return E_POINTER;
  std::vector<uint64_t> made;
  KivResult r = Write([&](Connection& db) { return fn(db, std::span<const T>(items, count), &made); });
  if (Succeeded(r)) *ids = std::move(made);
  return r;
}

template <class T, class Fn>
KivResult WriteHandle::WriteItems(uint32_t count, const T* items, Fn&& fn) {
  if (Failed(status_)) return status_;
  if (count == 0) return S_FALSE;
  if (!items) return E_POINTER;
  return Write([&](Connection& db) { return fn(db, std::span<const T>(items, count)); });
}

KivResult WriteHandle::End(bool keep) {
  if (status_ == STG_E_REVERTED) return STG_E_REVERTED;
  Connection& db = file_->db();
  const bool commit = keep && Succeeded(status_);
  KivResult result = commit ? S_OK : (keep ? status_ : S_OK);
  if (db.InTransaction()) {
    if (commit) {
      result = db.Exec("COMMIT");
      if (Failed(result)) (void)db.Exec("ROLLBACK");
    } else {
      (void)db.Exec("ROLLBACK");
    }
  } else if (commit) {
    result = E_UNEXPECTED;
  }
  if (commit && Succeeded(result)) {
    // Fold the log into the file when no reader is in the way, so the file
    // on its own holds the commit.
    sqlite3_wal_checkpoint_v2(db.handle(), nullptr, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  }
  status_ = STG_E_REVERTED;
  file_->set_writing(false);
  return result;
}

KivResult WriteHandle::Commit() { return End(true); }
KivResult WriteHandle::Abort() { return End(false); }

KivResult WriteHandle::GetStatus(KivResult* status) {
  if (!status) return E_POINTER;
  *status = status_;
  return S_OK;
}

// Details -------------------------------------------------------------------

KivResult WriteHandle::WriteDetails(const TarnOutingRecord* record) {
  if (!record) return E_POINTER;
  return Write([&](Connection& db) { return store::WriteDetails(db, *record); });
}

KivResult WriteHandle::SetMovementRange(KivTime first, KivTime last) {
  return Write([&](Connection& db) { return WriteMovementRange(db, {first, last}); });
}

KivResult WriteHandle::ClearMovementRange() {
  return Write([&](Connection& db) { return store::ClearMovementRange(db); });
}

KivResult WriteHandle::SetOutingRange(KivTime start, KivTime end) {
  return Write([&](Connection& db) { return WriteOutingRange(db, {start, end}); });
}

// Lap markers ---------------------------------------------------------------

KivResult WriteHandle::AddLapMarkers(uint32_t count, const TarnLapMarker* records, std::vector<uint64_t>* ids) {
  return WriteItems(count, records, ids, [](Connection& db, auto items, auto* out) {
    return store::AddLapMarkers(db, items, false, out);
  });
}

KivResult WriteHandle::AddRecordedLapMarkers(uint32_t count, const TarnLapMarker* records,
                                             std::vector<uint64_t>* ids) {
  return WriteItems(count, records, ids, [](Connection& db, auto items, auto* out) {
    return store::AddLapMarkers(db, items, true, out);
  });
}

KivResult WriteHandle::RemoveLapMarkers(uint32_t count, const uint64_t* ids) {
  return WriteItems(count, ids, store::RemoveLapMarkers);
}

KivResult WriteHandle::ResetLapMarkers() {
  return Write([](Connection& db) { return store::ResetLapMarkers(db); });
}

KivResult WriteHandle::ShiftLapMarkers(uint32_t count, const uint64_t* ids, const KivTime* offsets,
                                       const double* shifts) {
  if (count > 0 && (!offsets || !shifts)) return E_POINTER;
  return WriteItems(count, ids, [&](Connection& db, std::span<const uint64_t> items) {
    return store::ShiftLapMarkers(db, items, offsets, shifts);
  });
}

KivResult WriteHandle::SetFirstLapNumber(uint32_t number) {
  return Write([&](Connection& db) { return WriteFirstLapNumber(db, number); });
}

// Blobs, events, constants ---------------------------------------------------

KivResult WriteHandle::AddBlobs(uint32_t count, const TarnBlobRecord* records, std::vector<uint64_t>* ids) {
  return WriteItems(count, records, ids, store::AddBlobs);
}

KivResult WriteHandle::ModifyBlobs(uint32_t count, const TarnBlobRecord* records) {
  return WriteItems(count, records, store::ModifyBlobs);
}

KivResult WriteHandle::RemoveBlobs(uint32_t count, const uint64_t* ids) {
  return WriteItems(count, ids, store::RemoveBlobs);
}

KivResult WriteHandle::AddEvents(uint32_t count, const TarnEventRecord* records, std::vector<uint64_t>* ids) {
  return WriteItems(count, records, ids, store::AddEvents);
}

KivResult WriteHandle::ModifyEvents(uint32_t count, const TarnEventRecord* records) {
  return WriteItems(count, records, store::ModifyEvents);
}

KivResult WriteHandle::RemoveEvents(uint32_t count, const uint64_t* ids) {
  return WriteItems(count, ids, store::RemoveEvents);
}

KivResult WriteHandle::AddConstants(uint32_t count, const TarnConstantRecord* records, std::vector<uint64_t>* ids) {
  return WriteItems(count, records, ids, store::AddConstants);
}

KivResult WriteHandle::ModifyConstants(uint32_t count, const TarnConstantRecord* records) {
  return WriteItems(count, records, store::ModifyConstants);
}

KivResult WriteHandle::RemoveConstants(uint32_t count, const uint64_t* ids) {
  return WriteItems(count, ids, store::RemoveConstants);
}

// Channels ------------------------------------------------------------------

KivResult WriteHandle::AddChannels(uint32_t count, const TarnChannelDescription* records,
                                   std::vector<uint64_t>* ids) {
  return WriteItems(count, records, ids, store::AddChannels);
}

KivResult WriteHandle::ModifyChannels(uint32_t count, const TarnChannelDescription* records) {
  return WriteItems(count, records, store::ModifyChannels);
}

KivResult WriteHandle::RemoveChannels(uint32_t count, const uint64_t* ids) {
  return WriteItems(count, ids, store::RemoveChannels);
}

KivResult WriteHandle::ClearChannelData(uint32_t count, const uint64_t* ids) {
  return WriteItems(count, ids, store::ClearChannelData);
}

KivResult WriteHandle::RemoveChannelData(uint32_t count, const uint64_t* ids, KivTime from, KivTime to) {
  return WriteItems(count, ids, [&](Connection& db, std::span<const uint64_t> items) {
    return store::RemoveChannelData(db, items, from, to);
  });
}

KivResult WriteHandle::ReplaceChannelData(uint32_t count, const uint64_t* ids, const TarnChannelData* records,
                                          std::vector<uint64_t>* blockIds) {
  return WriteBlocks(count, ids, records, blockIds, true);
}

KivResult WriteHandle::AddChannelData(uint32_t count, const uint64_t* ids, const TarnChannelData* records,
                                      std::vector<uint64_t>* blockIds) {
  return WriteBlocks(count, ids, records, blockIds, false);
}

KivResult WriteHandle::WriteBlocks(uint32_t count, const uint64_t* ids, const TarnChannelData* records,
                                   std::vector<uint64_t>* blockIds, bool replace) {
  if (count > 0 && !ids) return E_POINTER;
  return WriteItems(count, records, blockIds, [&](Connection& db, std::span<const TarnChannelData> items, auto* out) {
    const std::span<const uint64_t> channels(ids, count);
    if (replace) {
      std::set<uint64_t> distinct(channels.begin(), channels.end());
      std::vector<uint64_t> clear(distinct.begin(), distinct.end());
      if (KivResult r = store::ClearChannelData(db, clear); Failed(r)) return r;
    }
    return store::AddChannelData(db, channels, items, out);
  });
}

// Media ---------------------------------------------------------------------

KivResult WriteHandle::AddMediaChannels(uint32_t count, const TarnMediaChannelRecord* records,
                                        std::vector<uint64_t>* ids) {
  return WriteItems(count, records, ids, store::AddMediaChannels);
}

KivResult WriteHandle::RemoveMediaChannels(uint32_t count, const uint64_t* ids) {
  return WriteItems(count, ids, store::RemoveMediaChannels);
}

KivResult WriteHandle::AddMediaClips(uint32_t count, const TarnMediaClipRecord* records,
                                     std::vector<uint64_t>* ids) {
  return WriteItems(count, records, ids, store::AddMediaClips);
}

KivResult WriteHandle::SetMediaClipTimes(uint32_t count, const uint64_t* ids, KivTime start, KivTime end) {
  return WriteItems(count, ids, [&](Connection& db, std::span<const uint64_t> items) {
    return store::SetMediaClipTimes(db, items, start, end);
  });
}

}  // namespace velmar::store
