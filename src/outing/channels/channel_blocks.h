// A channel's blocks from its sections: one periodic or aperiodic block per
// section, in order, each at the channel's time offset.
#pragma once

#include <memory>

#include "outing/channels/channel_sections.h"
#include "outing/blocks/data_blocks.h"

namespace velmar {

// How a block other than the first is marked continuous.
enum class BlockContinuity {
  kAlways,       // a file source: one continuous line, gaps interpolated across
  kFromSection,  // the native store: as each section says
};

// The blocks of `sections` (block i on section i). E_INVALIDARG when the
// offset would push a sample out of the tick range; E_OUTOFMEMORY. Nothing
// is given on failure.
[[nodiscard]] KivResult BuildBlocks(const ChannelSections& sections, KivTime timeOffset, BlockContinuity continuity,
                                    std::shared_ptr<DataBlockList>* blocks);

// Moves every block to `offset`, all or none: E_INVALIDARG, and nothing
// moved, when any block would leave the tick range.
[[nodiscard]] KivResult MoveBlocks(const DataBlockList& blocks, KivTime offset);

}  // namespace velmar
