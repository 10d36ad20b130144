#include "velmar/guid.h"

#include <cstdio>
#include <random>

#include "velmar/text.h"

namespace velmar {

std::optional<Guid> Guid::Parse(std::u16string_view text) {
  std::string narrow;
  narrow.reserve(text.size());
  for (char16_t c : text) {
    if (c > 0x7F) return std::nullopt;
    narrow.push_back(static_cast<char>(c));
  }
  return Parse(std::string_view(narrow));
}

Guid Guid::New() {
  thread_local std::mt19937_64 rng{std::random_device{}()};
  uint64_t hi = rng(), lo = rng();
  Guid g;
  g.data1 = static_cast<uint32_t>(hi >> 32);
  g.data2 = static_cast<uint16_t>(hi >> 16);
  g.data3 = static_cast<uint16_t>((hi & 0x0FFF) | 0x4000);  // version 4
  for (int i = 0; i < 8; ++i) g.data4[i] = static_cast<uint8_t>(lo >> (56 - 8 * i));
  g.data4[0] = static_cast<uint8_t>((g.data4[0] & 0x3F) | 0x80);  // RFC 4122 variant
  return g;
}

std::string Guid::ToString() const {
  char buf[39];
  std::snprintf(buf, sizeof buf, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}", data1,
                data2, data3, data4[0], data4[1], data4[2], data4[3], data4[4], data4[5], data4[6],
                data4[7]);
  return buf;
}

std::u16string Guid::ToWide() const { return Utf8ToWide(ToString()); }

size_t GuidHash::operator()(const Guid& g) const noexcept {
  uint64_t a = (uint64_t{g.data1} << 32) | (uint64_t{g.data2} << 16) | g.data3;
  uint64_t b = 0;
  for (uint8_t x : g.data4) b = (b << 8) | x;
  return std::hash<uint64_t>{}(a ^ (b * 0x9E3779B97F4A7C15ULL));
}

}  // namespace velmar
