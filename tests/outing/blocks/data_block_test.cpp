#include "outing/blocks/data_block.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <string>

#include "outing/data_block_test_util.h"

namespace velmar {
namespace {

TEST(DataBlockMath, StrictlyBetweenEitherWayNeverForNaN) {
  EXPECT_TRUE(StrictlyBetween(2, 1, 3));
  EXPECT_TRUE(StrictlyBetween(2, 3, 1));
  EXPECT_FALSE(StrictlyBetween(1, 1, 3));
  EXPECT_FALSE(StrictlyBetween(std::nan(""), 1, 3));
  EXPECT_FALSE(StrictlyBetween(2, std::nan(""), 3));
}

TEST(DataBlockMath, CrossingTimeRoundsAndStaysInsideThePair) {
  EXPECT_EQ(CrossingTime(0, 10, 0.0, 1.0, 0.25), 3) << "trunc(2.5 + 0.5)";
  EXPECT_EQ(CrossingTime(0, 10, 0.0, 1.0, 0.24), 2);
  EXPECT_EQ(CrossingTime(100, 110, 5.0, -5.0, 0.0), 105) << "falling";
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(CrossingTime(0, 10, -inf, inf, 0.0), 0) << "no number: the earlier time";
  EXPECT_EQ(CrossingTime(0, 10, 0.0, 1e-300, 1.0), 10) << "beyond the pair: its end";
  EXPECT_EQ(CrossingTime(kTimeMax - 10, kTimeMax - 1, 0.0, 1.0, 0.999999), kTimeMax - 1);
}

TEST(DataBlockMath, LinearValue) {
  EXPECT_DOUBLE_EQ(LinearValue(0, 10, 1.0, 3.0, 5), 2.0);
  EXPECT_DOUBLE_EQ(LinearValue(7, 7, 1.0, 3.0, 7), 1.0) << "one point: its value";
}

// Periodic and aperiodic blocks answer the value at a time and the time of a value.
TEST(DataBlockValues, EachFixtureCase) {
  const std::map<std::string, uint32_t> modes{
      {"exact", kValueExact}, {"hold", kValueHold}, {"interpolate", kValueInterpolate}};
  for (const auto table = testing::Fixture("outing/block_values.json"); const auto& b : table["blocks"]) {
    std::vector<double> values;
    for (const auto& v : b["values"]) values.push_back(testing::FixtureNumber(v));
    auto block = b.contains("periodic") ? testing::PeriodicBlock(b["periodic"][0].get<KivTime>(),
                                                                 b["periodic"][1].get<KivTime>(), values)
                                        : testing::AperiodicBlock(b["times"].get<std::vector<KivTime>>(), values);
    for (const auto& c : b.value("value_at", nlohmann::json::array())) {
      double value = -1;
      const KivResult r = block->GetValueAt(testing::FixtureTime(c[0]), modes.at(c[1].get<std::string>()), &value);
      EXPECT_EQ(ResultName(r), c[2].get<std::string>()) << b << c;
      if (!c[3].is_null()) {
        EXPECT_EQ(value, c[3].get<double>()) << b << c;
      }
    }
    for (const auto& c : b.value("time_of", nlohmann::json::array())) {
      KivTime time = -1;
      const KivResult r = block->FindTimeOfValue(testing::FixtureNumber(c[0]), c[1].get<uint32_t>(), &time);
      EXPECT_EQ(ResultName(r), c[2].get<std::string>()) << b << c;
      if (!c[3].is_null()) {
        EXPECT_EQ(time, c[3].get<KivTime>()) << b << c;
      }
    }
  }
}

TEST(DataBlockBase, OffsetMovesStartAndEndAndMustFit) {
  auto block = testing::PeriodicBlock(100, 10, {1, 2, 3});
  EXPECT_EQ(block->SetTimeOffset(50), S_OK);
  KivTime start = 0;
  KivTime end = 0;
  ASSERT_EQ(block->GetStartTime(&start), S_OK);
  ASSERT_EQ(block->GetEndTime(&end), S_OK);
  EXPECT_EQ(start, 150);
  EXPECT_EQ(end, 170);
  EXPECT_EQ(block->firstTime(), 100) << "stored times keep no offset";
  EXPECT_EQ(block->SetTimeOffset(kTimeMax - 110), E_INVALIDARG);
  EXPECT_EQ(block->timeOffset(), 50);
  EXPECT_TRUE(OffsetFits(100, 120, kTimeMax - 121));
  EXPECT_FALSE(OffsetFits(100, 120, kTimeMax - 120)) << "the end would be the unbounded extreme";
  EXPECT_FALSE(OffsetFits(-100, 120, kTimeMin + 50));
}

TEST(DataBlockBase, BooleansAreAllOnesOrZero) {
  auto block = testing::AperiodicBlock({1, 2}, {1, 2}, true);
  KivBool b = 5;
  ASSERT_EQ(block->GetContinuous(&b), S_OK);
  EXPECT_EQ(b, -1);
  ASSERT_EQ(block->GetPeriodic(&b), S_OK);
  EXPECT_EQ(b, 0);
  EXPECT_EQ(block->GetContinuous(nullptr), E_POINTER);
}

TEST(DataBlockBase, CopiesAreTheCallersOwn) {
  auto block = testing::PeriodicBlock(0, 5, {4, 5});
  std::vector<KivTime> times;
  std::vector<double> values;
  ASSERT_EQ(block->GetTimes(&times), S_OK);
  ASSERT_EQ(block->GetValues(&values), S_OK);
  std::span<const double> ref;
  ASSERT_EQ(block->GetValuesReference(&ref), S_OK);
  EXPECT_NE(values.data(), ref.data());
  EXPECT_EQ(times, (std::vector<KivTime>{0, 5}));
  EXPECT_EQ(values, (std::vector<double>{4, 5}));
  KivTime t = 0;
  double v = 0;
  ASSERT_EQ(block->GetSample(1, &t, &v), S_OK);
  EXPECT_EQ(t, 5);
  EXPECT_EQ(v, 5.0);
  EXPECT_EQ(block->GetSample(0, nullptr, &v), E_POINTER);
}

}  // namespace
}  // namespace velmar
