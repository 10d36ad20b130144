#include "velmar/format_time.h"

#include <clocale>
#include <cstdio>

#include "outing/time/time.h"
#include "velmar/text.h"

namespace velmar {
namespace {

constexpr int kMaxDecimals = 7;
constexpr KivTime kTicksPerMinute = 60 * kTicksPerSecond;
constexpr KivTime kTicksPerHour = 60 * kTicksPerMinute;

// Half a unit of the last digit shown, in ticks: 0.5 x 10^(7 - decimals).
KivTime HalfLastDigit(int decimals) {
  if (decimals >= kMaxDecimals) return 0;  // below one tick: nothing to round
  KivTime half = 5;
  for (int d = decimals; d < kMaxDecimals - 1; ++d) half *= 10;
  return half;
}

std::u16string Digits(unsigned long long value, int width) {
  char buf[32];
  std::snprintf(buf, sizeof buf, "%0*llu", width, value);
  return W(buf);
}

const char16_t* UnitText(int format) {
  switch (format) {
    case 0: return u"sec";
    case 1: return u"min:sec";
    default: return u"hr:min:sec";
  }
}

std::u16string LocaleSeparator() {
  const std::lconv* conv = std::localeconv();
  return conv && conv->decimal_point ? Utf8ToWide(conv->decimal_point) : std::u16string(u".");
}

}  // namespace

std::optional<std::u16string> FormatTime(KivTime time, int format, int decimals, bool stripZeros,
                                         bool appendUnit) {
  return FormatTime(time, format, decimals, stripZeros, appendUnit, LocaleSeparator());
}

std::optional<std::u16string> FormatTime(KivTime time, int format, int decimals, bool stripZeros,
                                         bool appendUnit, std::u16string_view separator) {
  if (format < 0 || format > 2 || IsUnboundedTime(time) || separator.empty()) return std::nullopt;
  if (decimals < 0) decimals = 3;
  const bool negative = time < 0;
  const KivTime half = HalfLastDigit(decimals);
  // Fields are cut from the rounded time by magnitude; saturate at the ends of the range.
  auto rounded = CheckedAddTicks(time, negative ? -half : half).value_or(negative ? kTimeMin : kTimeMax);
  unsigned long long magnitude =
      negative ? 0ULL - static_cast<unsigned long long>(rounded) : static_cast<unsigned long long>(rounded);

  const auto perSecond = static_cast<unsigned long long>(kTicksPerSecond);
  const auto perMinute = static_cast<unsigned long long>(kTicksPerMinute);
  const auto perHour = static_cast<unsigned long long>(kTicksPerHour);
  std::u16string text = negative ? u"-" : u"";
  if (format == 0) {
    text += Digits(magnitude / perSecond, 1);
  } else if (format == 1) {
    text += Digits(magnitude / perMinute, 2) + u":" + Digits(magnitude % perMinute / perSecond, 2);
  } else {
    text += Digits(magnitude / perHour, 2) + u":" + Digits(magnitude % perHour / perMinute, 2) + u":" +
            Digits(magnitude % perMinute / perSecond, 2);
  }
  if (decimals > 0) {
    std::u16string fraction = Digits(magnitude % perSecond, kMaxDecimals);
    fraction.resize(static_cast<size_t>(decimals < kMaxDecimals ? decimals : kMaxDecimals));
    if (stripZeros) {
      while (!fraction.empty() && fraction.back() == u'0') fraction.pop_back();
    }
    if (!fraction.empty()) text.append(separator).append(fraction);
  }
  if (appendUnit) text.append(u" ").append(UnitText(format));
  return text;
}

}  // namespace velmar
