#include "outing/cache/outing_cache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "outing/memory_source.h"
#include "outing/cache/outing_cache_registry.h"
#include "platform/async/dispatcher.h"

namespace velmar::testing {
namespace {

using namespace std::chrono_literals;
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

TEST(OutingCacheTest, EventExistsMessageText) {
  EXPECT_EQ(EventExistsMessage(u"Gear shifts"), u"Event Gear shifts already exists in the outing.");
}

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

class OutingCacheClientsTest : public ::testing::Test {
 protected:
  void TearDown() override {
    a_ = b_ = c_ = nullptr;
    EXPECT_TRUE(Async_RunUntilSettled(d_, 30s));
    EXPECT_EQ(COutingCacheRegistry<CMemoryOutingCache>::Instance().Find(path_), nullptr);
  }
  CMemoryOutingCache* cache() { return a_->cache(); }

  Dispatcher d_;
  Dispatcher::ScopedCurrent current_{d_};
  const std::u16string path_ = UniqueMemoryPath();
  ComPtr<CMemoryOuting> a_, b_, c_;
};

TEST_F(OutingCacheClientsTest, OutingsAttachInOrderAndShareTheCache) {
  ASSERT_EQ(OpenMemoryOuting(path_, &a_), S_OK);
  ASSERT_EQ(OpenMemoryOuting(path_, &b_), S_OK);
  EXPECT_EQ(a_->cache(), b_->cache());
  EXPECT_EQ(cache()->client_count(), 2u);
  EXPECT_TRUE(cache()->IsAttached(a_.Get()));
  EXPECT_EQ(cache()->path(), path_);
  EXPECT_EQ(cache()->registry(), &COutingCacheRegistry<CMemoryOutingCache>::Instance());
}

TEST_F(OutingCacheClientsTest, PostMessageReachesEveryClientInAttachmentOrder) {
  ASSERT_EQ(OpenMemoryOuting(path_, &a_), S_OK);
  ASSERT_EQ(OpenMemoryOuting(path_, &b_), S_OK);
  cache()->PostMessage(1, u"Careful");
  cache()->PostEventExists(u"Pit");
  const auto expected = ElementsAre("message:1:Careful", "message:2:Event Pit already exists in the outing.");
  EXPECT_THAT(a_->calls, expected);
  EXPECT_THAT(b_->calls, expected);
}

TEST_F(OutingCacheClientsTest, TheSelectionIsTheFirstBindingAClientHolds) {
  ASSERT_EQ(OpenMemoryOuting(path_, &a_), S_OK);
  ASSERT_EQ(OpenMemoryOuting(path_, &b_), S_OK);
  ASSERT_EQ(OpenMemoryOuting(path_, &c_), S_OK);
  EXPECT_EQ(cache()->GetSelection(), nullptr);
  ComPtr<IKivUnknown> second = MakeKiv<CMemoryInformation>().As<IKivUnknown>();
  ComPtr<IKivUnknown> third = MakeKiv<CMemoryInformation>().As<IKivUnknown>();
  b_->binding = second;
  c_->binding = third;
  EXPECT_EQ(cache()->GetSelection(), second);
}

TEST_F(OutingCacheClientsTest, TheLastClientTakesTheCacheOutOfItsRegistry) {
  const int before = CMemoryOutingCache::live();
  ASSERT_EQ(OpenMemoryOuting(path_, &a_), S_OK);
  ASSERT_EQ(OpenMemoryOuting(path_, &b_), S_OK);
  auto& registry = COutingCacheRegistry<CMemoryOutingCache>::Instance();
  CMemoryOutingCache* first = cache();
  a_ = nullptr;
  EXPECT_EQ(registry.Find(path_).Get(), first) << "one client is left";
  b_ = nullptr;
  EXPECT_EQ(registry.Find(path_), nullptr);
  EXPECT_EQ(CMemoryOutingCache::live(), before) << "nothing else held it";

  ASSERT_EQ(OpenMemoryOuting(path_, &a_), S_OK);
  EXPECT_EQ(CMemoryOutingCache::live(), before + 1) << "a second open makes a new cache";
  EXPECT_EQ(registry.Find(path_).Get(), a_->cache());
  EXPECT_EQ(a_->cache()->client_count(), 1u);
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

}  // namespace
}  // namespace velmar::testing
