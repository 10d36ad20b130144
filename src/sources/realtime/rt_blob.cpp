#include "sources/realtime/rt_blob.h"

namespace velmar {

KivResult CRTBlob::GetName(std::u16string* name) {
  if (!name) return E_POINTER;
  *name = name_;
  return S_OK;
}

KivResult CRTBlob::Fetch() {
  if (blob_) return S_OK;
  if (!core_) return E_FAIL;
  if (Failed(failure_)) return failure_;
  rt::WireBlob read;
  failure_ = core_->ReadBlob(name_, &read);
  if (Failed(failure_)) {
    FireNotification(&IKivBlobNotifications2::OnBlobFailed, static_cast<IKivBlob*>(this));
    return failure_;
  }
  blob_ = std::move(read);
  return S_OK;
}

KivResult CRTBlob::GetGuid(std::u16string* type) {
  if (!type) return E_POINTER;
  if (const KivResult r = Fetch(); Failed(r)) return r;
  *type = blob_->type.ToWide();
  return S_OK;
}

KivResult CRTBlob::GetData(std::vector<uint8_t>* data) {
  if (!data) return E_POINTER;
  if (const KivResult r = Fetch(); Failed(r)) return r;
  *data = blob_->data;
  return S_OK;
}

KivResult CRTBlob::GetStatus(uint32_t* status) {
  if (!status) return E_POINTER;
  *status = blob_ ? 1u : Failed(failure_) ? 2u : 0u;
  return S_OK;
}

void CRTBlob::Detach() {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  core_ = nullptr;
  FireNotification(&IKivBlobNotifications::OnBlobRemoved, static_cast<IKivBlob*>(this));
}

KivResult CRTOutingBlobFactory::GetItem(const std::u16string& name, IKivBlob** blob) {
  if (!blob) return E_POINTER;
  *blob = nullptr;
  if (!listed()) FillNames();
  auto it = items().find(name);
  if (it == items().end()) return E_INVALIDARG;
  auto& made = blobs_[name];
  if (!made) made = MakeKiv<CRTBlob>(name, &LiveCore());
  it->second = made.Get();
  return GiveOut(static_cast<IKivBlob*>(made.Get()), blob);
}

void CRTOutingBlobFactory::DropBlobs() {
  auto blobs = std::move(blobs_);
  for (auto& [name, blob] : blobs) blob->Detach();
}

void CRTOutingBlobFactory::FillNames() { (void)AddNames(LiveCore().BlobNames()); }

void CRTOutingBlobFactory::DropItem(const std::u16string& name, IKivBlob*&) {
  const auto it = blobs_.find(name);
  if (it == blobs_.end()) return;
  ComPtr<CRTBlob> blob = std::move(it->second);
  blobs_.erase(it);
  blob->Detach();
}

}  // namespace velmar
