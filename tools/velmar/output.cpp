#include "output.h"

#include <cmath>
#include <cstdio>
#include <ostream>

#include "velmar/format_time.h"
#include "velmar/text.h"

namespace velmar::cli {

std::string Utf8(const std::u16string& text) { return WideToUtf8(text); }

double Seconds(KivTime time) { return static_cast<double>(time) / static_cast<double>(kTicksPerSecond); }

KivTime TicksOfSeconds(double seconds) {
  return static_cast<KivTime>(std::llround(seconds * static_cast<double>(kTicksPerSecond)));
}

std::string FormatSeconds(KivTime time) {
  // Seven decimals hold a tick exactly; the zeros after the last digit go.
  const std::optional<std::u16string> text = FormatTime(time, 0, 7, true, false, u".");
  return text ? WideToUtf8(*text) : std::string();
}

std::string FormatValue(std::optional<double> value) {
  if (!value || std::isnan(*value)) return {};
  char text[40];
  std::snprintf(text, sizeof text, "%.10g", *value);
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

}  // namespace velmar::cli
