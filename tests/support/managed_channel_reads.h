// A channel read as a client reads it: the iterator, then each block's
// times and values.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "velmar/channel.h"
#include "velmar/data_block.h"

namespace velmar::testing {

struct BlockRead {
  std::vector<KivTime> times;
  std::vector<double> values;
  bool operator==(const BlockRead&) const = default;
};

// The channel's blocks in order; none when it gives no iterator.
inline std::vector<BlockRead> ReadBlocks(IKivChannel* channel) {
  ComPtr<IKivChannelIterator2> iterator;
  ComPtr<IKivDataBlocks> blocks;
  uint32_t count = 0;
  std::vector<BlockRead> read;
  EXPECT_EQ(channel->GetIterator(iterator.Put()), S_OK);
  if (!iterator || Failed(iterator->GetDataBlocks(blocks.Put())) || Failed(blocks->GetCount(&count))) return read;
  for (uint32_t i = 1; i <= count; ++i) {
    ComPtr<IKivDataBlock> block;
    BlockRead& b = read.emplace_back();
    EXPECT_EQ(blocks->GetBlock(i, block.Put()), S_OK);
    EXPECT_EQ(block->GetTimes(&b.times), S_OK);
    EXPECT_EQ(block->GetValues(&b.values), S_OK);
  }
  return read;
}

}  // namespace velmar::testing
