#include "outing/cache/outing_cache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "outing/cache/outing_cache_registry.h"
#include "outing/cache/outing_on_cache.h"
#include "outing/cache/outing_source.h"
#include "outing/cache/outing_state_changes.h"
#include "support/got.h"
#include "outing/memory_source.h"
#include "support/settling_test.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A cache whose caption says how often it was built.
class CountingCaptionCache final : public COutingCacheBase<CountingCaptionCache, COutingStateChanges> {
 public:
  CountingCaptionCache() : COutingCacheBase(OutingType::kMatFile, u"/c.mat", Guid{}) {}
  bool CreateDataSet() override { return false; }
  int builds = 0;

 protected:
  std::u16string BuildCaption() override { return u"caption " + std::u16string(1, u'0' + ++builds); }
};

TEST(OutingCacheTest, StartsWithTheEmptyCaptionAndRebuildsOnlyWhenStale) {
  auto cache = MakeKiv<CountingCaptionCache>();
  EXPECT_EQ(cache->outing_type(), 2u);
  EXPECT_TRUE(cache->caption_dirty());
  EXPECT_EQ(cache->GetCaption(), u"caption 1");
  EXPECT_FALSE(cache->caption_dirty());
  EXPECT_EQ(cache->GetCaption(), u"caption 1");
  cache->InvalidateCaption();
  EXPECT_EQ(cache->GetCaption(), u"caption 2");
  EXPECT_EQ(cache->builds, 2);
}

class OutingCacheClientsTest : public SettlingTest {
 protected:
  void TearDown() override {
    a_ = b_ = c_ = nullptr;
    EXPECT_TRUE(Settle());
    EXPECT_EQ(COutingCacheRegistry<CMemoryOutingCache>::Instance().Find(path_), nullptr);
  }
  CMemoryOutingCache* cache() { return a_->cache(); }

  const std::u16string path_ = UniqueMemoryPath();
  ComPtr<CMemoryOuting> a_, b_, c_;
};

TEST_F(OutingCacheClientsTest, MessagesReachEveryClientInAttachmentOrderTheSelectionIsTheFirstBindingHeld) {
  ASSERT_EQ(OpenMemoryOuting(path_, &a_), S_OK);
  ASSERT_EQ(OpenMemoryOuting(path_, &b_), S_OK);
  ASSERT_EQ(OpenMemoryOuting(path_, &c_), S_OK);
  cache()->PostMessage(1, u"Careful");
  cache()->PostEventExists(u"Pit");
  const auto expected = ElementsAre("message:1:Careful", "message:2:Event Pit already exists in the outing.");
  EXPECT_THAT(a_->calls, expected);
  EXPECT_THAT(c_->calls, expected);
  EXPECT_EQ(cache()->GetSelection(), nullptr);
  ComPtr<IKivUnknown> second = MakeKiv<CMemoryInformation>().As<IKivUnknown>();
  ComPtr<IKivUnknown> third = MakeKiv<CMemoryInformation>().As<IKivUnknown>();
  b_->binding = second;
  c_->binding = third;
  EXPECT_EQ(cache()->GetSelection(), second);
}

TEST_F(OutingCacheClientsTest, ACacheHeldElsewhereOutlivesItsLastClientButLeavesTheRegistry) {
  ASSERT_EQ(OpenMemoryOuting(path_, &a_), S_OK);
  ComPtr<CMemoryOutingCache> held(cache());
  a_ = nullptr;
  EXPECT_EQ(held->client_count(), 0u);
  EXPECT_EQ(held->registry(), nullptr);
  EXPECT_EQ(COutingCacheRegistry<CMemoryOutingCache>::Instance().Find(path_), nullptr);
  ASSERT_EQ(OpenMemoryOuting(path_, &a_), S_OK);
  EXPECT_NE(a_->cache(), held.Get());
}

class PlainCache final : public COutingCacheBase<PlainCache, COutingStateChanges> {
 public:
  explicit PlainCache(std::u16string path) : COutingCacheBase(OutingType::kText, std::move(path), Guid{}) { ++live; }
  ~PlainCache() override { --live; }
  bool CreateDataSet() override { return false; }
  static inline int live = 0;
};

