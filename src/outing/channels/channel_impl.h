// What every channel object shares, whatever its source: the iterator made
// on first demand over the channel's blocks, the time offset given to each
// block, the key, the selection binding, set-up and detaching.
//
// IKivChannelImpl<Owner, Extra...> sits on IKivDataImpl (data_status_item.h).
// The derived channel says how its blocks come to be (PrepareBlocks): a file
// channel splits its loaded column, the native channel fetches its sections.
//
// The channel and its iterator refer to each other: the channel drops the
// iterator when its data goes (Detach, or a reset of a native channel), which
// ends the cycle.
//
// Client thread only.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "outing/channels/channel_blocks.h"
#include "outing/blocks/channel_iterator.h"
#include "velmar/channel_key.h"
#include "outing/status/data_status_item.h"
#include "velmar/channel.h"

namespace velmar {

// Masks every floating-point exception (invalid, denormal, zero divide,
// overflow, underflow, inexact) on the calling thread: a client reading
// samples must never trap on a NaN.
void MaskFloatingPointExceptions();

template <class Owner, class... Extra>
class IKivChannelImpl : public IKivDataImpl<Owner, IKivChannel, Extra...> {
 public:
  // IKivChannel. The iterator of this channel, made once. KIV_E_PENDING while
  // the data is not there; the next change notification says when to ask again.
  KivResult GetIterator(IKivChannelIterator2** iterator) override {
    if (!iterator) return E_POINTER;
    *iterator = nullptr;
    MaskFloatingPointExceptions();
    if (!iterator_) {
      const KivResult hr = PrepareBlocks();
      if (hr != S_OK) return Failed(hr) ? hr : KIV_E_PENDING;
      try {
        iterator_ = MakeKiv<CChannelIterator>(blocks_, ComPtr<IKivUnknown>(this->PrimaryUnknown()),
                                              QueryAs<IKivSelectionRange>(binding_.Get()));
      } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
      }
    }
    return GiveOut(static_cast<IKivChannelIterator2*>(iterator_.Get()), iterator);
  }

  // Set-up by the factory: name and key, the selection binding (answers
  // range 1 of the iterator; may be null). The channel starts available,
  // the whole range changed, with no blocks yet.
  void BindChannel(std::u16string name, CChannelKey key, ComPtr<IKivUnknown> binding) {
    this->SetName(std::move(name));
    key_ = std::move(key);
    binding_ = std::move(binding);
    this->SetStatusRange(DataStatus::kAvailable, TimeRange::Whole());
  }

  // Shifts the channel. With blocks present every block moves, all or none
  // (E_INVALIDARG and nothing changed when one would leave the tick range);
  // with an iterator out, the sinks then hear of a change over the whole
  // range. Without blocks only the offset is kept for the blocks to come.
  [[nodiscard]] KivResult SetTimeOffset(KivTime offset) {
    if (IsUnboundedTime(offset)) return E_INVALIDARG;
    if (blocks_) {
      const KivResult hr = MoveBlocks(*blocks_, offset);
      if (Failed(hr)) return hr;
    }
    timeOffset_ = offset;
    if (iterator_) this->OnStatusChanged(DataStatus::kUnknown, kTimeMin, kTimeMax);
    return S_OK;
  }

  // The channel goes: the sinks hear of its removal, blocks and iterator
  // are dropped and every reference it holds is let go. A reference on the
  // channel is held across.
  void Detach() {
    ComPtr<IKivUnknown> keep(this->PrimaryUnknown());
    this->FireRemoved();
    DropBlocks();
    binding_ = nullptr;
    OnDetach();
  }

  const CChannelKey& key() const { return key_; }
  KivTime timeOffset() const { return timeOffset_; }
  // The blocks made so far; null before the first read or after a reset.
  const std::shared_ptr<DataBlockList>& blocks() const { return blocks_; }
  bool has_iterator() const { return static_cast<bool>(iterator_); }

 protected:
  IKivChannelImpl() = default;
  ~IKivChannelImpl() override = default;

  // Makes blocks() ready: S_OK with blocks, KIV_E_PENDING (or S_FALSE) while
  // the data is not there, a failure code as it stands.
  [[nodiscard]] virtual KivResult PrepareBlocks() = 0;
  // Detach: let go of what the derived channel holds.
  virtual void OnDetach() {}

  uint32_t GetDetail() override { return detail_; }
  void SetDetail(uint32_t detail) { detail_ = detail; }
  uint32_t detail() const { return detail_; }

  // Blocks over `sections` at the channel's offset; E_OUTOFMEMORY, E_INVALIDARG.
  [[nodiscard]] KivResult MakeBlocks(const ChannelSections& sections, BlockContinuity continuity) {
    std::shared_ptr<DataBlockList> made;
    const KivResult hr = BuildBlocks(sections, timeOffset_, continuity, &made);
    if (Succeeded(hr)) blocks_ = std::move(made);
    return hr;
  }
  void DropBlocks() {
    blocks_.reset();
    iterator_ = nullptr;
  }
  void OnInputReset() override {}

 private:
  CChannelKey key_;
  ComPtr<IKivUnknown> binding_;
  std::shared_ptr<DataBlockList> blocks_;
  ComPtr<CChannelIterator> iterator_;
  KivTime timeOffset_ = 0;
  uint32_t detail_ = kDetailHasSamples;
};

}  // namespace velmar
