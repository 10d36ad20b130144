// Media channels and their video clips, with each clip's frame table.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/store/records_object.h"
#include "platform/store/sqlite_db.h"
#include "velmar/tarn_store.h"

namespace velmar::store {

[[nodiscard]] KivResult ReadMediaChannels(Connection& db, RecordsObject<TarnMediaChannelRecord>* out);
// The clips of a channel overlapping `from` to `to`; E_INVALIDARG for an unknown channel.
[[nodiscard]] KivResult ReadMediaClips(Connection& db, uint64_t channelId, KivTime from, KivTime to,
                                       RecordsObject<TarnMediaClipRecord>* out);
[[nodiscard]] KivResult AddMediaChannels(Connection& db, std::span<const TarnMediaChannelRecord> records,
                                         std::vector<uint64_t>* ids);
// Removes the channels with their clips.
[[nodiscard]] KivResult RemoveMediaChannels(Connection& db, std::span<const uint64_t> ids);
[[nodiscard]] KivResult AddMediaClips(Connection& db, std::span<const TarnMediaClipRecord> records,
                                      std::vector<uint64_t>* ids);
[[nodiscard]] KivResult SetMediaClipTimes(Connection& db, std::span<const uint64_t> ids, KivTime start, KivTime end);

}  // namespace velmar::store
