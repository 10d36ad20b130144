// IKivDataCache for a cached item: a lock count, with hooks at the first
// lock and the last unlock. File sources keep their data in memory and leave
// the hooks empty; the native store loads and frees there.
//
// Client thread only.
#pragma once

#include <cstdint>

#include "velmar/channel.h"

namespace velmar {

class IKivDataCacheImpl : public IKivDataCache {
 public:
  KivResult Lock() override {
    if (++locks_ == 1) OnFirstLock();
    return S_OK;
  }
  KivResult Unlock() override {
    if (locks_ == 0) return KIV_E_NOT_LOCKED;
    if (--locks_ == 0) OnLastUnlock();
    return S_OK;
  }
  uint32_t lock_count() const { return locks_; }

 protected:
  IKivDataCacheImpl() = default;
  ~IKivDataCacheImpl() = default;
  virtual void OnFirstLock() {}
  virtual void OnLastUnlock() {}

 private:
  uint32_t locks_ = 0;
};

}  // namespace velmar
