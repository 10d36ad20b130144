#include "core/persisted_object.h"

#include "core/stream_values.h"

namespace velmar {

void ReadExact(IKivStream* stream, void* buffer, uint32_t size) {
  if (!stream) throw CSerialiseException{E_POINTER};
  ThrowIfFailed(ReadStreamBytes(stream, buffer, size));
}

void WriteExact(IKivStream* stream, const void* buffer, uint32_t size) {
  if (!stream) throw CSerialiseException{E_POINTER};
  ThrowIfFailed(WriteStreamBytes(stream, buffer, size));
}

std::u16string ReadText(IKivStream* stream) {
  std::u16string text;
  ThrowIfFailed(ReadStreamText(stream, &text));
  return text;
}

void WriteText(IKivStream* stream, const std::u16string& text) { ThrowIfFailed(WriteStreamText(stream, text)); }

void ExpectVersionZero(IKivStream* stream) {
  if (ReadValue<uint16_t>(stream) != 0) throw CSerialiseException{STG_E_OLDDLL};
}

}  // namespace velmar
