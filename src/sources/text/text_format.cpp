#include "sources/text/text_format.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "velmar/text.h"

namespace velmar {
namespace {

bool IsEscapeMark(char c) { return c == '%' || c == '^'; }

std::string SanitiseField(std::string bytes, bool keepLineBreaks) {
  for (char& c : bytes) {
    switch (c) {
      case '\t':
      case '\b': c = ' '; break;
      case '\r':
      case '\n':
        if (!keepLineBreaks) c = ' ';
        break;
      case '{': c = '('; break;
      case '}': c = ')'; break;
      default: break;
    }
  }
  return bytes;
}

// atoi with the result held to the i32 range.
int32_t ParseInt32(std::u16string_view text) {
  std::string ascii = ToFileText(text);
  errno = 0;
  long long v = std::strtoll(ascii.c_str(), nullptr, 10);
  v = std::clamp<long long>(v, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max());
  return static_cast<int32_t>(v);
}

std::optional<int32_t> VariantToInt32(const Variant& value) {
  if (auto v = value.AsI32()) return *v;
  if (auto v = value.AsU32(); v && *v <= static_cast<uint32_t>(std::numeric_limits<int32_t>::max()))
    return static_cast<int32_t>(*v);
  if (auto v = value.AsF64(); v && std::nearbyint(*v) == *v && *v >= std::numeric_limits<int32_t>::min() &&
                              *v <= std::numeric_limits<int32_t>::max())
    return static_cast<int32_t>(*v);
  return std::nullopt;
}

// GCC 12 with sanitizers takes the move of Variant's std::variant for a read
// of uninitialised memory (a known false positive); keep it from failing the build.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
Variant ReadInformationValue(const InformationKey& key, const std::u16string& text) {
  if (key.kind == InformationKind::kInt32) return Variant::I32(ParseInt32(text));
  if (key.kind == InformationKind::kBool) return Variant::Bool(EqualsNoCase(text, u"true"));
  return Variant::Text(text);
}

}  // namespace

std::u16string FromFileText(std::string_view bytes) { return AnsiToWide(bytes); }

std::string ToFileText(std::u16string_view text) { return WideToAnsi(text); }

std::string ToFileName(std::u16string_view text) {
  // WideToAnsi maps code units one to one and marks the unmappable with '?'.
  std::string out = WideToAnsi(text);
  for (size_t i = 0; i < out.size(); ++i)
    if (out[i] == '?' && text[i] != u'?') out[i] = '_';
  return out;
}

std::string EscapeValue(std::string_view raw) {
  std::string out;
  out.reserve(raw.size() + 8);
  for (size_t i = 0; i < raw.size(); ++i) {
    char c = raw[i];
    if (c == '$' && i + 1 < raw.size() && IsEscapeMark(raw[i + 1])) {
      out += "$$";
      out += raw[++i];
    } else if (c == '\r') {
      out += "$%";
    } else if (c == '\n') {
      out += "$^";
    } else {
      out += c;
    }
  }
  return out;
}

std::string UnescapeValue(std::string_view s) {
  // First the line breaks, where no "$" stands before the mark...
  std::string breaks;
  breaks.reserve(s.size());
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '$' && i + 1 < s.size() && IsEscapeMark(s[i + 1]) && (i == 0 || s[i - 1] != '$')) {
      breaks += s[i + 1] == '%' ? '\r' : '\n';
      ++i;
    } else {
      breaks += s[i];
    }
  }
  // ...then the doubled marks back to single ones.
  std::string out;
  out.reserve(breaks.size());
  for (size_t i = 0; i < breaks.size(); ++i) {
    if (breaks[i] == '$' && i + 2 < breaks.size() && breaks[i + 1] == '$' && IsEscapeMark(breaks[i + 2])) {
      out += '$';
      out += breaks[i + 2];
      i += 2;
    } else {
      out += breaks[i];
    }
  }
  return out;
}

std::string FieldText(std::u16string_view text, bool keepLineBreaks) {
  return SanitiseField(ToFileText(text), keepLineBreaks);
}

std::string NameText(std::u16string_view name) { return SanitiseField(ToFileName(name), false); }

std::string UnitText(std::u16string_view unit) {
  std::string out = NameText(unit);
  std::replace(out.begin(), out.end(), '[', '_');
  std::replace(out.begin(), out.end(), ']', '_');
  return out;
}

std::string_view CategoryText(uint32_t category) {
  if (category == kEventFromCar) return kCategoryFromCar;
  if (category == 1 || category == 2) return kCategoryAdded;
  return {};
}

uint32_t CategoryFromText(std::u16string_view text) {
  return text == u"Box Created" ? kEventFromCar : kEventFromAnalysis;
}

const std::vector<InformationKey>& InformationKeys() {
  static const std::vector<InformationKey> keys = {
      {u"DriverName", u"Driver name", InformationKind::kText},
      {u"TrackName", u"Track name", InformationKind::kText},
      {u"CarName", u"Car name", InformationKind::kText},
      {u"SessionNumber", u"Session number", InformationKind::kInt32},
      {u"OutingNumber", u"Outing number", InformationKind::kInt32},
      {u"FirstLapNumber", u"First lap number", InformationKind::kInt32},
      {u"ShortComment", u"Short comment", InformationKind::kText},
      {u"LongComment", u"Long comment", InformationKind::kText},
      {u"SystemDetails", u"System details", InformationKind::kText},
      {u"EngineTest", u"Engine test", InformationKind::kBool},
  };
  return keys;
}

const InformationKey* FindInformationKey(std::u16string_view key) {
  for (const auto& k : InformationKeys())
    if (k.key == key) return &k;
  return nullptr;
}

const InformationKey* FindInformationProperty(std::u16string_view property) {
  for (const auto& k : InformationKeys())
    if (k.property == property) return &k;
  return nullptr;
}

std::optional<std::u16string> FormatInformationValue(const InformationKey& key, const Variant& value) {
  switch (key.kind) {
    case InformationKind::kText:
      if (const auto* t = value.AsText()) return *t;
      return std::nullopt;
    case InformationKind::kInt32:
      if (auto v = VariantToInt32(value)) return W(std::to_string(*v));
      return std::nullopt;
    case InformationKind::kBool: {
      std::optional<bool> b = value.AsBool();
      if (!b) {
        if (auto v = VariantToInt32(value)) b = *v != 0;
      }
      if (b) return *b ? std::u16string(u"True") : std::u16string(u"False");
      return std::nullopt;
    }
  }
  return std::nullopt;
}

std::vector<InformationProperty> InformationToProperties(const std::vector<TextInfoEntry>& lines,
                                                         int32_t* firstLap) {
  std::vector<InformationProperty> out;
  if (firstLap) *firstLap = 1;
  for (const auto& line : lines) {
    const InformationKey* key = FindInformationKey(line.key);
    if (!key) continue;
    Variant value = ReadInformationValue(*key, line.value);
    if (key->key == u"FirstLapNumber" && firstLap) *firstLap = *value.AsI32();
    auto same = std::find_if(out.begin(), out.end(),
                             [&](const InformationProperty& p) { return p.property == key->property; });
    if (same != out.end()) {
      same->value = std::move(value);
    } else {
      out.push_back({std::u16string(key->property), std::move(value)});
    }
  }
  return out;
}
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

}  // namespace velmar
