#include "outing/blocks/data_blocks.h"

namespace velmar {

KivResult CDataBlocks::GetCount(uint32_t* count) {
  if (!count) return E_POINTER;
  *count = blocks_ ? static_cast<uint32_t>(blocks_->size()) : 0;
  return S_OK;
}

KivResult CDataBlocks::GetBlock(uint32_t index, IKivDataBlock** block) {
  if (!block) return E_POINTER;
  *block = nullptr;
  if (!blocks_ || index == 0 || index > blocks_->size()) return DISP_E_BADINDEX;
  return GiveOut<IKivDataBlock>((*blocks_)[index - 1].Get(), block);
}

}  // namespace velmar
