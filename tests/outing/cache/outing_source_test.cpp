#include "outing/cache/outing_source.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "outing/memory_source.h"
#include "support/settling_test.h"

namespace velmar::testing {
namespace {

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

  OpenedOuting Open(const std::u16string& path) {
    OpenedOuting opened;
    EXPECT_EQ(source_.Open(path, kMemoryTypeId, /*overrideProperties=*/true, &opened), S_OK);
    return opened;
  }
  static CMemoryOutingCache* CacheOf(const OpenedOuting& opened) {
    return static_cast<CMemoryOuting*>(opened.outing.Get())->cache();
  }

  MemorySourceOf source_;
};

TEST_F(OutingSourceTest, OpenGivesAnAttachedOutingAndItsSharedCache) {
  const std::u16string path = UniqueMemoryPath();
  OpenedOuting a = Open(path), b = Open(path);
  ASSERT_TRUE(a.outing && a.cache);
  EXPECT_EQ(a.cache, b.cache);
  EXPECT_EQ(a.cache.Get(), static_cast<COutingCacheStateChanges*>(CacheOf(a)));
  EXPECT_EQ(CacheOf(a)->client_count(), 2u);
  KivBool overrideProperties = KIV_FALSE;
  ASSERT_EQ(QueryAs<IKivOuting4>(a.outing.Get())->GetOverrideProperties(&overrideProperties), S_OK);
  EXPECT_EQ(overrideProperties, KIV_TRUE);
  EXPECT_EQ(source_.Open(path, kMemoryTypeId, false, nullptr), E_POINTER);
}

TEST_F(OutingSourceTest, NewCachesTakeTheSourcesSettingsAndChangesReachOpenCaches) {
  OpenedOuting before = Open(UniqueMemoryPath());
  source_.SetFastLapFilter(true);
  source_.SetFastLapMinimumTime(8 * kTicksPerSecond);
  EXPECT_EQ(source_.fast_lap(), (FastLapSettings{true, 8 * kTicksPerSecond}));
  EXPECT_TRUE(CacheOf(before)->fast_lap_filter());
  EXPECT_EQ(CacheOf(before)->fast_lap_minimum_time(), 8 * kTicksPerSecond);
  OpenedOuting after = Open(UniqueMemoryPath());
  EXPECT_TRUE(CacheOf(after)->fast_lap_filter());
  EXPECT_EQ(CacheOf(after)->fast_lap_minimum_time(), 8 * kTicksPerSecond);
}

}  // namespace
}  // namespace velmar::testing
