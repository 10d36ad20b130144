#include "sources/text/text_number.h"

#include <fast_float/fast_float.h>
#include <locale.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "outing/time/time.h"
#include "sources/text/text_format.h"

namespace velmar {
namespace {

bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool OnlySpace(const char* p, const char* end) {
  for (; p < end; ++p)
    if (!IsSpace(*p)) return false;
  return true;
}

// strtod in the "C" locale, whatever the host set.
locale_t CLocale() {
  static const locale_t loc = newlocale(LC_ALL_MASK, "C", locale_t{});
  return loc;
}

ParsedNumber ParseWithStrtod(std::string_view token) {
  char buf[kMaxToken + 1];
  std::memcpy(buf, token.data(), token.size());
  buf[token.size()] = '\0';
  char* end = nullptr;
  ParsedNumber out;
  out.value = strtod_l(buf, &end, CLocale());
  out.converted = end != buf;
  out.trailing = out.converted && !OnlySpace(end, buf + token.size());
  if (!out.converted) out.trailing = !OnlySpace(buf, buf + token.size());
  return out;
}

}  // namespace

ParsedNumber ParseNumber(std::string_view token) {
  token = token.substr(0, kMaxToken);
  const char* first = token.data();
  const char* last = first + token.size();
  // fast_float agrees with strtod on what it takes as a whole; anything it
  // stops short on (hex, '+', white space, garbage) or that is not finite
  // (its "inf"/"nan" spellings differ in corners) goes the exact way.
  if (first != last && (std::isdigit(static_cast<unsigned char>(*first)) || *first == '-' || *first == '.')) {
    double v = 0;
    auto r = fast_float::from_chars(first, last, v);
    if (r.ec == std::errc() && std::isfinite(v) && OnlySpace(r.ptr, last)) return {v, true, false};
  }
  return ParseWithStrtod(token);
}

std::optional<KivTime> SecondsToTicks(double seconds) {
  if (std::isnan(seconds)) return std::nullopt;
  if (std::optional<KivTime> ticks = TicksFromSeconds(seconds)) return ticks;
  return seconds > 0 ? kTimeMax - 1 : kTimeMin + 1;  // held inside the finite range
}

double TicksToSeconds(KivTime time, KivTime base) {
  KivTime diff = 0;
  if (__builtin_sub_overflow(time, base, &diff)) return SecondsFromTicks(time) - SecondsFromTicks(base);
  return SecondsFromTicks(diff);
}

}  // namespace velmar
