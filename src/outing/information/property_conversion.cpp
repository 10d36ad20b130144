#include "outing/information/property_conversion.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

namespace velmar {

bool ConvertNumber(double number, Variant::Kind kind, Variant* out) {
  if (!std::isfinite(number)) return false;
  const double rounded = std::nearbyint(number);  // half to even in the default rounding mode
  switch (kind) {
    case Variant::Kind::kI32:
      if (rounded < std::numeric_limits<int32_t>::min() || rounded > std::numeric_limits<int32_t>::max()) return false;
      *out = Variant::I32(static_cast<int32_t>(rounded));
      return true;
    case Variant::Kind::kU32:
      if (rounded < 0 || rounded > std::numeric_limits<uint32_t>::max()) return false;
      *out = Variant::U32(static_cast<uint32_t>(rounded));
      return true;
    case Variant::Kind::kF64:
      *out = Variant::F64(number);
      return true;
    case Variant::Kind::kBool:
      *out = Variant::Bool(number != 0);
      return true;
    case Variant::Kind::kTime:
      if (std::fabs(rounded) >= 9.2e18) return false;
      *out = Variant::Time(static_cast<KivTime>(rounded));
      return true;
    case Variant::Kind::kText:
      *out = Variant::Text(Variant::F64(number).ToText());
      return true;
    default:
      return false;
  }
}

std::optional<double> ParseNumberText(std::u16string_view text) {
  std::string narrow;
  for (char16_t c : text) {
    if (c > 0x7F) return std::nullopt;
    narrow += static_cast<char>(c);
  }
  const size_t first = narrow.find_first_not_of(" \t");
  if (first == std::string::npos) return std::nullopt;
  const char* start = narrow.c_str() + first;
  char* end = nullptr;
  const double number = std::strtod(start, &end);
  if (end == start) return std::nullopt;
  for (; *end; ++end) {
    if (*end != ' ' && *end != '\t') return std::nullopt;
  }
  return number;
}

namespace {

std::optional<bool> ParseBoolText(std::u16string_view text) {
  auto same = [text](std::u16string_view word) {
    if (text.size() != word.size()) return false;
    for (size_t i = 0; i < text.size(); ++i) {
      const char16_t a = text[i] >= u'A' && text[i] <= u'Z' ? static_cast<char16_t>(text[i] + 32) : text[i];
      if (a != word[i]) return false;
    }
    return true;
  };
  if (same(u"true")) return true;
  if (same(u"false")) return false;
  return std::nullopt;
}

}  // namespace

bool ChangeKind(const Variant& value, Variant::Kind kind, Variant* out) {
  if (value.kind() == kind) {
    *out = value;
    return true;
  }
  if (kind == Variant::Kind::kText) {
    if (value.kind() == Variant::Kind::kArray || value.kind() == Variant::Kind::kObject || value.empty()) return false;
    *out = Variant::Text(value.ToText());
    return true;
  }
  if (const std::u16string* text = value.AsText()) {
    if (kind == Variant::Kind::kBool) {
      if (std::optional<bool> b = ParseBoolText(*text)) {
        *out = Variant::Bool(*b);
        return true;
      }
    }
    const std::optional<double> number = ParseNumberText(*text);
    return number && ConvertNumber(*number, kind, out);
  }
  const std::optional<double> number = value.ToDouble();
  return number && ConvertNumber(*number, kind, out);
}

}  // namespace velmar
