// Where a time lies in a channel's block list: inside a block, or in the gap
// after one. An interpolation search that converges at once for evenly
// filled recordings.
#pragma once

#include <cstddef>

#include "outing/blocks/data_blocks.h"

namespace velmar {

struct BlockPosition {
  enum class Kind {
    kInside,    // in [start, end] of `block`
    kGapAfter,  // strictly between the end of `block` and the start of `block + 1`
  };
  Kind kind = Kind::kInside;
  size_t block = 0;
};

// `time` must lie within [start of the first block, end of the last]; else,
// or for blocks out of time order, E_FAIL.
[[nodiscard]] KivResult SearchBlocks(const DataBlockList& blocks, KivTime time, BlockPosition* position);

}  // namespace velmar
