// 128-bit identities of classes, interfaces and outings, in the
// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}" text form.
#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velmar {

struct Guid {
  uint32_t data1 = 0;
  uint16_t data2 = 0;
  uint16_t data3 = 0;
  std::array<uint8_t, 8> data4{};

  // Parses the braced form at compile time; a malformed literal does not compile.
  static consteval Guid Literal(std::string_view text) {
    auto g = Parse(text);
    if (!g) throw "malformed GUID literal";
    return *g;
  }
  // Parses "{…}" (braces optional), any letter case. Nothing on malformed text.
  static constexpr std::optional<Guid> Parse(std::string_view text);
  static std::optional<Guid> Parse(std::u16string_view text);
  // A new random (version 4) identity.
  static Guid New();

  // Upper-case braced text, 38 characters.
  std::string ToString() const;
  std::u16string ToWide() const;

  constexpr bool IsNull() const { return *this == Guid{}; }
  friend constexpr bool operator==(const Guid&, const Guid&) = default;
  friend constexpr auto operator<=>(const Guid&, const Guid&) = default;
};

inline constexpr Guid GUID_NULL{};

namespace guid_detail {
constexpr int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}
constexpr std::optional<uint64_t> Hex(std::string_view s) {
  uint64_t v = 0;
  for (char c : s) {
    int h = HexValue(c);
    if (h < 0) return std::nullopt;
    v = v * 16 + static_cast<uint64_t>(h);
  }
  return v;
}
}  // namespace guid_detail

constexpr std::optional<Guid> Guid::Parse(std::string_view text) {
  if (text.size() == 38) {
    if (text.front() != '{' || text.back() != '}') return std::nullopt;
    text = text.substr(1, 36);
  }
  if (text.size() != 36) return std::nullopt;
  if (text[8] != '-' || text[13] != '-' || text[18] != '-' || text[23] != '-') return std::nullopt;
  auto d1 = guid_detail::Hex(text.substr(0, 8));
  auto d2 = guid_detail::Hex(text.substr(9, 4));
  auto d3 = guid_detail::Hex(text.substr(14, 4));
  if (!d1 || !d2 || !d3) return std::nullopt;
  Guid g;
  g.data1 = static_cast<uint32_t>(*d1);
  g.data2 = static_cast<uint16_t>(*d2);
  g.data3 = static_cast<uint16_t>(*d3);
  constexpr size_t kOffsets[8] = {19, 21, 24, 26, 28, 30, 32, 34};
  for (size_t i = 0; i < 8; ++i) {
    auto b = guid_detail::Hex(text.substr(kOffsets[i], 2));
    if (!b) return std::nullopt;
    g.data4[i] = static_cast<uint8_t>(*b);
  }
  return g;
}

struct GuidHash {
  size_t operator()(const Guid& g) const noexcept;
};

}  // namespace velmar
