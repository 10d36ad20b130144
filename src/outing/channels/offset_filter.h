// CBasicOffsetFilter: a channel whose every sample is its input's plus a
// constant, at the same time. It mirrors the input's blocks with owned
// blocks of the same shape and computes values only when they are read, so
// a filter costs one small block per input block until someone reads.
//
// Input changes come in through WidenDirtyRange (the proxy that owns the
// filter hears the input); the next read reloads the block layout of the
// stale ranges. SetInput and SetOffset make everything stale.
//
// Client thread only.
#pragma once

#include <memory>
#include <string>

#include "outing/blocks/channel_iterator.h"
#include "outing/blocks/data_block_owned.h"
#include "outing/status/dirty_range_helper.h"
#include "velmar/filter.h"

namespace velmar {

class CBasicOffsetFilter final : public KivObject<IKivFilter3, IKivChannel>, private IKivDataBlockOwner {
 public:
  CBasicOffsetFilter();

  // IKivFilter..3
  KivResult GetInput(IKivChannel** input) override;
  KivResult SetInput(IKivChannel* input) override;
  KivResult Reserved() override { return S_OK; }
  KivResult WidenDirtyRange(KivTime* from, KivTime* to) override;
  KivResult SetParent(IKivUnknown* parent) override;
  KivResult GetId(uint32_t* id) override;
  KivResult SetId(uint32_t id) override;
  KivResult GetFlags(uint32_t* flags) override;
  KivResult SetFlags(uint32_t flags) override;
  KivResult GetFilterName(std::u16string* name) override;
  KivResult SetFilterName(const std::u16string& name) override;
  KivResult GetOffset(double* offset) override;
  KivResult SetOffset(double offset) override;
  // IKivData / IKivChannel: the input's name and status.
  KivResult GetName(std::u16string* name) override;
  KivResult GetStatus(uint32_t* status) override;
  KivResult GetIterator(IKivChannelIterator2** iterator) override;

  size_t block_count() const { return blocks_->size(); }

 private:
  // The book of the input's stale ranges, loading into this filter.
  class InputRanges final : public CDirtyRangeHelper {
   public:
    explicit InputRanges(CBasicOffsetFilter& filter) : filter_(filter) {}

   private:
    KivTime GetEnd() override;
    bool Load(KivTime from, KivTime to, bool whole) override { return filter_.Load(from, to, whole); }
    void Forget(KivTime from) override { filter_.Forget(from); }
    CBasicOffsetFilter& filter_;
  };

  ~CBasicOffsetFilter() override;

  // Mirrors the input blocks that touch [from, to] (all of them, when
  // `whole`), replacing held blocks they overlap.
  bool Load(KivTime from, KivTime to, bool whole);
  void Forget(KivTime from);
  void MarkAllStale();
  void Replace(DataBlockList blocks);
  [[nodiscard]] KivResult InputIterator(ComPtr<IKivChannelIterator2>* iterator) const;

  // IKivDataBlockOwner: the input's values plus the offset.
  KivResult ComputeValues(IKivDataBlockImplBase& block, uint32_t first, uint32_t last,
                          std::span<double> values) override;

  ComPtr<IKivChannel> input_;
  ComPtr<IKivUnknown> parent_;
  double offset_ = 0.0;
  std::u16string name_;
  uint32_t flags_ = 0;
  uint32_t id_ = 0;
  bool idSet_ = false;
  std::shared_ptr<const DataBlockList> blocks_;
  InputRanges inputDirty_{*this};
};

[[nodiscard]] KivResult CreateOffsetFilter(IKivChannel* input, double offset, ComPtr<CBasicOffsetFilter>* out);

}  // namespace velmar
