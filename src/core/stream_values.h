// Values in the streams of the settings file: little-endian numbers and
// texts. A text is a u32 byte length L, then, if L is not 0, L-2 bytes of
// UTF-16 and two zero bytes; L = 0 is a null text, read as empty.
//
// Any thread, one stream at a time.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/storage.h"

namespace velmar {

// Longest text a stream may hold, in bytes.
inline constexpr uint32_t kMaxStreamTextBytes = 0x100000;

// Every byte or a failure: a short read is E_FAIL, a short write
// STG_E_WRITEFAULT.
[[nodiscard]] KivResult ReadStreamBytes(IKivStream* stream, void* buffer, uint32_t size);
[[nodiscard]] KivResult WriteStreamBytes(IKivStream* stream, const void* buffer, uint32_t size);
[[nodiscard]] KivResult ReadStreamU32(IKivStream* stream, uint32_t* value);
[[nodiscard]] KivResult WriteStreamU32(IKivStream* stream, uint32_t value);

// One text at the current position. Writing: E_INVALIDARG for a text longer
// than kMaxStreamTextBytes. Reading: E_FAIL for L = 1, an odd L or a short
// stream, E_ACCESSDENIED for L above kMaxStreamTextBytes; a failed read gives
// the stream back its position and leaves `text` alone.
[[nodiscard]] KivResult WriteStreamText(IKivStream* stream, const std::u16string& text);
[[nodiscard]] KivResult ReadStreamText(IKivStream* stream, std::u16string* text);
// The stream ends at its seek position (what lay beyond goes).
[[nodiscard]] KivResult EndStreamHere(IKivStream* stream);
// The stream is one u32 `value` from its start.
[[nodiscard]] KivResult RewriteStreamU32(IKivStream* stream, uint32_t value);

// The bytes WriteStreamText writes for `text`.
uint64_t StreamTextSize(const std::u16string& text);

}  // namespace velmar
