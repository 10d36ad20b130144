// Channel descriptions: one row per channel, read without touching samples.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/store/records_object.h"
#include "platform/store/sqlite_db.h"
#include "velmar/tarn_store.h"

namespace velmar::store {

[[nodiscard]] KivResult ReadChannelList(Connection& db, RecordsObject<TarnChannelDescription>* out);
[[nodiscard]] KivResult AddChannels(Connection& db, std::span<const TarnChannelDescription> records,
                                    std::vector<uint64_t>* ids);
[[nodiscard]] KivResult ModifyChannels(Connection& db, std::span<const TarnChannelDescription> records);
// Removes the channels and all their samples.
[[nodiscard]] KivResult RemoveChannels(Connection& db, std::span<const uint64_t> ids);

// What the sample store needs to know of a channel.
struct ChannelInfo {
  uint32_t sampleType = 0;
  // The longest time any one chunk of the channel spans: a chunk that
  // overlaps a window starts no earlier than this before it.
  int64_t maxChunkSpan = 0;
};
// E_INVALIDARG for an unknown id.
[[nodiscard]] KivResult ReadChannelInfo(Connection& db, uint64_t id, ChannelInfo* info);
[[nodiscard]] KivResult WidenChunkSpan(Connection& db, uint64_t id, int64_t span);

}  // namespace velmar::store
