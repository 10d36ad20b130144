// A channel's samples: blocks as written, each kept as chunks of
// kSamplesPerChunk samples with their own first and last time, so a read of
// a time window fetches only the chunks that overlap it.
//
// Samples are stored as the bytes of the channel's sample type; an aperiodic
// chunk also keeps one 64-bit time per sample, a periodic one only the
// block's period.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/store/records_object.h"
#include "platform/store/sqlite_db.h"
#include "velmar/tarn_store.h"

namespace velmar::store {

inline constexpr int32_t kSamplesPerChunk = 1024;

// The samples with a time from `from` to `to`, both included, as one record
// per stretch of a block, in time order. E_INVALIDARG for an unknown
// channel, DISP_E_TYPEMISMATCH for one whose sample type has no layout.
[[nodiscard]] KivResult ReadChannelData(Connection& db, uint64_t channelId, KivTime from, KivTime to,
                                        RecordsObject<TarnChannelData>* out);

// Stores block i for channel ids[i]; one block id per block.
[[nodiscard]] KivResult AddChannelData(Connection& db, std::span<const uint64_t> ids,
                                       std::span<const TarnChannelData> records,
                                       std::vector<uint64_t>* blockIds);
// Removes all samples of each channel.
[[nodiscard]] KivResult ClearChannelData(Connection& db, std::span<const uint64_t> ids);
// Removes each channel's samples with a time from `from` to `to`; blocks cut
// in two keep both ends as blocks of their own.
[[nodiscard]] KivResult RemoveChannelData(Connection& db, std::span<const uint64_t> ids, KivTime from,
                                          KivTime to);
// Removes all samples of one channel, known to exist.
[[nodiscard]] KivResult DeleteSamples(Connection& db, uint64_t channelId);

}  // namespace velmar::store
