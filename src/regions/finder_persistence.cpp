#include "regions/finder_persistence.h"

namespace velmar {

KivResult CFinderPersistence::Load(IKivStream* stream) {
  if (!stream) return E_POINTER;
  uint32_t version = 0;
  uint32_t read = 0;
  if (Failed(stream->Read(&version, sizeof version, &read)) || read != sizeof version ||
      version > kFinderStreamVersion) {
    return E_FAIL;
  }
  dirty_ = false;
  return S_OK;
}

KivResult CFinderPersistence::Save(IKivStream* stream, KivBool clearDirty) {
  if (!stream) return E_POINTER;
  const uint32_t version = kFinderStreamVersion;
  uint32_t written = 0;
  if (KivResult r = stream->Write(&version, sizeof version, &written); Failed(r)) return r;
  if (written != sizeof version) return E_FAIL;
  if (clearDirty != KIV_FALSE) dirty_ = false;
  return S_OK;
}

KivResult CFinderPersistence::GetSizeMax(uint64_t* size) {
  if (!size) return E_POINTER;
  *size = sizeof(uint32_t);
  return S_OK;
}

}  // namespace velmar
