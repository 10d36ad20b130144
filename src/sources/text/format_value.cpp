#include "sources/text/format_value.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

#include "sources/text/text_number.h"

namespace velmar {
namespace {

// std::to_chars with a precision formats as printf does in the C locale, and
// glibc's printf rounds the exact binary value as to_chars does.
size_t Put(char* first, char* last, double v, std::chars_format fmt, int precision) {
  auto r = std::to_chars(first, last, v, fmt, precision);
  *r.ptr = '\0';
  return static_cast<size_t>(r.ptr - first);
}

// The decimal exponent of v once rounded to ten significant digits.
int Exponent10(double v) {
  char buf[32];
  Put(buf, buf + sizeof buf - 1, v, std::chars_format::scientific, 9);
  const char* e = buf;
  while (*e != 'e') ++e;
  return std::atoi(e + 1);
}

}  // namespace

size_t FormatValue(double value, char (&buf)[kFormatValueSize]) {
  char* last = buf + kFormatValueSize - 1;
  double magnitude = std::fabs(value);
  if (magnitude < 9999.9999995) return Put(buf, last, value, std::chars_format::fixed, 6);
  if (magnitude < 9999999999.5) {
    // "%#.10g" in this range is always the fixed style with 9 - X decimals;
    // with none, printf's '#' leaves a "." that is cut again.
    int decimals = 9 - Exponent10(value);
    return Put(buf, last, value, std::chars_format::fixed, decimals < 0 ? 0 : decimals);
  }
  return Put(buf, last, value, std::chars_format::scientific, 4);
}

void AppendValue(std::string& out, double value) {
  char buf[kFormatValueSize];
  out.append(buf, FormatValue(value, buf));
}

void AppendSeconds(std::string& out, double seconds) {
  char buf[400];  // the longest double in fixed style with 7 decimals fits
  out.append(buf, Put(buf, buf + sizeof buf - 1, seconds, std::chars_format::fixed, 7));
}

void AppendTime(std::string& out, KivTime time, KivTime base) { AppendSeconds(out, TicksToSeconds(time, base)); }

}  // namespace velmar
