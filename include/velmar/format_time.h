// The one text form of a time, used in captions, labels and exports.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "velmar/types.h"

namespace velmar {

enum class TimeFormat : int {
  kSeconds = 0,         // "12.345"          unit "sec"
  kMinutesSeconds = 1,  // "01:02.345"       unit "min:sec"
  kHoursMinutesSeconds = 2,  // "00:01:02.345"  unit "hr:min:sec"
};

// `format` 0, 1 or 2 as above. A negative `decimals` means 3; the time is
// rounded half away from zero to the last digit shown and at most 7 digits
// follow the separator. With `stripZeros` trailing zeros of the fraction, and
// then a bare separator, go. With `appendUnit` a blank and the unit text follow.
// The decimal separator is the user's locale's (LC_NUMERIC).
// Nothing for an unknown format and for the two unbounded extremes.
std::optional<std::u16string> FormatTime(KivTime time, int format, int decimals, bool stripZeros,
                                         bool appendUnit);

// The same with a given decimal separator; nothing when it is empty.
std::optional<std::u16string> FormatTime(KivTime time, int format, int decimals, bool stripZeros,
                                         bool appendUnit, std::u16string_view separator);

}  // namespace velmar
