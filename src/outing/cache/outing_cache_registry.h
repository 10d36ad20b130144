// The per-type registries of outing caches: path to cache.
//
// Each cache type has one process-wide registry (Instance()); the empty
// outing's cache type has its own. Paths compare as exact UTF-16 code units,
// the shorter string first at a common prefix (std::u16string's order), so
// two spellings of one path make two caches. The registry holds one
// reference on each cache; a cache takes itself out when its last client
// detaches (COutingCacheBase::Detach).
//
// Client thread only: no locks.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "velmar/unknown.h"

namespace velmar {

template <class Cache>
class COutingCacheRegistry {
 public:
  COutingCacheRegistry() = default;
  COutingCacheRegistry(const COutingCacheRegistry&) = delete;
  COutingCacheRegistry& operator=(const COutingCacheRegistry&) = delete;
  ~COutingCacheRegistry() {
    for (auto& entry : caches_) entry.second->registry_ = nullptr;
  }

  // The registry of this cache type. Never destroyed: caches that a host
  // leaks until exit must not end during static destruction, after the job
  // engine they would call.
  static COutingCacheRegistry& Instance() {
    static COutingCacheRegistry* const instance = new COutingCacheRegistry();
    return *instance;
  }

  // The cache of `path`, or null.
  ComPtr<Cache> Find(const std::u16string& path) const {
    auto it = caches_.find(path);
    return it == caches_.end() ? nullptr : it->second;
  }

  // The cache of `path`; on a miss `make()` gives a new one (a ComPtr<Cache>,
  // null on failure), which is entered. A failure of `make` enters nothing.
  template <class Make>
  ComPtr<Cache> FindOrMake(const std::u16string& path, Make&& make) {
    if (ComPtr<Cache> found = Find(path)) return found;
    ComPtr<Cache> made = make();
    if (!made) return nullptr;
    caches_.emplace(path, made);
    made->registry_ = this;
    return made;
  }

  // Takes `cache` out, found by a walk over the entries, and lets go of the
  // registry's reference. False when it is not here.
  bool Remove(Cache* cache) {
    for (auto it = caches_.begin(); it != caches_.end(); ++it) {
      if (it->second.Get() != cache) continue;
      ComPtr<Cache> gone = std::move(it->second);
      caches_.erase(it);
      gone->registry_ = nullptr;
      return true;
    }
    return false;
  }

  size_t size() const { return caches_.size(); }

  // Calls fn(path, cache) for each cache, in key order, over a copy: fn may
  // open or close outings.
  template <class Fn>
  void ForEach(Fn&& fn) const {
    std::vector<std::pair<std::u16string, ComPtr<Cache>>> copy(caches_.begin(), caches_.end());
    for (auto& [path, cache] : copy) fn(path, *cache);
  }

 private:
  std::map<std::u16string, ComPtr<Cache>> caches_;
};

}  // namespace velmar
