// The native store's channel: its data is fetched per channel, when a client
// first asks for the iterator, and not with the outing.
//
// GetIterator with no iterator yet: the status must be available, else
// KIV_E_PENDING. The channel then asks the outing's channel data cache for
// its sections; when they are not there yet a fetch starts (or is already
// running), the channel waits on it and the answer is KIV_E_PENDING. When
// the fetch ends the channel hears OnData: available (or not available, and
// a data failure notification) over the whole range, and its sinks are told.
// The next GetIterator finds the sections and makes the blocks.
//
// A change to unknown drops the blocks and the iterator, so the next
// GetIterator asks afresh.
//
// Client thread only.
#pragma once

#include <string>

#include "outing/channels/channel_data_cache.h"
#include "outing/channels/channel_data_lock.h"
#include "outing/channels/channel_impl.h"

namespace velmar {

class CChannel final : public IKivChannelImpl<CChannel, IKivDataCacheImpl>, private CChannelDataClient {
 public:
  CChannel() = default;

  // Set-up by the outing's channel factory; see IKivChannelImpl::BindChannel.
  // `cache` gives the sections of this channel's key.
  void Bind(std::u16string name, CChannelKey key, ComPtr<IKivUnknown> binding, ComPtr<CChannelDataCache> cache);

  // The fetch of this channel's data ended (called by the cache's machine).
  void OnData(bool ok, KivTime from, KivTime to) override;
  // The outing was reloaded: blocks and iterator go, and the sinks hear of a
  // change over the whole range; the next GetIterator fetches again.
  void OnDataDropped() override;

 protected:
  bool PrepareData() override { return true; }
  KivResult PrepareBlocks() override;
  void OnStatusChanged(DataStatus status, KivTime from, KivTime to) override;
  void OnDetach() override;

 private:
  ~CChannel() override;
  IKivUnknown* ClientIdentity() override { return PrimaryUnknown(); }

  ComPtr<CChannelDataCache> cache_;
};

}  // namespace velmar
