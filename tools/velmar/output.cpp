#include "output.h"

#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <cmath>
#include <ostream>

#include "velmar/text.h"

namespace velmar::cli {

std::string Utf8(const std::u16string& text) { return WideToUtf8(text); }

double Seconds(KivTime time) { return static_cast<double>(time) / static_cast<double>(kTicksPerSecond); }

KivTime TicksOfSeconds(double seconds) {
  return static_cast<KivTime>(std::llround(seconds * static_cast<double>(kTicksPerSecond)));
}

void AppendSeconds(std::string& out, KivTime time) {
  // Whole seconds, then seven decimals (one tick exactly) less their
  // trailing zeros: the library's text form of a time with the "." separator.
  if (time == kTimeMin || time == kTimeMax) return;
  const auto perSecond = static_cast<unsigned long long>(kTicksPerSecond);
  const unsigned long long magnitude =
      time < 0 ? 0ULL - static_cast<unsigned long long>(time) : static_cast<unsigned long long>(time);
  char text[32];
  char* p = text;
  if (time < 0) *p++ = '-';
  p = std::to_chars(p, text + sizeof text, magnitude / perSecond).ptr;
  unsigned long long fraction = magnitude % perSecond;
  if (fraction != 0) {
    int digits = 7;
    while (fraction % 10 == 0) {
      fraction /= 10;
      --digits;
    }
    *p++ = '.';
    char* end = p + digits;
    for (char* q = end; q-- > p; fraction /= 10) *q = static_cast<char>('0' + fraction % 10);
    p = end;
  }
  out.append(text, p);
}

void AppendValue(std::string& out, std::optional<double> value) {
  if (!value || std::isnan(*value)) return;
  char text[40];
  // As printf's "%.10g" does it.
  const auto end = std::to_chars(text, text + sizeof text, *value, std::chars_format::general, 10).ptr;
  out.append(text, end);
}

std::string FormatSeconds(KivTime time) {
  std::string text;
  AppendSeconds(text, time);
  return text;
}

std::string FormatValue(std::optional<double> value) {
  std::string text;
  AppendValue(text, value);
  return text;
}

Json JsonNumber(std::optional<double> value) {
  if (!value || !std::isfinite(*value)) return nullptr;
  return *value;
}

void WriteTsvRow(std::ostream& out, const std::vector<std::string>& fields) {
  for (size_t i = 0; i < fields.size(); ++i) {
    if (i > 0) out << '\t';
    for (char c : fields[i]) out << (c == '\t' || c == '\n' || c == '\r' ? ' ' : c);
  }
  out << '\n';
}

void WriteJson(std::ostream& out, const Json& document) {
  out << document.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

std::string SevenDecimals(KivTime time) {
  const bool negative = time < 0;
  const uint64_t ticks = negative ? 0 - static_cast<uint64_t>(time) : static_cast<uint64_t>(time);
  char text[48];
  std::snprintf(text, sizeof text, "%s%" PRIu64 ".%07" PRIu64, negative ? "-" : "", ticks / 10'000'000,
                ticks % 10'000'000);
  return text;
}

}  // namespace velmar::cli
