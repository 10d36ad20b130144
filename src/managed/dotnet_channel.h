// A plug-in channel as the library's channel: its blocks between the
// extreme times, laid into a block list on the first read, with each block's
// values fetched from the plug-in in one call. A plug-in that raises leaves
// the channel "not available".
//
// Client thread only.
#pragma once

#include <memory>
#include <string>

#include "managed/plugin_seam.h"
#include "outing/blocks/data_blocks.h"
#include "velmar/channel.h"

namespace velmar::managed {

class CDotNetChannel final : public KivObject<IKivChannel> {
 public:
  CDotNetChannel(std::u16string name, std::unique_ptr<PluginChannel> channel)
      : name_(std::move(name)), channel_(std::move(channel)) {}

  KivResult GetName(std::u16string* name) override;
  KivResult GetStatus(uint32_t* status) override;
  KivResult GetIterator(IKivChannelIterator2** iterator) override;

 private:
  KivResult Read();

  std::u16string name_;
  std::unique_ptr<PluginChannel> channel_;
  std::shared_ptr<const DataBlockList> blocks_;  // null until read
  DataStatus status_ = DataStatus::kUnknown;
};

}  // namespace velmar::managed
