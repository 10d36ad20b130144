#include "platform/storage/storage_copy.h"

#include <algorithm>
#include <cstdint>

namespace velmar {
namespace {

constexpr uint32_t kOpen = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

KivResult OpenOrCreateStorage(IKivStorage* dest, std::u16string_view name,
                              ComPtr<IKivStorage>* out) {
  KivResult r = dest->OpenStorage(name, kOpen, out->Put());
  if (r == STG_E_FILENOTFOUND) r = dest->CreateStorage(name, kOpen | STGM_CREATE, out->Put());
  return r;
}

}  // namespace

KivResult WriteAll(IKivStream* stream, std::string_view bytes) {
  while (!bytes.empty()) {
    auto n = static_cast<uint32_t>(std::min<size_t>(bytes.size(), UINT32_MAX));
    uint32_t done = 0;
    KivResult r = stream->Write(bytes.data(), n, &done);
    if (Failed(r)) return r;
    if (done == 0) return STG_E_WRITEFAULT;
    bytes.remove_prefix(done);
  }
  return S_OK;
}

KivResult CopyContents(const StorageNode& src, IKivStorage* dest) {
  if (!dest) return E_POINTER;
  KivResult r = dest->SetClass(src.clsid);
  if (Failed(r)) return r;
  for (const StorageNode* child : src.Ordered()) {
    if (child->is_storage) {
      ComPtr<IKivStorage> sub;
      r = OpenOrCreateStorage(dest, child->name, &sub);
      if (Succeeded(r)) r = CopyContents(*child, sub.Get());
    } else {
      ComPtr<IKivStream> stream;
      r = dest->CreateStream(child->name, kOpen | STGM_CREATE, stream.Put());
      if (Succeeded(r)) r = WriteAll(stream.Get(), child->Bytes());
    }
    if (Failed(r)) return r;
  }
  return S_OK;
}

KivResult CopyElement(const StorageNode& src, IKivStorage* dest, std::u16string_view name) {
  if (!dest) return E_POINTER;
  if (src.is_storage) {
    ComPtr<IKivStorage> sub;
    KivResult r = dest->CreateStorage(name, kOpen, sub.Put());
    if (Failed(r)) return r;
    return CopyContents(src, sub.Get());
  }
  ComPtr<IKivStream> stream;
  KivResult r = dest->CreateStream(name, kOpen, stream.Put());
  if (Failed(r)) return r;
  return WriteAll(stream.Get(), src.Bytes());
}

}  // namespace velmar
