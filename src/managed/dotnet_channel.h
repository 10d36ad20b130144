// A plug-in channel as the library's channel: its blocks between the
// extreme times, laid into a block list on the first read, with each block's
// values fetched from the plug-in in one call. A plug-in that raises leaves
// the channel "not available"; its reports reach the channel's clients.
//
// Client thread only.
#pragma once

#include <memory>
#include <string>

#include "managed/dotnet_data_item.h"
#include "outing/blocks/data_blocks.h"
#include "velmar/channel.h"

namespace velmar::managed {

class CDotNetChannel final : public CDotNetDataItem<CDotNetChannel, IKivChannel, PluginChannel> {
 public:
  CDotNetChannel(std::u16string name, std::unique_ptr<PluginChannel> channel)
      : CDotNetDataItem(std::move(name), std::move(channel)) {}

  KivResult GetIterator(IKivChannelIterator2** iterator) override;

 private:
  bool Fetch() override;
  void Forget() override { blocks_ = nullptr; }

  std::shared_ptr<const DataBlockList> blocks_;  // null until read
};

}  // namespace velmar::managed
