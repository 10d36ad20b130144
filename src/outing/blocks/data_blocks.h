// The list of a channel's blocks as a client reaches it from the iterator.
#pragma once

#include <memory>
#include <vector>

#include "outing/blocks/data_block.h"

namespace velmar {

// A channel's blocks in time order. Fixed once an iterator is made on it: a
// channel that reloads makes a new list and a new iterator.
using DataBlockList = std::vector<ComPtr<IKivDataBlockImplBase>>;

class CDataBlocks final : public KivObject<IKivDataBlocks> {
 public:
  // Refers to `blocks` and keeps `iterator` (the one that made it) alive.
  CDataBlocks(std::shared_ptr<const DataBlockList> blocks, ComPtr<IKivUnknown> iterator)
      : blocks_(std::move(blocks)), iterator_(std::move(iterator)) {}

  KivResult GetCount(uint32_t* count) override;
  KivResult GetBlock(uint32_t index, IKivDataBlock** block) override;

 private:
  std::shared_ptr<const DataBlockList> blocks_;
  ComPtr<IKivUnknown> iterator_;
};

}  // namespace velmar
