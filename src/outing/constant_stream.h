// The "Constant Data" stream of the global constants: a header (u32 12,
// u32 1, u32 count of records), then per record the name, the value (8-byte
// double), the definition text and the unit. Texts: u32 byte length L, then
// L-2 bytes of UTF-16 and two zero bytes; L = 0 is a null text. Little-endian.
//
// A spreadsheet constant's value is written as it stands (0) and dropped on
// reading. Any thread, one stream at a time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/constants_cache_base.h"
#include "velmar/storage.h"

namespace velmar {

inline constexpr uint32_t kConstantDataHeaderSize = 12;
inline constexpr uint32_t kConstantDataVersion = 1;
// Longest text a stream may hold, in bytes.
inline constexpr uint32_t kMaxStreamTextBytes = 0x100000;

// Cuts the stream to nothing and writes the header and every record.
[[nodiscard]] KivResult WriteConstantData(IKivStream* stream, const std::vector<ConstantRecord>& records);
// Raises the header's count by the new records and appends them at the end.
[[nodiscard]] KivResult AppendConstantData(IKivStream* stream, const std::vector<ConstantRecord>& records);
// Reads from the start. E_FAIL for a bad header, a short stream or a bad text;
// E_ACCESSDENIED for a text longer than kMaxStreamTextBytes.
[[nodiscard]] KivResult ReadConstantData(IKivStream* stream, std::vector<ConstantRecord>* records);

// One text in the stream's text form, at the current position. Reading
// gives the stream back its position when it fails.
[[nodiscard]] KivResult WriteStreamText(IKivStream* stream, const std::u16string& text);
[[nodiscard]] KivResult ReadStreamText(IKivStream* stream, std::u16string* text);

}  // namespace velmar
