// Objects that keep themselves in one stream of the settings file, and the
// stream helpers their readers and writers use. A helper throws
// CSerialiseException with the stream's code on any failure (a short read
// is E_FAIL); the operation that owns the stream catches it and gives the
// code at its interface.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>

#include "core/stream_values.h"
#include "velmar/guid.h"
#include "velmar/result.h"
#include "velmar/storage.h"
#include "velmar/unknown.h"

namespace velmar {

struct CSerialiseException {
  KivResult code = E_FAIL;
};

inline void ThrowIfFailed(KivResult r) {
  if (Failed(r)) throw CSerialiseException{r};
}

void ReadExact(IKivStream* stream, void* buffer, uint32_t size);
void WriteExact(IKivStream* stream, const void* buffer, uint32_t size);

template <class T>
T ReadValue(IKivStream* stream) {
  static_assert(std::is_trivially_copyable_v<T>);
  T value{};
  ReadExact(stream, &value, sizeof value);
  return value;
}

template <class T>
void WriteValue(IKivStream* stream, T value) {
  static_assert(std::is_trivially_copyable_v<T>);
  WriteExact(stream, &value, sizeof value);
}

std::u16string ReadText(IKivStream* stream);
void WriteText(IKivStream* stream, const std::u16string& text);
// The next u16 must be 0 (the version of a small stream or of one element).
void ExpectVersionZero(IKivStream* stream);

// Runs `body`; a thrown exception becomes its code, else S_OK.
template <class F>
KivResult CatchSerialise(F&& body) {
  try {
    body();
    return S_OK;
  } catch (const CSerialiseException& e) {
    return e.code;
  }
}

// Rewrites an open stream from its start: seek to 0, size 0, `write`.
template <class F>
KivResult RewriteStream(IKivStream* stream, F&& write) {
  if (!stream) return E_FAIL;
  return CatchSerialise([&] {
    ThrowIfFailed(stream->Seek(0, STREAM_SEEK_SET, nullptr));
    ThrowIfFailed(stream->SetSize(0));
    write(stream);
  });
}

// Writes `stream` again from its start and cuts it where the writing ended:
// the stores that report their own changes (common channels, real-time
// settings) keep their old bytes until the new ones are in.
template <class F>
KivResult OverwriteStream(IKivStream* stream, F&& write) {
  if (!stream) return E_FAIL;
  return CatchSerialise([&] {
    ThrowIfFailed(stream->Seek(0, STREAM_SEEK_SET, nullptr));
    write(stream);
    ThrowIfFailed(EndStreamHere(stream));
  });
}

// An object kept in one stream of the settings file.
struct CPersistedObject : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{9C3A7E52-41D8-4F0B-A6E2-5B18C0D47F93}");
  // Back to the defaults.
  virtual KivResult Reset() = 0;
  // Reads from the current position; a null stream means Reset.
  virtual KivResult Load(IKivStream* stream) = 0;
  // Writes from the current position.
  virtual KivResult Save(IKivStream* stream) = 0;
};

}  // namespace velmar
