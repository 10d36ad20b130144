// Fixed-layout headers of settings streams: little-endian fields read from
// and written into a byte array at their offsets (this platform is
// little-endian, as the files are).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace velmar {

template <class T, size_t N>
T GetField(const std::array<uint8_t, N>& bytes, size_t at) {
  static_assert(std::is_trivially_copyable_v<T>);
  T value;
  std::memcpy(&value, bytes.data() + at, sizeof value);
  return value;
}

template <class T, size_t N>
void PutField(std::array<uint8_t, N>& bytes, size_t at, T value) {
  static_assert(std::is_trivially_copyable_v<T>);
  std::memcpy(bytes.data() + at, &value, sizeof value);
}

}  // namespace velmar
