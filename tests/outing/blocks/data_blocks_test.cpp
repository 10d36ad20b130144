#include "outing/blocks/data_blocks.h"

#include <gtest/gtest.h>

#include "outing/data_block_test_util.h"

namespace velmar {
namespace {

TEST(DataBlocks, CountsFromOneAndKeepsTheIteratorAlive) {
  ComPtr<IKivDataBlocks> blocks;
  {
    auto it = testing::Iterator({testing::PeriodicBlock(0, 10, {1, 2}), testing::PeriodicBlock(100, 10, {3})});
    ASSERT_EQ(it->GetDataBlocks(blocks.Put()), S_OK);
  }
  uint32_t count = 0;
  ASSERT_EQ(blocks->GetCount(&count), S_OK);
  EXPECT_EQ(count, 2u);
  ComPtr<IKivDataBlock> block;
  EXPECT_EQ(blocks->GetBlock(0, block.Put()), DISP_E_BADINDEX);
  EXPECT_FALSE(block);
  EXPECT_EQ(blocks->GetBlock(3, block.Put()), DISP_E_BADINDEX);
  ASSERT_EQ(blocks->GetBlock(2, block.Put()), S_OK);
  KivTime start = 0;
  ASSERT_EQ(block->GetStartTime(&start), S_OK);
  EXPECT_EQ(start, 100);
  EXPECT_EQ(blocks->GetBlock(1, nullptr), E_POINTER);
}

TEST(DataBlocks, NoListCountsZero) {
  auto list = MakeKiv<CDataBlocks>(nullptr, nullptr);
  uint32_t count = 9;
  ASSERT_EQ(list->GetCount(&count), S_OK);
  EXPECT_EQ(count, 0u);
  ComPtr<IKivDataBlock> block;
  EXPECT_EQ(list->GetBlock(1, block.Put()), DISP_E_BADINDEX);
  EXPECT_EQ(list->GetCount(nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar
