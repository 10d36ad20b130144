// How the text format writes numbers: `FormatValue` for sample and constant
// values, "%.7f" seconds for times.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "velmar/types.h"

namespace velmar {

// The buffer `FormatValue` writes into, NUL included.
inline constexpr size_t kFormatValueSize = 14;

// By magnitude: below 9999.9999995 "%.6f"; below 9999999999.5 "%#.10g" with
// a trailing "." cut; otherwise "%#.4e". Writes a NUL-terminated text into
// buf and gives its length. Byte for byte what printf makes, without its cost.
size_t FormatValue(double value, char (&buf)[kFormatValueSize]);
void AppendValue(std::string& out, double value);

// "%.7f" of seconds, which carries one tick exactly.
void AppendSeconds(std::string& out, double seconds);
// "%.7f" of (time - base) / 1e7.
void AppendTime(std::string& out, KivTime time, KivTime base = 0);

}  // namespace velmar
