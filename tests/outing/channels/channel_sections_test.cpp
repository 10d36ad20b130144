#include "outing/channels/channel_sections.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "outing/channels/channel_blocks.h"
#include "support/fixtures.h"

namespace velmar::testing {
namespace {

constexpr KivTime kSecond = kTicksPerSecond;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// "P<first>+<interval>x<count>" or "A<t0>,<t1>,..." in ticks.
std::string Describe(const ChannelSection& s) {
  const DataSection& d = *s.data;
  if (d.periodic()) {
    return "P" + std::to_string(d.firstTime()) + "+" + std::to_string(d.interval()) + "x" +
           std::to_string(d.sampleCount());
  }
  std::string out = "A";
  for (KivTime t : d.Times().view()) out += (out.size() > 1 ? "," : "") + std::to_string(t);
  return out;
}

std::vector<std::string> Split(const std::vector<double>& times) {
  std::vector<double> values(times.size());
  for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i);
  ChannelSections sections;
  EXPECT_EQ(SplitIntoSections(times, values, {}, &sections), S_OK);
  std::vector<std::string> out;
  for (const auto& s : sections) out.push_back(Describe(s));
  return out;
}

TEST(ChannelSectionsTest, EachFixtureCase) {
  const auto table = Fixture("outing/channel_sections.json");
  for (const auto& c : table["splits"]) {
    EXPECT_EQ(Split(c[0].get<std::vector<double>>()), c[1].get<std::vector<std::string>>()) << c;
  }
  for (const auto& c : table["refused"]) {
    std::vector<double> times;
    for (const auto& t : c[0]) times.push_back(FixtureNumber(t));
    ChannelSections sections;
    EXPECT_EQ(SplitIntoSections(times, std::vector<double>(c[1].get<size_t>()), {}, &sections), E_INVALIDARG) << c;
    EXPECT_TRUE(sections.empty());
  }
}

TEST(ChannelSectionsTest, TheLastTimeIsTheRoundedLastSamplesAndTimesNearTheEndOfTheRangeFit) {
  // The step in seconds rounds to 1 tick, the times to 0 and 2.
  ChannelSections two;
  ASSERT_EQ(SplitIntoSections(std::vector<double>{0.00000004, 0.00000015}, std::vector<double>{1, 2}, {}, &two), S_OK);
  ASSERT_EQ(two.size(), 1u);
  EXPECT_EQ(two[0].data->lastTime(), 2);
  // Times near the end of the tick range fit.
  const double edge = static_cast<double>(kTimeMax / kSecond) - 10;
  ChannelSections sections;
  EXPECT_EQ(SplitIntoSections(std::vector<double>{edge - 2, edge - 1, edge}, std::vector<double>(3), {}, &sections),
            S_OK);
  EXPECT_FALSE(sections.empty());
  EXPECT_EQ(SplitIntoSections(std::vector<double>{1, 2}, std::vector<double>{1, 2}, {}, nullptr), E_POINTER);
}

TEST(ChannelSectionsTest, ValuesAreScaledAndNaNValuesKept) {
  ChannelSections sections;
  const std::vector<double> times{0, 1, 2};
  const std::vector<double> values{1, kNaN, -2};
  ASSERT_EQ(SplitIntoSections(times, values, ChannelScaling{2.0, 10.0}, &sections), S_OK);
  ASSERT_EQ(sections.size(), 1u);
  auto v = sections[0].data->values().view();
  EXPECT_EQ(v[0], 12.0);
  EXPECT_TRUE(std::isnan(v[1]));
  EXPECT_EQ(v[2], 6.0);
  EXPECT_FALSE(sections[0].continuous);
}

ChannelSections ThreeSections() {
  ChannelSections out;
  for (double start : {0.0, 10.0, 20.0}) {
    ChannelSections one;
    EXPECT_EQ(SplitIntoSections(std::vector<double>{start, start + 1, start + 2}, std::vector<double>(3, start), {},
                                &one),
              S_OK);
    out.push_back(one[0]);
  }
  out[2].continuous = true;
  return out;
}

std::vector<bool> Continuity(const DataBlockList& blocks) {
  std::vector<bool> out;
  for (const auto& b : blocks) out.push_back(b->continuous());
  return out;
}

TEST(ChannelBlocksTest, OneBlockPerSectionInOrderAtTheOffset) {
  std::shared_ptr<DataBlockList> blocks;
  ASSERT_EQ(BuildBlocks(ThreeSections(), 2 * kSecond, BlockContinuity::kAlways, &blocks), S_OK);
  ASSERT_EQ(blocks->size(), 3u);
  for (uint32_t i = 0; i < 3; ++i) {
    EXPECT_EQ((*blocks)[i]->blockIndex(), i);
    EXPECT_EQ((*blocks)[i]->StartTime(), (10 * i + 2) * kSecond);
  }
  EXPECT_THAT(Continuity(*blocks), ::testing::ElementsAre(false, true, true));
  ASSERT_EQ(BuildBlocks(ThreeSections(), 0, BlockContinuity::kFromSection, &blocks), S_OK);
  EXPECT_THAT(Continuity(*blocks), ::testing::ElementsAre(false, false, true));
}

TEST(ChannelBlocksTest, AnOffsetOutOfRangeIsRefusedAndMoveBlocksIsAllOrNone) {
  std::shared_ptr<DataBlockList> blocks;
  EXPECT_EQ(BuildBlocks(ThreeSections(), kTimeMax - kSecond, BlockContinuity::kAlways, &blocks), E_INVALIDARG);
  EXPECT_FALSE(blocks);
  EXPECT_EQ(BuildBlocks(ThreeSections(), 0, BlockContinuity::kAlways, nullptr), E_POINTER);
  ASSERT_EQ(BuildBlocks(ThreeSections(), 0, BlockContinuity::kAlways, &blocks), S_OK);
  // Fits the first block, not the last.
  EXPECT_EQ(MoveBlocks(*blocks, kTimeMax - 5 * kSecond), E_INVALIDARG);
  for (const auto& b : *blocks) EXPECT_EQ(b->timeOffset(), 0);
  EXPECT_EQ(MoveBlocks(*blocks, -kSecond), S_OK);
  EXPECT_EQ((*blocks)[2]->EndTime(), 21 * kSecond);
}

}  // namespace
}  // namespace velmar::testing
