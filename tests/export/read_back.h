// Reads a written channel back through a fresh outing's channel factory, as
// a client would: held by a selection (a stand-in when none holds it), the
// list, then the data, settling the client thread whenever the answer is
// "pending".
#pragma once

#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/selection_binding.h"
#include "velmar/channel.h"
#include "velmar/channel_key.h"
#include "velmar/data_block.h"
#include "velmar/data_factory.h"

namespace velmar::testing {

using Samples = std::vector<std::pair<KivTime, double>>;

// The samples of the channel shown as `display` (its key's name); none when
// the outing has no such channel.
inline Samples ReadBackChannel(IKivChannelFactory* channels, const std::u16string& display,
                               const std::function<bool()>& settle) {
  ComPtr<IKivUnknown> parent;
  std::optional<BoundSelection> bound;
  if (Failed(channels->GetParent(parent.Put()))) bound.emplace(channels);
  NameList names;
  (void)channels->GetNames(&names);
  EXPECT_TRUE(settle());
  EXPECT_EQ(channels->GetNames(&names), S_OK);
  auto named = std::find_if(names.begin(), names.end(),
                            [&](const std::u16string& n) { return ChannelDisplayName(n) == display; });
  ComPtr<IKivChannel> channel;
  if (named == names.end() || Failed(channels->GetItem(*named, channel.Put()))) return {};
  ComPtr<IKivChannelIterator2> it;
  if (channel->GetIterator(it.Put()) == KIV_E_PENDING) {
    EXPECT_TRUE(settle());
    EXPECT_EQ(channel->GetIterator(it.Put()), S_OK);
  }
  Samples samples;
  ComPtr<IKivDataBlocks> blocks;
  uint32_t count = 0;
  if (!it || Failed(it->GetDataBlocks(blocks.Put())) || Failed(blocks->GetCount(&count))) return {};
  for (uint32_t b = 1; b <= count; ++b) {
    ComPtr<IKivDataBlock> block;
    std::vector<KivTime> times;
    std::vector<double> values;
    if (Failed(blocks->GetBlock(b, block.Put())) || Failed(block->GetTimes(&times)) ||
        Failed(block->GetValues(&values))) {
      ADD_FAILURE() << "block " << b << " unreadable";
    }
    for (size_t i = 0; i < times.size(); ++i) samples.push_back({times[i], values[i]});
  }
  return samples;
}

}  // namespace velmar::testing
