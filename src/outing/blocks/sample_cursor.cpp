#include "outing/blocks/sample_cursor.h"

namespace velmar {
namespace {
const DataBlockList kNoBlocks;
}  // namespace

const DataBlockList& SampleCursor::Blocks() const {
  return iterator_ && iterator_->blockList() ? *iterator_->blockList() : kNoBlocks;
}

bool SampleCursor::Load(size_t block, uint32_t index) {
  valid_ = false;
  const DataBlockList& blocks = Blocks();
  if (block >= blocks.size()) return false;
  IKivDataBlockImplBase& b = *blocks[block];
  std::span<const double> values;
  if (Failed(b.ValuesArray(true, &values)) || index >= values.size()) return false;
  times_ = {};
  if (b.IsPeriodic()) {
    start_ = b.StartTime();
    interval_ = b.GetIntervalReference();
  } else if (Failed(b.TimesArray(&times_)) || times_.size() < values.size()) {
    return false;
  }
  values_ = values;
  block_ = block;
  index_ = index;
  valid_ = true;
  return true;
}

bool SampleCursor::Seek(KivTime t, int32_t mode, uint32_t range) {
  valid_ = false;
  if (!iterator_) return false;
  size_t block = 0;
  uint32_t index = 0;
  if (iterator_->Locate(&t, mode, range, &block, &index) != S_OK) return false;
  return Load(block, index);
}

bool SampleCursor::SeekFirst() { return Load(0, 0); }

bool SampleCursor::SeekLast() {
  const DataBlockList& blocks = Blocks();
  if (blocks.empty()) {
    valid_ = false;
    return false;
  }
  return Load(blocks.size() - 1, blocks.back()->GetSampleCount() - 1);
}

bool SampleCursor::NextBlock() {
  if (!valid_) return false;
  const size_t here = block_;
  const uint32_t at = index_;
  if (block_ + 1 < Blocks().size() && Load(block_ + 1, 0)) return true;
  if (!valid_) (void)Load(here, at);  // stay on the last sample
  return false;
}

bool SampleCursor::PreviousBlock() {
  if (!valid_ || block_ == 0) return false;
  const size_t here = block_;
  const DataBlockList& blocks = Blocks();
  if (Load(block_ - 1, blocks[block_ - 1]->GetSampleCount() - 1)) return true;
  (void)Load(here, 0);  // stay on the first sample
  return false;
}

bool SampleCursor::continuous() const { return valid_ && Blocks()[block_]->continuous(); }

}  // namespace velmar
