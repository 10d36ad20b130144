// The one-dimensional text arrays that the outing factory takes (paths,
// class ids), read out of their Variant.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "velmar/variant.h"

namespace velmar {

// One element per entry; nothing for an empty element (a null text).
using TextArray = std::vector<std::optional<std::u16string>>;

// False when `array` is no array, has an element that is an array (more
// than one dimension), or an element that is neither text nor empty.
[[nodiscard]] bool ReadTextArray(const Variant& array, TextArray* out);

}  // namespace velmar
