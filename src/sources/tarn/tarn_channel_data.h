// A channel's samples as the store gives them, turned into the sections that
// the outing's data blocks read: values as doubles, periodic blocks without
// times, aperiodic blocks with their own.
//
// Pure functions; any thread (the store thread runs them).
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "outing/channels/channel_sections.h"
#include "outing/blocks/data_block_section.h"
#include "velmar/tarn_store.h"

namespace velmar {

// Whether every record can be read: a count above 0, samples and times
// given, and an aperiodic record's first time equal to its first time value.
[[nodiscard]] bool ValidChannelData(std::span<const TarnChannelData> records);

// The samples of `count` values of `sampleType` (0..7) as doubles.
LockedArray<double> SamplesAsDoubles(const void* samples, uint32_t count, uint32_t sampleType);

// The sections of a channel's records, one per record, each with the
// store's second flag as its `continuous`. Records that are not all valid (see
// above), or that no section can hold (a period of 0 or less, falling times,
// a sample type above 7), give no blocks at all: one bad record spoils the
// read, not just itself. With `owner`, which keeps the records' arrays
// alive, double samples are not copied: the sections keep them in place.
ChannelSections ChannelBlocks(std::span<const TarnChannelData> records, uint32_t sampleType,
                              const std::shared_ptr<const void>& owner = {});

}  // namespace velmar
