#include "platform/store/records_object.h"

#include <string_view>

namespace velmar::store {

std::byte* RecordArena::Allocate(size_t size) {
  pieces_.push_back(std::make_unique_for_overwrite<std::byte[]>(size == 0 ? 1 : size));
  return pieces_.back().get();
}

const char16_t* RecordArena::Text(const char16_t* text) {
  if (!text) return nullptr;
  size_t n = std::u16string_view(text).size();
  char16_t* copy = Array<char16_t>(n + 1);
  std::memcpy(copy, text, (n + 1) * sizeof(char16_t));
  return copy;
}

const Guid* RecordArena::Id(const Guid& guid) {
  Guid* copy = Array<Guid>(1);
  std::memcpy(static_cast<void*>(copy), &guid, sizeof guid);
  return copy;
}

const uint8_t* RecordArena::Bytes(std::span<const std::byte> bytes) {
  if (bytes.empty()) return nullptr;
  uint8_t* copy = Array<uint8_t>(bytes.size());
  std::memcpy(copy, bytes.data(), bytes.size());
  return copy;
}

}  // namespace velmar::store
