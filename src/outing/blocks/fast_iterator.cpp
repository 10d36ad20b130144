#include "outing/blocks/fast_iterator.h"

#include <span>

#include "outing/time/time.h"

namespace velmar {

void CFastIterator::Attach(IKivChannelIterator* iterator) {
  *this = CFastIterator();
  if (!iterator) return;
  iterator_ = iterator;
  if (Failed(iterator_->GetDataBlocks(blocks_.Put()))) blocks_ = nullptr;
}

void CFastIterator::Start(KivTime t) {
  started_ = true;
  index_ = -1;
  if (!blocks_ || Failed(blocks_->GetCount(&blockCount_)) || blockCount_ == 0) return;
  // The last sample at or before t; none found starts at the very first.
  uint32_t number = 1;
  uint32_t index = 0;
  KivTime after = CheckedAddTicks(t, 1).value_or(kTimeMax);
  if (iterator_->FindBlock(after, kFindLastBefore, kRangeWholeChannel, &number, &index) != S_OK) {
    number = 1;
    index = 0;
  }
  blockNumber_ = number;
  if (!LoadBlock()) return;
  havePrevious_ = false;  // the walk has passed no sample yet
  index_ = index < sampleCount_ ? index : 0;
}

bool CFastIterator::LoadBlock() {
  block_ = nullptr;
  values_ = nullptr;
  times_ = nullptr;
  sampleCount_ = 0;
  ComPtr<IKivDataBlock> block;
  std::span<const double> values;
  KivBool continuous = KIV_FALSE;
  KivBool periodic = KIV_FALSE;
  if (Failed(blocks_->GetBlock(blockNumber_, block.Put())) || !block ||
      Failed(block->GetValuesReference(&values)) || values.empty() ||
      Failed(block->GetContinuous(&continuous)) || Failed(block->GetPeriodic(&periodic))) {
    return false;
  }
  if (FromKivBool(periodic)) {
    if (Failed(block->GetStartTime(&firstTime_)) || Failed(block->GetInterval(&interval_))) return false;
  } else {
    std::span<const KivTime> times;
    if (Failed(block->GetTimesReference(&times)) || times.size() < values.size()) return false;
    times_ = times.data();
  }
  // Interpolation reaches back only over a continuous boundary.
  havePrevious_ = blockNumber_ > 1 && FromKivBool(continuous);
  values_ = values.data();
  sampleCount_ = static_cast<int64_t>(values.size());
  block_ = std::move(block);
  return true;
}

bool CFastIterator::NextBlock() {
  if (blockNumber_ >= blockCount_) {
    index_ = -1;
    return false;
  }
  ++blockNumber_;
  index_ = 0;
  if (!LoadBlock()) {
    index_ = -1;
    return false;
  }
  return true;
}

}  // namespace velmar
