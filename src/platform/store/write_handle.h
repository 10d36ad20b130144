// The write handle: one exclusive write transaction on a file, from
// GetWriteHandle to the handle's last release, which commits it.
//
// Each write operation runs in a savepoint of its own, so one that is
// refused (a bad argument, an unknown id) leaves nothing behind and the
// handle goes on. A failure of the file itself ends the handle: SQLite may
// already have rolled the transaction back, so every later operation gives
// that failure and the release rolls back whatever is left.
//
// Thread-safety: one thread (the store's); see velmar/tarn_store.h.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "platform/store/tarn_file.h"
#include "velmar/tarn_store.h"

namespace velmar::store {

// Starts the write on `file` (BEGIN EXCLUSIVE, waiting up to `waitLimit` for
// another writer) and gives interface `iid` of the new handle.
[[nodiscard]] KivResult OpenWriteHandle(const std::shared_ptr<TarnFile>& file, uint32_t waitLimit, const Guid& iid,
                                        void** out);

class WriteHandle final
    : public KivObject<IKivTarnWriteHandle, IKivTarnDetailsWriter, IKivTarnLapMarkerWriter, IKivTarnBlobWriter,
                       IKivTarnEventWriter, IKivTarnChannelWriter, IKivTarnConstantWriter, IKivTarnMediaWriter> {
 public:
  // REQUIRES: the file's write transaction was begun for this handle.
  WriteHandle(std::shared_ptr<TarnFile> file, uint32_t waitLimit);
  ~WriteHandle() override;

  // IKivTarnWriteHandle
  KivResult Commit() override;
  KivResult Abort() override;
  KivResult GetStatus(KivResult* status) override;
  // IKivTarnDetailsWriter
  KivResult WriteDetails(const TarnOutingRecord* record) override;
  KivResult SetMovementRange(KivTime first, KivTime last) override;
  KivResult ClearMovementRange() override;
  KivResult SetOutingRange(KivTime start, KivTime end) override;
  // IKivTarnLapMarkerWriter
  KivResult AddLapMarkers(uint32_t count, const TarnLapMarker* records, std::vector<uint64_t>* ids) override;
  KivResult AddRecordedLapMarkers(uint32_t count, const TarnLapMarker* records, std::vector<uint64_t>* ids) override;
  KivResult RemoveLapMarkers(uint32_t count, const uint64_t* ids) override;
  KivResult ResetLapMarkers() override;
  KivResult ShiftLapMarkers(uint32_t count, const uint64_t* ids, const KivTime* offsets,
                            const double* shifts) override;
  KivResult SetFirstLapNumber(uint32_t number) override;
  // IKivTarnBlobWriter
  KivResult AddBlobs(uint32_t count, const TarnBlobRecord* records, std::vector<uint64_t>* ids) override;
  KivResult ModifyBlobs(uint32_t count, const TarnBlobRecord* records) override;
  KivResult RemoveBlobs(uint32_t count, const uint64_t* ids) override;
  // IKivTarnEventWriter
  KivResult AddEvents(uint32_t count, const TarnEventRecord* records, std::vector<uint64_t>* ids) override;
  KivResult ModifyEvents(uint32_t count, const TarnEventRecord* records) override;
  KivResult RemoveEvents(uint32_t count, const uint64_t* ids) override;
  // IKivTarnChannelWriter
  KivResult AddChannels(uint32_t count, const TarnChannelDescription* records, std::vector<uint64_t>* ids) override;
  KivResult ModifyChannels(uint32_t count, const TarnChannelDescription* records) override;
  KivResult RemoveChannels(uint32_t count, const uint64_t* ids) override;
  KivResult ClearChannelData(uint32_t count, const uint64_t* ids) override;
  KivResult RemoveChannelData(uint32_t count, const uint64_t* ids, KivTime from, KivTime to) override;
  KivResult ReplaceChannelData(uint32_t count, const uint64_t* ids, const TarnChannelData* records,
                               std::vector<uint64_t>* blockIds) override;
  KivResult AddChannelData(uint32_t count, const uint64_t* ids, const TarnChannelData* records,
                           std::vector<uint64_t>* blockIds) override;
  // IKivTarnConstantWriter
  KivResult AddConstants(uint32_t count, const TarnConstantRecord* records, std::vector<uint64_t>* ids) override;
  KivResult ModifyConstants(uint32_t count, const TarnConstantRecord* records) override;
  KivResult RemoveConstants(uint32_t count, const uint64_t* ids) override;
  // IKivTarnMediaWriter
  KivResult AddMediaChannels(uint32_t count, const TarnMediaChannelRecord* records,
                             std::vector<uint64_t>* ids) override;
  KivResult RemoveMediaChannels(uint32_t count, const uint64_t* ids) override;
  KivResult AddMediaClips(uint32_t count, const TarnMediaClipRecord* records, std::vector<uint64_t>* ids) override;
  KivResult SetMediaClipTimes(uint32_t count, const uint64_t* ids, KivTime start, KivTime end) override;

 private:
  // Runs one all-or-nothing step: fn(db) inside a savepoint.
  template <class Fn>
  KivResult Write(Fn&& fn);
  // A step over `count` items that may give ids back.
  template <class T, class Fn>
  KivResult WriteItems(uint32_t count, const T* items, std::vector<uint64_t>* ids, Fn&& fn);
  template <class T, class Fn>
  KivResult WriteItems(uint32_t count, const T* items, Fn&& fn);
  // Adds blocks to channels, first clearing those channels when `replace`.
  KivResult WriteBlocks(uint32_t count, const uint64_t* ids, const TarnChannelData* records,
                        std::vector<uint64_t>* blockIds, bool replace);
  KivResult Fail(KivResult failure);
  // Commits (keep) or rolls back, and ends the handle.
  KivResult End(bool keep);

  std::shared_ptr<TarnFile> file_;
  uint32_t waitLimit_;
  // S_OK while the handle can write; the failure that ended it; or
  // STG_E_REVERTED once committed or aborted.
  KivResult status_ = S_OK;
};

}  // namespace velmar::store
