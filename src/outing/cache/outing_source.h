// What a built-in source gives the outing factory for its row of the type
// table: how to open an outing object on a path (finding or making the
// path's cache), and how to hand its caches new fast-lap settings.
//
// A source registers itself once, before the first outing of its type is
// asked for:
//
//   (void)RegisterOutingSource(OutingType::kText, std::make_shared<COutingSource<CAsciiOuting>>());
//
// Until then the factory cannot make outings of that type, and a path of it
// fails as an outing that cannot be made (E_OUTOFMEMORY, a null element).
//
// Registration may come from any thread; the sources themselves, like the
// caches they open, are used on the client thread only.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "outing/cache/file_outing_cache.h"
#include "outing/cache/outing_cache.h"
#include "outing/cache/outing_cache_registry.h"
#include "outing/cache/outing_on_cache.h"
#include "velmar/outing.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

// The two machine-wide settings of the fast lap (outing information).
struct FastLapSettings {
  bool filterEnabled = false;
  KivTime minimumTime = kDefaultFastLapMinimumTime;
  friend bool operator==(const FastLapSettings&, const FastLapSettings&) = default;
};

// An outing object just opened, and the cache it is attached to.
struct OpenedOuting {
  ComPtr<IKivOuting> outing;
  ComPtr<COutingCacheStateChanges> cache;
};

class IOutingSource {
 public:
  virtual ~IOutingSource() = default;

  // Finds or makes the cache of `path` in the source's registry (a new one
  // takes `outingId` and the source's fast-lap settings) and attaches a new
  // outing object to it. E_OUTOFMEMORY when either cannot be made.
  [[nodiscard]] virtual KivResult Open(const std::u16string& path, const Guid& outingId, bool overrideProperties,
                                       OpenedOuting* opened) = 0;

  // The source's copy of the settings, which new caches take.
  virtual FastLapSettings fast_lap() const = 0;
  // When the source's copy differs: it takes the value, and so does every
  // cache of the source (which then works its fast lap out again).
  virtual void SetFastLapFilter(bool enabled) = 0;
  virtual void SetFastLapMinimumTime(KivTime minimum) = 0;
};

// Registers the source of a type (null unregisters); gives the one it
// replaces. OutingType::kEmpty is no source: E_INVALIDARG.
[[nodiscard]] KivResult RegisterOutingSource(OutingType type, std::shared_ptr<IOutingSource> source,
                                             std::shared_ptr<IOutingSource>* previous = nullptr);
// The source of a type; null when none is registered.
std::shared_ptr<IOutingSource> FindOutingSource(OutingType type);

// Registers a source for its lifetime and puts back the previous one (tests).
class ScopedOutingSource {
 public:
  ScopedOutingSource(OutingType type, std::shared_ptr<IOutingSource> source);
  ~ScopedOutingSource();
  ScopedOutingSource(const ScopedOutingSource&) = delete;
  ScopedOutingSource& operator=(const ScopedOutingSource&) = delete;

 private:
  OutingType type_;
  std::shared_ptr<IOutingSource> previous_;
};

// The source of an outing class on a file cache: Outing is made as
// Outing(ComPtr<Cache>, overrideProperties), its cache as Cache(path, outingId),
// and the cache has the fast-lap setters of CFileOutingCache.
template <class Outing>
class COutingSource final : public IOutingSource {
  using Cache = typename Outing::CacheType;

 public:
  KivResult Open(const std::u16string& path, const Guid& outingId, bool overrideProperties,
                 OpenedOuting* opened) override {
    if (!opened) return E_POINTER;
    *opened = {};
    ComPtr<Outing> outing;
    const KivResult r = OpenOutingOnCache<Outing>(
        path, overrideProperties, [&] { return MakeCache(path, outingId); }, &outing);
    if (Failed(r)) return r;
    opened->cache = ComPtr<COutingCacheStateChanges>(outing->cache());
    opened->outing = ComPtr<IKivOuting>(outing.Get());
    return S_OK;
  }

  FastLapSettings fast_lap() const override { return settings_; }
  void SetFastLapFilter(bool enabled) override {
    if (settings_.filterEnabled == enabled) return;
    settings_.filterEnabled = enabled;
    COutingCacheRegistry<Cache>::Instance().ForEach(
        [&](const std::u16string&, Cache& cache) { cache.SetFastLapFilter(enabled); });
  }
  void SetFastLapMinimumTime(KivTime minimum) override {
    if (settings_.minimumTime == minimum) return;
    settings_.minimumTime = minimum;
    COutingCacheRegistry<Cache>::Instance().ForEach(
        [&](const std::u16string&, Cache& cache) { cache.SetFastLapMinimumTime(minimum); });
  }

 private:
  ComPtr<Cache> MakeCache(const std::u16string& path, const Guid& outingId) const {
    ComPtr<Cache> cache = MakeKiv<Cache>(path, outingId);
    cache->SetFastLapFilter(settings_.filterEnabled);
    cache->SetFastLapMinimumTime(settings_.minimumTime);
    return cache;
  }

  FastLapSettings settings_;
};

}  // namespace velmar
