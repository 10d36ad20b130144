// The channel of a file source (text, MAT-file, spreadsheet): its column is
// loaded with the outing, and the channel turns it into blocks on first
// demand.
//
// PrepareData, run by the first evaluation of the status (or the first
// GetIterator): the cache gives the raw column of the channel's key; the
// column is split into sections once, scaled from the channel's unit to its
// quantity's base unit; one block per section, each but the first marked
// continuous, so the channel is one line and gaps interpolate across.
// A column with no samples, or one that cannot be read, leaves the channel
// not available with the detail "no samples".
//
// Client thread only.
#pragma once

#include <memory>
#include <string>

#include "outing/channels/channel_data_lock.h"
#include "outing/channels/channel_impl.h"
#include "outing/channels/channel_raw.h"
#include "outing/channels/channel_scaling.h"
#include "velmar/units.h"

namespace velmar {

// What a file cache offers its channels.
class CRawChannelSource {
 public:
  virtual uint32_t AddRef() = 0;
  virtual uint32_t Release() = 0;
  // The loaded column of `key`; null when the data is not loaded (a load is
  // then started) or holds no such column.
  virtual std::shared_ptr<CRawChannelBase> GetRawChannel(const CChannelKey& key) = 0;

 protected:
  ~CRawChannelSource() = default;
};

class CFileChannel final : public IKivChannelImpl<CFileChannel, IKivDataCacheImpl> {
 public:
  CFileChannel() = default;

  // Set-up by the outing's channel factory; see IKivChannelImpl::BindChannel.
  // `unit` comes from the channel's property; `units` converts it (null:
  // values as stored).
  void Bind(std::u16string name, CChannelKey key, ComPtr<IKivUnknown> binding, ComPtr<CRawChannelSource> cache,
            ChannelUnit unit, ComPtr<IKivUnits> units);

 protected:
  bool PrepareData() override;
  KivResult PrepareBlocks() override;
  uint32_t GetDetail() override;
  void OnDetach() override;

 private:
  ~CFileChannel() override = default;

  ComPtr<CRawChannelSource> cache_;
  ChannelUnit unit_;
  ComPtr<IKivUnits> units_;
  bool prepared_ = false;
};

}  // namespace velmar