ComPtr<PlainCache> Make(const std::u16string& path) { return MakeKiv<PlainCache>(path); }

TEST(OutingCacheRegistryTest, FindOrMakeMakesOnceAndHoldsAReference) {
  COutingCacheRegistry<PlainCache> registry;
  int made = 0;
  auto make = [&] {
    ++made;
    return Make(u"/a.txt");
  };
  ComPtr<PlainCache> first = registry.FindOrMake(u"/a.txt", make);
  ComPtr<PlainCache> second = registry.FindOrMake(u"/a.txt", make);
  EXPECT_EQ(made, 1);
  EXPECT_EQ(first, second);
  EXPECT_EQ(first->registry(), &registry);
  EXPECT_EQ(registry.Find(u"/a.txt"), first);
  EXPECT_EQ(registry.Find(u"/b.txt"), nullptr);

  PlainCache* raw = first.Get();
  first = nullptr;
  second = nullptr;
  EXPECT_EQ(PlainCache::live, 1) << "the registry's reference keeps it";
  EXPECT_TRUE(registry.Remove(raw));
  EXPECT_EQ(PlainCache::live, 0);
  EXPECT_EQ(registry.size(), 0u);
}

TEST(OutingCacheRegistryTest, PathsCompareAsExactCodeUnits) {
  COutingCacheRegistry<PlainCache> registry;
  auto a = registry.FindOrMake(u"/Data/Run.txt", [] { return Make(u"/Data/Run.txt"); });
  auto b = registry.FindOrMake(u"/data/run.txt", [] { return Make(u"/data/run.txt"); });
  auto c = registry.FindOrMake(u"/data/run.txt ", [] { return Make(u"/data/run.txt "); });
  EXPECT_NE(a, b) << "letter case makes two caches";
  EXPECT_NE(b, c);
  EXPECT_EQ(registry.size(), 3u);
  for (auto* cache : {a.Get(), b.Get(), c.Get()}) EXPECT_TRUE(registry.Remove(cache));
}

TEST(OutingCacheRegistryTest, ForEachWalksInKeyOrderShorterFirst) {
  COutingCacheRegistry<PlainCache> registry;
  for (const char16_t* path : {u"b", u"ab", u"a", u"B", u"\u00e9"}) {
    (void)registry.FindOrMake(path, [&] { return Make(path); });
  }
  std::vector<std::string> order;
  registry.ForEach([&](const std::u16string& path, PlainCache& cache) {
    EXPECT_EQ(cache.path(), path);
    order.push_back(WideToUtf8(path));
  });
  EXPECT_THAT(order, ElementsAre("B", "a", "ab", "b", "\u00e9"));
}

TEST(OutingCacheRegistryTest, ForEachMayTakeCachesOut) {
  COutingCacheRegistry<PlainCache> registry;
  for (const char16_t* path : {u"1", u"2", u"3"}) (void)registry.FindOrMake(path, [&] { return Make(path); });
  int seen = 0;
  registry.ForEach([&](const std::u16string&, PlainCache& cache) {
    ++seen;
    EXPECT_TRUE(registry.Remove(&cache));
  });
  EXPECT_EQ(seen, 3);
  EXPECT_EQ(registry.size(), 0u);
  EXPECT_EQ(PlainCache::live, 0);
}

TEST(OutingCacheRegistryTest, AFailedMakeEntersNothingAndRemoveOfAStrangerIsRefused) {
  COutingCacheRegistry<PlainCache> registry;
  EXPECT_EQ(registry.FindOrMake(u"/x", [] { return ComPtr<PlainCache>(); }), nullptr);
  EXPECT_EQ(registry.size(), 0u);
  auto stranger = Make(u"/x");
  EXPECT_FALSE(registry.Remove(stranger.Get()));
  EXPECT_EQ(stranger->registry(), nullptr);
}

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

