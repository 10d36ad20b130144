// Changing a property value to the kind the outing holds it in, as the
// English (United Kingdom) conversions do: numbers round half to even, a
// point is the decimal mark, a bool is -1 or 0, texts "True" and "False"
// are bools.
//
// Any thread.
#pragma once

#include <optional>
#include <string_view>

#include "velmar/variant.h"

namespace velmar {

// `number` as a value of `kind`; false when it does not fit.
bool ConvertNumber(double number, Variant::Kind kind, Variant* out);

// A number written in text ("4", " 2.5 ", "-1e3"); nothing for anything else.
std::optional<double> ParseNumberText(std::u16string_view text);

// `value` as a value of `kind`; false when it cannot be changed.
bool ChangeKind(const Variant& value, Variant::Kind kind, Variant* out);

}  // namespace velmar
