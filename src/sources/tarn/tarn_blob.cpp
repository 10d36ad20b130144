#include "sources/tarn/tarn_blob.h"

#include <new>
#include <utility>

#include "outing/cache/outing_impl.h"
#include "sources/tarn/tarn_outing_cache.h"

namespace velmar {

CBlob::CBlob(std::u16string name, uint64_t blobId, ComPtr<CTarnOutingCache> cache)
    : name_(std::move(name)), blobId_(blobId), cache_(std::move(cache)) {}

CBlob::~CBlob() {
  if (cache_) cache_->ForgetClient(this);
}

KivResult CBlob::GetName(std::u16string* name) { return CopyTextOut(name_, name); }

KivResult CBlob::GetGuid(std::u16string* type) {
  if (!type) return E_POINTER;
  type->clear();
  const CGetBlobDataJobItem* read = nullptr;
  const KivResult r = Fetch(&read);
  if (r != S_OK) return r;
  return CopyTextOut(read->type().ToWide(), type);
}

KivResult CBlob::GetData(std::vector<uint8_t>* data) {
  if (!data) return E_POINTER;
  data->clear();
  const CGetBlobDataJobItem* read = nullptr;
  const KivResult r = Fetch(&read);
  if (r != S_OK) return r;
  try {
    *data = read->bytes();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
  return S_OK;
}

KivResult CBlob::GetStatus(uint32_t* status) {
  if (!status) return E_POINTER;
  *status = StatusCode(QueryStatus());
  return S_OK;
}

void CBlob::Detach() {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  if (cache_) cache_->ForgetClient(this);
  cache_ = nullptr;
  FireNotification(&IKivBlobNotifications::OnBlobRemoved, static_cast<IKivBlob*>(this));
}

KivResult CBlob::Fetch(const CGetBlobDataJobItem** read) {
  if (!cache_) return E_FAIL;
  return cache_->GetBlobData(this, blobId_, read);
}

DataStatus CBlob::InputsStatus() {
  const CGetBlobDataJobItem* read = nullptr;
  return ItemReadStatus(Fetch(&read));
}

void CBlob::OnItemDataReady(bool succeeded, KivTime from, KivTime to) {
  SetStatusRange(succeeded ? DataStatus::kAvailable : DataStatus::kNotAvailable, from, to);
}

void CBlob::OnItemDataDropped() { SetStatusRange(DataStatus::kUnknown, TimeRange::Whole()); }

void CBlob::OnStatusChanged(DataStatus status, KivTime, KivTime) {
  IKivBlob* self = this;
  if (status == DataStatus::kNotAvailable) {
    FireNotification(&IKivBlobNotifications2::OnBlobFailed, self);
  } else {
    FireNotification(&IKivBlobNotifications::OnBlobChanged, self);
  }
}

void CBlob::KeepAlive(bool hold) {
  if (hold) AddRef();
  else Release();
}

}  // namespace velmar
