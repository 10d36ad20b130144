#include "outing/channels/channel_blocks.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace velmar::testing {
namespace {

constexpr KivTime kSecond = kTicksPerSecond;

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

TEST(ChannelBlocksTest, OffsetOutOfRangeIsRefused) {
  std::shared_ptr<DataBlockList> blocks;
  EXPECT_EQ(BuildBlocks(ThreeSections(), kTimeMax - kSecond, BlockContinuity::kAlways, &blocks), E_INVALIDARG);
  EXPECT_FALSE(blocks);
  EXPECT_EQ(BuildBlocks(ThreeSections(), 0, BlockContinuity::kAlways, nullptr), E_POINTER);
}

TEST(ChannelBlocksTest, MoveBlocksIsAllOrNone) {
  std::shared_ptr<DataBlockList> blocks;
  ASSERT_EQ(BuildBlocks(ThreeSections(), 0, BlockContinuity::kAlways, &blocks), S_OK);
  // Fits the first block, not the last.
  EXPECT_EQ(MoveBlocks(*blocks, kTimeMax - 5 * kSecond), E_INVALIDARG);
  for (const auto& b : *blocks) EXPECT_EQ(b->timeOffset(), 0);
  EXPECT_EQ(MoveBlocks(*blocks, -kSecond), S_OK);
  EXPECT_EQ((*blocks)[2]->EndTime(), 21 * kSecond);
}

}  // namespace
}  // namespace velmar::testing
