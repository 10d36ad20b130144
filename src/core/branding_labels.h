// The library's own display labels, by label id, and the forms in which a
// label is asked for. A branding module may replace any of them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "velmar/branding.h"

namespace velmar {

enum class LabelForm : uint32_t {
  kLower = KIV_BRANDING_FORM_LOWER,
  kAsStored = KIV_BRANDING_FORM_AS_STORED,
  kFirstUpper = KIV_BRANDING_FORM_FIRST_UPPER,
};

// Label ids that code outside the label table asks for by number.
inline constexpr uint32_t kLabelStaticTest = 3;
inline constexpr uint32_t kLabelLap = 11;
inline constexpr uint32_t kLabelCarHalt = 13;
inline constexpr uint32_t kLabelCount = 18;

// The stored text of a label id; nothing for an id outside 0 to 17.
std::optional<std::u16string_view> DefaultLabel(uint32_t id);

// `text` in `form`: lower case (ASCII letters), as stored, or with its first
// letter in upper case. An unknown form gives the text as stored.
std::u16string ApplyLabelForm(std::u16string_view text, LabelForm form);

}  // namespace velmar
