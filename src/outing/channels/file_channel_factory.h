// CFileChannelFactory<Cache>: the channels of a file outing whose cache
// loads whole columns (a MAT-file; a text data set may share it). One channel
// per loaded name, made on first demand with its key and unit from the
// root's channel property database and the column's own unit text, reading
// its column from the cache when first read, until the data is discarded.
//
// Cache gives EnsureLoaded(), ChannelNames() and is a CRawChannelSource.
// Client thread only.
#pragma once

#include <new>
#include <string>

#include "outing/channels/channel_file.h"
#include "outing/channels/selection_binding.h"
#include "outing/factory/outing_data_factory.h"
#include "velmar/units.h"

namespace velmar {

// A new channel of a loaded column: its key and unit resolved from `name`,
// the column's `unitText` and the channel property database of `root` (when
// it is the root), reading through `cache`, bound to the selection `binding`.
ComPtr<CFileChannel> MakeLoadedChannel(const std::u16string& name, std::u16string_view unitText, IKivUnknown* root,
                                       ComPtr<IKivSelectionRange> binding, ComPtr<CRawChannelSource> cache, ComPtr<IKivUnitTable>& unitTable,
                                       KivTime timeOffset);

template <class Cache>
class CFileChannelFactory : public COutingDataFactory<ComPtr<CFileChannel>, IKivChannelFactory> {
 public:
  // KIV_E_PENDING while loading (the load is asked for), E_INVALIDARG for a
  // name the data set does not have, E_FAIL while no data selection holds
  // the outing (see selection_binding.h).
  KivResult GetItem(const std::u16string& name, IKivChannel** channel) override {
    if (!channel) return E_POINTER;
    *channel = nullptr;
    if (!cache_ || !cache_->EnsureLoaded()) return KIV_E_PENDING;
    if (!listed()) FillNames();
    auto it = items().find(name);
    if (it == items().end()) return E_INVALIDARG;
    const ComPtr<IKivSelectionRange> binding = SelectionBindingOf(this->parent());
    if (!binding) return E_FAIL;
    try {
      if (!it->second) {
        ComPtr<IKivUnknown> root;
        if (Failed(GetRoot(root.Put()))) root = nullptr;
        it->second = MakeLoadedChannel(name, UnitText(name), root.Get(), binding, ComPtr<CRawChannelSource>(cache_),
                                       unitTable_, timeOffset_ ? *timeOffset_ : 0);
      }
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
    return GiveOut(static_cast<IKivChannel*>(it->second.Get()), channel);
  }
  // `timeOffset`: the outing's offset, which every new channel starts with.
  void Bind(Cache* cache, const KivTime* timeOffset) {
    cache_ = cache;
    timeOffset_ = timeOffset;
  }
  NameList Refill() { return AddNames(cache_->ChannelNames()); }
  // Shifts every channel made so far, in name order; the first failure stops
  // the walk and is given back.
  [[nodiscard]] KivResult ShiftChannels(KivTime offset) {
    for (auto& [name, channel] : items()) {
      if (!channel) continue;
      if (KivResult r = channel->SetTimeOffset(offset); r != S_OK) return r;
    }
    return S_OK;
  }

 protected:
  ~CFileChannelFactory() = default;
  // The unit text the column carried; none by default.
  virtual std::u16string UnitText(const std::u16string& name) {
    (void)name;
    return {};
  }
  Cache* cache() const { return cache_; }

  void FillNames() override {
    if (cache_ && cache_->EnsureLoaded()) (void)Refill();
  }
  // The channel goes: its sinks hear that it was removed.
  void DropItem(const std::u16string&, ComPtr<CFileChannel>& channel) override {
    if (channel) channel->Detach();
    channel = nullptr;
  }

 private:
  Cache* cache_ = nullptr;
  const KivTime* timeOffset_ = nullptr;
  ComPtr<IKivUnitTable> unitTable_;  // made on first use
};

}  // namespace velmar