TEST(OpenOutingOnCacheTest, ANullOutIsRefusedAndMakesNothingAFailedCacheIsOutOfMemory) {
  bool made = false;
  auto make = [&] {
    made = true;
    return MakeKiv<CMemoryOutingCache>(u"/refused", kMemoryTypeId);
  };
  EXPECT_EQ(OpenOutingOnCache<CMemoryOuting>(u"/refused", false, make, nullptr), E_POINTER);
  EXPECT_FALSE(made);
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

using MemorySourceOf = COutingSource<CMemoryOuting>;

TEST(OutingSourceRegistrationTest, ASourceIsFoundByItsTypeUntilItIsReplaced) {
  auto first = std::make_shared<MemorySourceOf>();
  auto second = std::make_shared<MemorySourceOf>();
  {
    ScopedOutingSource outer(OutingType::kSpreadsheet, first);
    EXPECT_EQ(FindOutingSource(OutingType::kSpreadsheet), first);
    {
      ScopedOutingSource inner(OutingType::kSpreadsheet, second);
      EXPECT_EQ(FindOutingSource(OutingType::kSpreadsheet), second);
      EXPECT_EQ(FindOutingSource(OutingType::kMatFile), nullptr);
    }
    EXPECT_EQ(FindOutingSource(OutingType::kSpreadsheet), first) << "the previous one is back";
  }
  EXPECT_EQ(FindOutingSource(OutingType::kSpreadsheet), nullptr);
}

TEST(OutingSourceRegistrationTest, RegisteringGivesThePreviousSourceAndRefusesTheEmptyType) {
  auto source = std::make_shared<MemorySourceOf>();
  std::shared_ptr<IOutingSource> previous = source;
  ASSERT_EQ(RegisterOutingSource(OutingType::kTarn, source, &previous), S_OK);
  EXPECT_EQ(previous, nullptr);
  ASSERT_EQ(RegisterOutingSource(OutingType::kTarn, nullptr, &previous), S_OK);
  EXPECT_EQ(previous, source);
  EXPECT_EQ(RegisterOutingSource(OutingType::kEmpty, source), E_INVALIDARG);
  EXPECT_EQ(RegisterOutingSource(static_cast<OutingType>(6), source), E_INVALIDARG);
  EXPECT_EQ(FindOutingSource(OutingType::kEmpty), nullptr);
}

TEST(OutingSourceRegistrationTest, SourcesMayBeRegisteredFromAnotherThread) {
  auto source = std::make_shared<MemorySourceOf>();
  std::thread other([&] {
    for (int i = 0; i < 200; ++i) (void)RegisterOutingSource(OutingType::kSpreadsheet, i % 2 ? source : nullptr);
  });
  for (int i = 0; i < 200; ++i) {
    std::shared_ptr<IOutingSource> found = FindOutingSource(OutingType::kSpreadsheet);
    EXPECT_TRUE(found == nullptr || found == source);
  }
  other.join();
  ASSERT_EQ(RegisterOutingSource(OutingType::kSpreadsheet, nullptr), S_OK);
}

class OutingSourceTest : public SettlingTest {
 protected:
  void TearDown() override { EXPECT_TRUE(Settle()); }
  MemorySourceOf source_;
};

TEST_F(OutingSourceTest, OpenGivesAnAttachedOutingAndItsSharedCache) {
  const std::u16string path = UniqueMemoryPath();
  OpenedOuting a, b;
  ASSERT_EQ(source_.Open(path, kMemoryTypeId, /*overrideProperties=*/true, &a), S_OK);
  ASSERT_EQ(source_.Open(path, kMemoryTypeId, false, &b), S_OK);
  ASSERT_TRUE(a.outing && a.cache);
  EXPECT_EQ(a.cache, b.cache);
  CMemoryOutingCache* cache = static_cast<CMemoryOuting*>(a.outing.Get())->cache();
  EXPECT_EQ(a.cache.Get(), static_cast<COutingCacheStateChanges*>(cache));
  EXPECT_EQ(cache->client_count(), 2u);
  EXPECT_EQ(Got(QueryAs<IKivOuting4>(a.outing.Get()), &IKivOuting4::GetOverrideProperties), KIV_TRUE);
  EXPECT_EQ(source_.Open(path, kMemoryTypeId, false, nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar::testing
