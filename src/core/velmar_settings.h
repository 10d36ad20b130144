// The content of the root's "Settings" stream, held by value: two spare
// settings the host gives meaning to, the outing caption format, and the
// legacy time fields that older files carried (now the start values of the
// registry-backed TimeFormat and TimePrecision).
#pragma once

#include <cstdint>
#include <string>

namespace velmar {

struct CVelmarSettings {
  static constexpr uint32_t kDefaultSpareA = 1;
  static constexpr uint32_t kDefaultSpareB = 6;
  static constexpr uint32_t kDefaultLegacyTimeFormat = 0;
  static constexpr uint16_t kDefaultLegacyTimePrecision = 3;
  static constexpr char16_t kDefaultCaptionFormat[] = u"%default%";

  uint32_t legacyTimeFormat = kDefaultLegacyTimeFormat;
  uint16_t legacyTimePrecision = kDefaultLegacyTimePrecision;
  uint32_t spareA = kDefaultSpareA;
  uint32_t spareB = kDefaultSpareB;
  std::u16string captionFormat = kDefaultCaptionFormat;

  friend bool operator==(const CVelmarSettings&, const CVelmarSettings&) = default;
};

}  // namespace velmar
