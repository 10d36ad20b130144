#include "outing/blocks/channel_iterator_search.h"

#include <gtest/gtest.h>

#include "outing/data_block_test_util.h"

namespace velmar {
namespace {

using testing::PeriodicBlock;

DataBlockList Blocks() {
  DataBlockList list;
  for (KivTime start : {0, 100, 200, 1000}) list.push_back(PeriodicBlock(start, 10, {1, 2, 3}));  // each 20 long
  return list;
}

TEST(SearchBlocks, InsideOrInTheGapAfter) {
  const DataBlockList list = Blocks();
  BlockPosition at;
  ASSERT_EQ(SearchBlocks(list, 110, &at), S_OK);
  EXPECT_EQ(at.kind, BlockPosition::Kind::kInside);
  EXPECT_EQ(at.block, 1u);
  ASSERT_EQ(SearchBlocks(list, 120, &at), S_OK);
  EXPECT_EQ(at.block, 1u) << "the end belongs to the block";
  ASSERT_EQ(SearchBlocks(list, 121, &at), S_OK);
  EXPECT_EQ(at.kind, BlockPosition::Kind::kGapAfter);
  EXPECT_EQ(at.block, 1u);
  ASSERT_EQ(SearchBlocks(list, 999, &at), S_OK);
  EXPECT_EQ(at.kind, BlockPosition::Kind::kGapAfter);
  EXPECT_EQ(at.block, 2u);
  ASSERT_EQ(SearchBlocks(list, 1000, &at), S_OK);
  EXPECT_EQ(at.kind, BlockPosition::Kind::kInside);
  EXPECT_EQ(at.block, 3u);
  ASSERT_EQ(SearchBlocks(list, 0, &at), S_OK);
  EXPECT_EQ(at.block, 0u);
}

TEST(SearchBlocks, OutsideTheDataFails) {
  const DataBlockList list = Blocks();
  BlockPosition at;
  EXPECT_EQ(SearchBlocks(list, -1, &at), E_FAIL);
  EXPECT_EQ(SearchBlocks(list, 1021, &at), E_FAIL);
  EXPECT_EQ(SearchBlocks(list, kTimeMin, &at), E_FAIL);
  EXPECT_EQ(SearchBlocks(list, kTimeMax, &at), E_FAIL);
  EXPECT_EQ(SearchBlocks({}, 5, &at), E_FAIL);
  EXPECT_EQ(SearchBlocks(list, 5, nullptr), E_POINTER);
}

TEST(SearchBlocks, BlocksOutOfOrderEndTheSearch) {
  DataBlockList list = Blocks();
  std::swap(list[0], list[3]);
  BlockPosition at;
  for (KivTime t = -10; t < 1100; t += 7) {
    KivResult r = SearchBlocks(list, t, &at);  // any answer, but it ends
    EXPECT_TRUE(r == S_OK || r == E_FAIL);
  }
}

}  // namespace
}  // namespace velmar
