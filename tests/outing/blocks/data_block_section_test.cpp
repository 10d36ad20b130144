#include "outing/blocks/data_block_section.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace velmar {
namespace {

LockedArray<double> Values(size_t n) { return LockedArray<double>::FromVector(std::vector<double>(n, 1.0)); }
LockedArray<KivTime> Times(std::vector<KivTime> t) { return LockedArray<KivTime>::FromVector(std::move(t)); }

TEST(DataSection, PeriodicKnowsItsLastTimeAndBuildsTimesOnce) {
  std::shared_ptr<const DataSection> s;
  ASSERT_EQ(DataSection::MakePeriodic(Values(4), 100, 25, &s), S_OK);
  EXPECT_TRUE(s->periodic());
  EXPECT_EQ(s->lastTime(), 175);
  EXPECT_EQ(s->sampleCount(), 4u);
  const LockedArray<KivTime>& times = s->Times();
  ASSERT_EQ(times.size(), 4u);
  EXPECT_EQ(times.view()[3], 175);
  EXPECT_EQ(s->Times().data(), times.data()) << "made once, then shared";
}

TEST(DataSection, PeriodicRefusesBadIntervalsAndRanges) {
  std::shared_ptr<const DataSection> s;
  EXPECT_EQ(DataSection::MakePeriodic(Values(3), 0, 0, &s), E_INVALIDARG) << "zero interval";
  EXPECT_EQ(DataSection::MakePeriodic(Values(3), 0, -5, &s), E_INVALIDARG) << "negative interval";
  EXPECT_EQ(DataSection::MakePeriodic(Values(0), 0, 5, &s), E_INVALIDARG) << "no samples";
  EXPECT_EQ(DataSection::MakePeriodic(Values(3), kTimeMax - 10, 5, &s), E_INVALIDARG) << "runs into the extreme";
  EXPECT_EQ(DataSection::MakePeriodic(Values(3), kTimeMax - 10, kTimeMax / 2, &s), E_INVALIDARG) << "overflow";
  EXPECT_EQ(DataSection::MakePeriodic(Values(1), kTimeMin, 5, &s), E_INVALIDARG) << "unbounded start";
  EXPECT_EQ(DataSection::MakePeriodic(Values(1), 0, 5, nullptr), E_POINTER);
  EXPECT_FALSE(s);
}

TEST(DataSection, AperiodicChecksItsTimes) {
  std::shared_ptr<const DataSection> s;
  EXPECT_EQ(DataSection::MakeAperiodic(Values(3), Times({1, 2}), &s), E_INVALIDARG) << "length";
  EXPECT_EQ(DataSection::MakeAperiodic(Values(3), Times({1, 3, 2}), &s), E_INVALIDARG) << "decreasing";
  EXPECT_EQ(DataSection::MakeAperiodic(Values(2), Times({kTimeMin, 2}), &s), E_INVALIDARG);
  EXPECT_EQ(DataSection::MakeAperiodic(Values(2), Times({-kTimeMax + 1, kTimeMax - 1}), &s), E_INVALIDARG)
      << "span past the tick range";
  ASSERT_EQ(DataSection::MakeAperiodic(Values(3), Times({1, 1, 7}), &s), S_OK) << "equal times are allowed";
  EXPECT_FALSE(s->periodic());
  EXPECT_EQ(s->interval(), 0);
  EXPECT_EQ(s->firstTime(), 1);
  EXPECT_EQ(s->lastTime(), 7);
}

}  // namespace
}  // namespace velmar

namespace velmar {
namespace {

TEST(DataSection, PeriodicTimesAreMadeOnceUnderConcurrentReaders) {
  std::shared_ptr<const DataSection> s;
  ASSERT_EQ(DataSection::MakePeriodic(LockedArray<double>::FromVector(std::vector<double>(1000, 0.0)), 5, 2, &s),
            S_OK);
  std::vector<const KivTime*> seen(4, nullptr);
  std::vector<std::thread> readers;
  for (size_t i = 0; i < seen.size(); ++i) {
    readers.emplace_back([&s, &seen, i] { seen[i] = s->Times().data(); });
  }
  for (auto& r : readers) r.join();
  for (const KivTime* p : seen) EXPECT_EQ(p, seen[0]);
  EXPECT_EQ(s->Times().view()[999], 5 + 2 * 999);
}

}  // namespace
}  // namespace velmar
