#include "outing/time.h"

#include <cmath>

namespace velmar {

std::optional<KivTime> RoundTicks(double ticks) {
  if (std::isnan(ticks)) return std::nullopt;
  double r = std::trunc(ticks >= 0.0 ? ticks + 0.5 : ticks - 0.5);
  // 2^63 is exactly representable; every double strictly inside (-2^63, 2^63)
  // converts without overflow.
  constexpr double kLimit = 9223372036854775808.0;
  if (!(r > -kLimit && r < kLimit)) return std::nullopt;
  auto t = static_cast<KivTime>(r);
  if (IsUnboundedTime(t)) return std::nullopt;
  return t;
}

std::optional<KivTime> TicksFromSeconds(double seconds) {
  return RoundTicks(seconds * static_cast<double>(kTicksPerSecond));
}

double SecondsFromTicks(KivTime ticks) {
  return static_cast<double>(ticks) / static_cast<double>(kTicksPerSecond);
}

}  // namespace velmar
