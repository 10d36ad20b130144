// The occurrences of an event set as the outing keeps them, copied out of
// the store's event records.
//
// Pure functions; any thread (the store thread runs them).
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "velmar/tarn_store.h"

namespace velmar {

struct CCachedEventData {
  uint64_t id = 0;
  KivTime time = 0;
  std::u16string name;
  std::u16string source;
  std::u16string message;
  std::vector<uint8_t> payload;
  std::array<uint8_t, kTarnEventFixedDataSize> fixedData{};
  uint32_t kind = 0;
};

// Whether every record can be read: the three texts and the 32-byte block
// given, payload pointer and size both set or both empty, kind 0 or 1.
[[nodiscard]] bool ValidEventRecords(std::span<const TarnEventRecord> records);

// The events of the records, or none when one record is not valid.
std::vector<CCachedEventData> CachedEvents(std::span<const TarnEventRecord> records);

}  // namespace velmar
