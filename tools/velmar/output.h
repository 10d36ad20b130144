// How results leave the host: tab-separated lines for people and shell
// tools, or one JSON document (--json) for programs. Times are seconds from
// the outing's zero; numbers keep ten significant digits in text.
#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "velmar/types.h"

namespace velmar::cli {

using Json = nlohmann::ordered_json;

std::string Utf8(const std::u16string& text);
double Seconds(KivTime time);
// Seconds rounded half away from zero to ticks.
KivTime TicksOfSeconds(double seconds);

// A time in seconds in the library's one text form ("12.5").
std::string FormatSeconds(KivTime time);
// Seconds with seven decimals: a tick exactly ("-13.0000000").
std::string SevenDecimals(KivTime time);
// A value in ten significant digits; empty for a missing or NaN value.
std::string FormatValue(std::optional<double> value);
// The same two forms added to the end of `out`, for bulk output.
void AppendSeconds(std::string& out, KivTime time);
void AppendValue(std::string& out, std::optional<double> value);
// NaN and infinities have no JSON form: null.
Json JsonNumber(std::optional<double> value);

// One line of fields joined by tabs; a tab or line break inside a field
// becomes a blank, so a line is always one record.
void WriteTsvRow(std::ostream& out, const std::vector<std::string>& fields);
// The document, indented, and a final line break.
void WriteJson(std::ostream& out, const Json& document);

}  // namespace velmar::cli
