// An outing object attached to a cache, and how one is opened.
//
// COutingOnCache<Cache, Facets...> is the IKivOutingImpl of every outing
// whose path, caption, type and id are its cache's: it holds the cache,
// attaches itself at construction and detaches at destruction. The concrete
// outing adds information, CloseData, SetTimeOffset and its facets' work.
// A concrete outing whose items notify on release calls DetachFromCache()
// first in its destructor, so that no walk of the cache reaches an object
// that is going.
//
// OpenOutingOnCache finds or makes the cache of a path in its type's
// registry and attaches a new outing object: step d of the outing factory.
//
// Client thread only.
#pragma once

#include <new>
#include <string>
#include <utility>

#include "outing/cache/outing_cache_registry.h"
#include "outing/cache/outing_impl.h"
#include "velmar/unknown.h"

namespace velmar {

// One outing object's attachment to its cache; the cache is held until this goes.
template <class Cache>
class COutingCacheLink {
 public:
  using Client = typename Cache::Client;

  COutingCacheLink(ComPtr<Cache> cache, Client* client) : cache_(std::move(cache)), client_(client) {
    if (cache_) cache_->Attach(client_);
  }
  ~COutingCacheLink() { Detach(); }
  COutingCacheLink(const COutingCacheLink&) = delete;
  COutingCacheLink& operator=(const COutingCacheLink&) = delete;

  // Takes the client out of the cache's list (once); the cache stays held.
  void Detach() {
    if (cache_ && client_) cache_->Detach(std::exchange(client_, nullptr));
  }
  Cache* get() const { return cache_.Get(); }
  Cache* operator->() const { return cache_.Get(); }

 private:
  ComPtr<Cache> cache_;
  Client* client_;
};

template <class Cache, class... Facets>
class COutingOnCache : public IKivOutingImpl<typename Cache::Client, Facets...> {
  using Base = IKivOutingImpl<typename Cache::Client, Facets...>;

 public:
  using CacheType = Cache;

  Cache* cache() const { return link_.get(); }

 protected:
  COutingOnCache(ComPtr<Cache> cache, bool overrideProperties)
      : Base(overrideProperties), link_(std::move(cache), this) {}

  void DetachFromCache() { link_.Detach(); }

  const std::u16string& OutingPath() override { return cache()->path(); }
  std::u16string OutingCaption() override { return cache()->GetCaption(); }
  const uint32_t& OutingTypeField() override { return cache()->outing_type(); }
  const Guid& OutingIdField() override { return cache()->outing_id(); }

 private:
  COutingCacheLink<Cache> link_;
};

// Finds or makes the cache of `path` in the registry of Outing's cache type
// (`makeCache()` gives a new ComPtr<Cache>) and attaches a new Outing, made
// as Outing(cache, overrideProperties). E_OUTOFMEMORY when either cannot be
// made; a cache made for nothing leaves the registry again.
template <class Outing, class MakeCache>
[[nodiscard]] KivResult OpenOutingOnCache(const std::u16string& path, bool overrideProperties, MakeCache&& makeCache,
                                          ComPtr<Outing>* outing) {
  using Cache = typename Outing::CacheType;
  if (!outing) return E_POINTER;
  *outing = nullptr;
  auto& registry = COutingCacheRegistry<Cache>::Instance();
  ComPtr<Cache> cache;
  try {
    cache = registry.FindOrMake(path, makeCache);
    if (!cache) return E_OUTOFMEMORY;
    *outing = MakeKiv<Outing>(cache, overrideProperties);
    return S_OK;
  } catch (const std::bad_alloc&) {
    if (cache && cache->client_count() == 0) registry.Remove(cache.Get());
    return E_OUTOFMEMORY;
  }
}

}  // namespace velmar
