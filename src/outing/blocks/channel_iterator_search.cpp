#include "outing/blocks/channel_iterator_search.h"

namespace velmar {
namespace {

// The guess for `time` within blocks [low, high]: where it would lie were the
// blocks spread evenly over their span.
size_t Guess(const DataBlockList& blocks, size_t low, size_t high, KivTime time) {
  if (low == high) return low;
  const KivTime s = blocks[low]->StartTime();
  const KivTime e = blocks[high]->EndTime();
  if (time < s) return low;
  if (time > e) return high;
  if (e == s) return low;
  const double count = static_cast<double>(high - low + 1);
  const double share = count * (static_cast<double>(time) - static_cast<double>(s)) /
                       (static_cast<double>(e) - static_cast<double>(s));
  const double step = share - 0.5;  // truncated towards zero, never below 0 here
  const size_t guess = low + (step > 0.0 ? static_cast<size_t>(step) : 0);
  return guess < high ? guess : high;
}

}  // namespace

KivResult SearchBlocks(const DataBlockList& blocks, KivTime time, BlockPosition* position) {
  if (!position) return E_POINTER;
  if (blocks.empty()) return E_FAIL;
  size_t low = 0;
  size_t high = blocks.size() - 1;
  while (low <= high) {
    const size_t g = Guess(blocks, low, high, time);
    const IKivDataBlockImplBase& block = *blocks[g];
    if (time > block.EndTime()) {
      if (g >= high) {
        if (g + 1 >= blocks.size()) return E_FAIL;  // past the last block
        *position = {BlockPosition::Kind::kGapAfter, g};
        return S_OK;
      }
      low = g + 1;
    } else if (time < block.StartTime()) {
      if (g <= low) {
        if (g == 0) return E_FAIL;  // before the first block
        *position = {BlockPosition::Kind::kGapAfter, g - 1};
        return S_OK;
      }
      high = g - 1;
    } else {
      *position = {BlockPosition::Kind::kInside, g};
      return S_OK;
    }
  }
  return E_FAIL;  // blocks out of time order
}

}  // namespace velmar
