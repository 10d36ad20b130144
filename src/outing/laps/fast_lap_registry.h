// Where the outing factory keeps the fast-lap settings: the user's registry
// key "Software\Halvane\Kivara\Outing Factory", values "FastLapFilterEnabled"
// (2 bytes, -1 or 0) and "FastLapMinimumTime" (8 bytes, ticks), both little
// endian.
//
// A missing, unreadable or malformed value reads as the default; a failed
// write is the caller's to ignore. Any thread.
#pragma once

#include <string_view>

#include "outing/cache/outing_source.h"
#include "velmar/result.h"
#include "velmar/types.h"

namespace velmar {

inline constexpr std::u16string_view kOutingFactoryKey = u"Software\\Halvane\\Kivara\\Outing Factory";
inline constexpr std::u16string_view kFastLapFilterEnabledValue = u"FastLapFilterEnabled";
inline constexpr std::u16string_view kFastLapMinimumTimeValue = u"FastLapMinimumTime";

bool ReadFastLapFilterEnabled();
KivTime ReadFastLapMinimumTime();
// Both values as stored now.
FastLapSettings ReadFastLapSettings();

// Write the value, creating the key.
[[nodiscard]] KivResult WriteFastLapFilterEnabled(bool enabled);
[[nodiscard]] KivResult WriteFastLapMinimumTime(KivTime minimum);

}  // namespace velmar
