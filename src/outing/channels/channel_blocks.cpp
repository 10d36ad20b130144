#include "outing/channels/channel_blocks.h"

#include <new>

#include "outing/blocks/data_block_aperiodic.h"

namespace velmar {

KivResult BuildBlocks(const ChannelSections& sections, KivTime timeOffset, BlockContinuity continuity,
                      std::shared_ptr<DataBlockList>* blocks) {
  if (!blocks) return E_POINTER;
  try {
    auto made = std::make_shared<DataBlockList>();
    made->reserve(sections.size());
    for (size_t i = 0; i < sections.size(); ++i) {
      const bool continuous = i > 0 && (continuity == BlockContinuity::kAlways || sections[i].continuous);
      ComPtr<IKivDataBlockImplBase> block;
      const KivResult hr =
          MakeOutingDataBlock(sections[i].data, static_cast<uint32_t>(i), timeOffset, continuous, &block);
      if (Failed(hr)) return hr;
      made->push_back(std::move(block));
    }
    *blocks = std::move(made);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

KivResult MoveBlocks(const DataBlockList& blocks, KivTime offset) {
  for (const auto& block : blocks) {
    if (!OffsetFits(block->firstTime(), block->lastTime(), offset)) return E_INVALIDARG;
  }
  for (const auto& block : blocks) {
    const KivResult hr = block->SetTimeOffset(offset);
    if (Failed(hr)) return hr;
  }
  return S_OK;
}

}  // namespace velmar
