// The stream face of a time-region finder. A finder keeps nothing of its
// own: everything comes back from its outing, so its stream is one version
// word, and a load only checks that word.
//
// Client thread only.
#pragma once

#include "velmar/persist.h"

namespace velmar {

// The version word a finder writes; a load refuses a newer one.
inline constexpr uint32_t kFinderStreamVersion = 2816;

class CFinderPersistence : public IKivPersistStream {
 public:
  KivResult IsDirty() override { return dirty_ ? S_OK : S_FALSE; }
  // E_FAIL for a short read or a version above ours.
  KivResult Load(IKivStream* stream) override;
  KivResult Save(IKivStream* stream, KivBool clearDirty) override;
  KivResult GetSizeMax(uint64_t* size) override;
  KivResult InitNew() override {
    dirty_ = true;
    return S_OK;
  }

 protected:
  ~CFinderPersistence() = default;

 private:
  bool dirty_ = false;
};

}  // namespace velmar
