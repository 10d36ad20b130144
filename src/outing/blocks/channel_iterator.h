// The iterator of a channel: finds a time or a value in the channel's blocks.
// Used on the client thread only.
#pragma once

#include <memory>

#include "outing/blocks/data_blocks.h"
#include "velmar/data_block.h"

namespace velmar {

// The time range of the data selection that a channel's factory is bound to;
// what a search with range 1 is limited to.
struct IKivSelectionRange : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{8EF04712-A865-4540-A797-6233F516F77E}");
  virtual KivResult GetSelectionRange(KivTime* start, KivTime* end) = 0;
};

class CChannelIterator final : public KivObject<IKivChannelIterator2> {
 public:
  // `blocks` in time order (may be null: no data). `channel`, when given, is
  // kept alive as long as the iterator; a channel that holds its iterator
  // must drop it to end that cycle. `selection` answers range 1; without one
  // a search with range 1 gives E_FAIL.
  CChannelIterator(std::shared_ptr<const DataBlockList> blocks, ComPtr<IKivUnknown> channel,
                   ComPtr<IKivSelectionRange> selection)
      : blocks_(std::move(blocks)), channel_(std::move(channel)), selection_(std::move(selection)) {}

  // IKivChannelIterator
  KivResult GetDataBlocks(IKivDataBlocks** blocks) override;
  KivResult FindBlock(KivTime time, int32_t mode, uint32_t range, uint32_t* block,
                      uint32_t* sampleIndex) override;
  KivResult GetSampleAtTime(KivTime time, int32_t mode, uint32_t range, KivTime* sampleTime,
                            double* value) override;
  KivResult FindTimeOfValue(double value, uint32_t mode, uint32_t range, KivTime* time) override;
  KivResult GetValueAtTime(KivTime time, uint32_t mode, uint32_t range, double* value) override;
  KivResult GetSampleTime(KivTime time, int32_t mode, uint32_t range, KivTime* sampleTime) override;
  // IKivChannelIterator2
  KivResult GetLastSample(KivTime* time, double* value) override;
  KivResult GetEndTime(KivTime* end) override;
  KivResult GetLastValue(double* value) override;

  // The search behind FindBlock, GetSampleAtTime and GetSampleTime: S_OK with
  // a block (from 0) and sample index, S_FALSE for no sample. It may move
  // `time` to just outside the searched range.
  [[nodiscard]] KivResult Locate(KivTime* time, int32_t mode, uint32_t range, size_t* block, uint32_t* index);
  const std::shared_ptr<const DataBlockList>& blockList() const { return blocks_; }

 private:
  const DataBlockList& Blocks() const;
  // First start and last end, narrowed to the selection for range 1.
  [[nodiscard]] KivResult Bounds(uint32_t range, KivTime* lo, KivTime* hi);
  [[nodiscard]] KivResult LocateInBlocks(KivTime time, int32_t mode, KivTime lo, KivTime hi, size_t* block,
                                         uint32_t* index);
  [[nodiscard]] KivResult ValueInGap(size_t before, KivTime time, uint32_t mode, double* value);
  [[nodiscard]] KivResult LastSampleOf(size_t block, KivTime* time, double* value);
  size_t FirstBlockForValueSearch(KivTime lo) const;

  std::shared_ptr<const DataBlockList> blocks_;
  ComPtr<IKivUnknown> channel_;
  ComPtr<IKivSelectionRange> selection_;
};

}  // namespace velmar
