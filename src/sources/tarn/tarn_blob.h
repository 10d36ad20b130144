// CBlob: one named binary attachment of a `.trn` outing, as its blob
// factory gives it out.
//
// Its content (type GUID and bytes) is read per blob, the first time a
// client asks for the status, the type or the bytes, and kept by the
// outing's cache for every outing object on the file; the blob holds no
// copy, so it always answers from the latest read.
//
// Status: unknown until asked; the question starts the read and the blob is
// pending (3) until it ends: available (1, OnBlobChanged) or not available
// (2, OnBlobFailed). When the cache lets the content go (after a write, or
// a close) the status is unknown again and OnBlobChanged tells the clients.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/notifications_impl.h"
#include "outing/status/data_status.h"
#include "sources/tarn/tarn_item_reads.h"
#include "velmar/blobs.h"

namespace velmar {

class CTarnOutingCache;
class CGetBlobDataJobItem;

class CBlob final : public KivObject<IKivBlob, IKivNotificationsImpl<CBlob, IKivBlobNotifications2>>,
                    public CDataStatusMachine,
                    private ITarnItemDataClient {
 public:
  // `blobId`: the store's id of the blob; `cache` reads its content.
  CBlob(std::u16string name, uint64_t blobId, ComPtr<CTarnOutingCache> cache);

  // IKivBlob
  KivResult GetName(std::u16string* name) override;
  KivResult GetGuid(std::u16string* type) override;
  KivResult GetData(std::vector<uint8_t>* data) override;
  KivResult GetStatus(uint32_t* status) override;

  // The blob leaves its outing: its sinks hear OnBlobRemoved and it waits
  // for no read any more; its content reads give E_FAIL from now on.
  void Detach();

  uint64_t blob_id() const { return blobId_; }

 private:
  ~CBlob() override;

  // The finished read: S_OK with it; S_FALSE while it runs (started now if
  // need be); E_FAIL once detached.
  KivResult Fetch(const CGetBlobDataJobItem** read);

  // ITarnItemDataClient
  void OnItemDataReady(bool succeeded, KivTime from, KivTime to) override;
  void OnItemDataDropped() override;

  // CDataStatusMachine
  bool PrepareData() override { return true; }
  DataStatus InputsStatus() override;
  void OnStatusChanged(DataStatus status, KivTime from, KivTime to) override;
  void KeepAlive(bool hold) override;

  const std::u16string name_;
  const uint64_t blobId_;
  ComPtr<CTarnOutingCache> cache_;  // null once detached
};

}  // namespace velmar
