// The "Constant Data" stream of the global constants: a header (u32 12,
// u32 1, u32 count of records), then per record the name, the value (8-byte
// double), the definition text and the unit, as core/stream_values.h writes
// them.
//
// A spreadsheet constant's value is written as it stands (0) and dropped on
// reading. Any thread, one stream at a time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/constants_cache_base.h"
#include "core/stream_values.h"
#include "velmar/storage.h"

namespace velmar {

inline constexpr uint32_t kConstantDataHeaderSize = 12;
inline constexpr uint32_t kConstantDataVersion = 1;

// Cuts the stream to nothing and writes the header and every record.
[[nodiscard]] KivResult WriteConstantData(IKivStream* stream, const std::vector<ConstantRecord>& records);
// Raises the header's count by the new records and appends them at the end.
[[nodiscard]] KivResult AppendConstantData(IKivStream* stream, const std::vector<ConstantRecord>& records);
// Reads from the start. E_FAIL for a bad header, a short stream or a bad text;
// E_ACCESSDENIED for a text longer than kMaxStreamTextBytes.
[[nodiscard]] KivResult ReadConstantData(IKivStream* stream, std::vector<ConstantRecord>* records);

}  // namespace velmar
