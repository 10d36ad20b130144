// Numbers as the text format reads them: exactly what `atof` takes (the
// longest valid prefix, leading white space skipped, hex floats, "inf",
// "nan", a leading '+'), with fast_float on the common path.
#pragma once

#include <optional>
#include <string_view>

#include "velmar/types.h"

namespace velmar {

struct ParsedNumber {
  double value = 0;          // what atof gives (0 when nothing converted)
  bool converted = false;    // a number was found at the start
  bool trailing = false;     // other than white space follows the number
};

// atof of the first kMaxToken characters of the token. Thread-safe and
// independent of the process locale.
ParsedNumber ParseNumber(std::string_view token);

// Seconds to ticks: times 1e7, rounded half away from zero. Values beyond
// the tick range are held to the largest and smallest finite times; NaN has
// no time.
std::optional<KivTime> SecondsToTicks(double seconds);

// Ticks less base, as seconds, without overflow.
double TicksToSeconds(KivTime time, KivTime base = 0);

}  // namespace velmar
