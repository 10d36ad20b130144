#include "outing/cache/outing_on_cache.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <utility>

#include "outing/memory_source.h"
#include "outing/cache/outing_cache_registry.h"

namespace velmar::testing {
namespace {

TEST(OutingCacheLinkTest, AttachesAtOnceAndDetachesOnce) {
  auto cache = MakeKiv<CMemoryOutingCache>(u"/link", kMemoryTypeId);
  auto outing = MakeKiv<CMemoryOuting>(cache, false);
  EXPECT_EQ(cache->client_count(), 1u) << "the outing attached itself";
  {
    COutingCacheLink<CMemoryOutingCache> link(cache, outing.Get());
    EXPECT_EQ(cache->client_count(), 2u);
    link.Detach();
    link.Detach();
    EXPECT_EQ(cache->client_count(), 1u);
    EXPECT_EQ(link.get(), cache.Get()) << "the cache stays held";
  }
  EXPECT_EQ(cache->client_count(), 1u);
  outing = nullptr;
  EXPECT_EQ(cache->client_count(), 0u);
}

TEST(OpenOutingOnCacheTest, ANullOutIsRefusedAndMakesNothing) {
  bool made = false;
  auto make = [&] {
    made = true;
    return MakeKiv<CMemoryOutingCache>(u"/refused", kMemoryTypeId);
  };
  EXPECT_EQ(OpenOutingOnCache<CMemoryOuting>(u"/refused", false, make, nullptr), E_POINTER);
  EXPECT_FALSE(made);
}

TEST(OpenOutingOnCacheTest, AFailedCacheIsOutOfMemory) {
  ComPtr<CMemoryOuting> outing;
  EXPECT_EQ(OpenOutingOnCache<CMemoryOuting>(u"/failed", false, [] { return ComPtr<CMemoryOutingCache>(); },
                                             &outing),
            E_OUTOFMEMORY);
  EXPECT_EQ(outing, nullptr);
  EXPECT_EQ(COutingCacheRegistry<CMemoryOutingCache>::Instance().Find(u"/failed"), nullptr);
}

// An outing whose construction runs out of memory after it attached.
class CThrowingOuting : public COutingOnCache<CMemoryOutingCache> {
 public:
  CThrowingOuting(ComPtr<CMemoryOutingCache> cache, bool overrideProperties)
      : COutingOnCache(std::move(cache), overrideProperties) {
    throw std::bad_alloc();
  }

 protected:
  KivResult OutingInformation(IKivPropertySet**) override { return S_FALSE; }
  KivResult CloseOutingData() override { return S_OK; }
  KivResult ApplyTimeOffset(KivTime) override { return S_OK; }
};

TEST(OpenOutingOnCacheTest, AnOutingThatCannotBeMadeTakesItsNewCacheOutAgain) {
  const int before = CMemoryOutingCache::live();
  ComPtr<CThrowingOuting> outing;
  auto make = [] { return MakeKiv<CMemoryOutingCache>(u"/no memory", kMemoryTypeId); };
  EXPECT_EQ(OpenOutingOnCache<CThrowingOuting>(u"/no memory", false, make, &outing), E_OUTOFMEMORY);
  EXPECT_EQ(outing, nullptr);
  EXPECT_EQ(COutingCacheRegistry<CMemoryOutingCache>::Instance().Find(u"/no memory"), nullptr);
  EXPECT_EQ(CMemoryOutingCache::live(), before);
}

}  // namespace
}  // namespace velmar::testing
