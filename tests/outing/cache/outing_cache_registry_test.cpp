#include "outing/cache/outing_cache_registry.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "outing/cache/outing_cache.h"
#include "outing/cache/outing_state_changes.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

using ::testing::ElementsAre;

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

TEST(OutingCacheRegistryTest, AFailedMakeEntersNothing) {
  COutingCacheRegistry<PlainCache> registry;
  EXPECT_EQ(registry.FindOrMake(u"/x", [] { return ComPtr<PlainCache>(); }), nullptr);
  EXPECT_EQ(registry.size(), 0u);
}

TEST(OutingCacheRegistryTest, RemoveOfAStrangerIsRefused) {
  COutingCacheRegistry<PlainCache> registry;
  auto stranger = Make(u"/x");
  EXPECT_FALSE(registry.Remove(stranger.Get()));
  EXPECT_EQ(stranger->registry(), nullptr);
}

}  // namespace
}  // namespace velmar::testing
