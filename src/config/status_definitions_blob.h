// The status definitions blob: our reader and writer of its bytes.
//
// Layout (little-endian; texts as in platform/byte_cursor.h):
//   "KSD1" magic, u32 definition count, then per definition:
//     text name (the status channel's display name), u32 value,
//     u32 bit field count, then per bit field:
//       text textA, text textB, u32 valueA, text textC, u32 valueB,
//       u32 entry count, then per entry: text text, u32 valueA, u32 valueB.
// Nothing may follow the last definition. A blob is at most
// kMaxStatusDefinitionsBlob bytes.
//
// Any thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "velmar/result.h"

namespace velmar {

inline constexpr size_t kMaxStatusDefinitionsBlob = 4u << 20;

struct StatusBitEntry {
  std::u16string text;
  uint32_t valueA = 0;
  uint32_t valueB = 0;
  friend bool operator==(const StatusBitEntry&, const StatusBitEntry&) = default;
};

struct StatusBitField {
  std::u16string textA, textB;
  uint32_t valueA = 0;
  std::u16string textC;
  uint32_t valueB = 0;
  std::vector<StatusBitEntry> entries;
  friend bool operator==(const StatusBitField&, const StatusBitField&) = default;
};

struct StatusDefinitionSource {
  std::u16string name;
  uint32_t value = 0;
  std::vector<StatusBitField> fields;
  friend bool operator==(const StatusDefinitionSource&, const StatusDefinitionSource&) = default;
};

// The blob's definitions, or E_FAIL for bytes that are not such a blob
// (wrong magic, a count or length beyond the bytes, bytes left over, too big).
[[nodiscard]] KivResult ParseStatusDefinitionsBlob(std::span<const uint8_t> blob,
                                                   std::vector<StatusDefinitionSource>* definitions);
std::vector<uint8_t> WriteStatusDefinitionsBlob(const std::vector<StatusDefinitionSource>& definitions);

}  // namespace velmar
