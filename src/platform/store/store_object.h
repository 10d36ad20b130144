// The main object of an opened `.trn` file. It answers for the main
// interface and every list interface, and gives out write handles.
//
// Thread-safety: one thread (the store's); see velmar/tarn_store.h.
#pragma once

#include <memory>

#include "platform/store/records_object.h"
#include "platform/store/tarn_file.h"
#include "velmar/tarn_store.h"

namespace velmar::store {

class StoreObject final
    : public KivObject<IKivTarnStore, IKivTarnOutingDetails, IKivTarnWriteAccess, IKivTarnBlobs, IKivTarnChannels,
                       IKivTarnEvents, IKivTarnLapMarkers, IKivTarnConstants, IKivTarnMedia> {
 public:
  explicit StoreObject(std::shared_ptr<TarnFile> file) : file_(std::move(file)) {}

  // IKivTarnStore
  KivResult GetMovementRange(uint32_t waitLimit, KivTime* first, KivTime* last) override;
  KivResult GetFileName(std::u16string* path) override;
  KivResult GetOutingRange(uint32_t waitLimit, KivTime* start, KivTime* end) override;
  // IKivTarnOutingDetails
  KivResult GetDetails(uint32_t waitLimit, IKivTarnOutingRecords** records) override;
  // IKivTarnWriteAccess
  KivResult GetWriteHandle(uint32_t waitLimit, const Guid& iid, void** handle) override;
  // IKivTarnBlobs
  KivResult GetBlobList(uint32_t waitLimit, IKivTarnBlobRecords** records) override;
  KivResult GetBlobData(uint32_t waitLimit, uint64_t id, IKivTarnBlobDataRecords** records) override;
  // IKivTarnChannels
  KivResult GetChannelList(uint32_t waitLimit, IKivTarnChannelRecords** records) override;
  KivResult GetChannelData(uint32_t waitLimit, uint64_t id, KivTime from, KivTime to,
                           IKivTarnChannelDataRecords** records) override;
  // IKivTarnEvents
  KivResult GetEventNames(uint32_t waitLimit, IKivTarnEventNameRecords** records) override;
  KivResult GetEventData(uint32_t waitLimit, uint32_t count, const uint64_t* ids, KivTime from, KivTime to,
                         IKivTarnEventRecords** records) override;
  // IKivTarnLapMarkers
  KivResult GetLapMarkers(uint32_t waitLimit, IKivTarnLapMarkerRecords** records) override;
  // IKivTarnConstants
  KivResult GetConstants(uint32_t waitLimit, IKivTarnConstantRecords** records) override;
  // IKivTarnMedia
  KivResult GetMediaChannels(uint32_t waitLimit, IKivTarnMediaChannelRecords** records) override;
  KivResult GetMediaClips(uint32_t waitLimit, uint64_t channelId, KivTime from, KivTime to,
                          IKivTarnMediaClipRecords** records) override;

 private:
  // Runs `fill(db, records)` in a read scope and hands out the records.
  template <class Record, class Fill>
  KivResult Read(uint32_t waitLimit, IKivTarnRecords<Record>** out, Fill&& fill);
  // The same for a pair of times.
  template <class Fill>
  KivResult ReadSpan(uint32_t waitLimit, KivTime* first, KivTime* last, Fill&& fill);

  std::shared_ptr<TarnFile> file_;
};

}  // namespace velmar::store
