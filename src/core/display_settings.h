// The root's display settings kept in the user's registry under
// "Software\Halvane\Kivara\Velmar". Each is read the first time it is
// asked for and then kept; a setter compares with what the getter gives.
//
// Two failure rules: for the first five settings a failed registry write
// keeps the new value in memory (the caller still raises its
// notification); for DisplayOutingLabels and OutingLabelInitialization it
// gives E_FAIL and changes nothing. A stored OutingLabelInitialization of 3
// or more is not taken and is read again the next time.
//
// Client thread only.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "velmar/result.h"

namespace velmar {

inline constexpr char16_t kVelmarUserKey[] = u"Software\\Halvane\\Kivara\\Velmar";

enum class DisplaySetting : uint32_t {
  kPerformanceFormat,
  kSpeedUnit,
  kSpeedPrecision,
  kTimePrecision,
  kTimeFormat,
  kDisplayOutingLabels,
  kOutingLabelInitialization,
};
inline constexpr size_t kDisplaySettingCount = 7;

class DisplaySettings {
 public:
  // `speedUnitStart`: the unit the units component gives as the default of
  // speed. Time format and precision start at the Settings stream's legacy
  // defaults (0 and 3).
  explicit DisplaySettings(uint32_t speedUnitStart);

  // The Settings stream's legacy fields: the start values of TimeFormat and
  // TimePrecision for as long as the registry has not been read.
  void SetLegacyStartValues(uint32_t timeFormat, uint16_t timePrecision);

  // The value, reading the registry the first time. DisplayOutingLabels is 1
  // for true, 0 for false.
  uint32_t Get(DisplaySetting setting);

  // E_INVALIDARG above the setting's range; S_FALSE when the value is what
  // Get gives; else S_OK with the value stored and written to the registry.
  // A failed write: E_FAIL and no change for the last two settings, S_OK and
  // the value kept for the others.
  [[nodiscard]] KivResult Set(DisplaySetting setting, uint32_t value);

  // The name of the setting's registry value.
  static const char16_t* ValueName(DisplaySetting setting);
  // Whether the setting has still to be read from the registry.
  bool NeedsRead(DisplaySetting setting) const { return slots_[Index(setting)].needsRead; }

 private:
  struct Slot {
    uint32_t value = 0;
    bool needsRead = true;
  };
  static size_t Index(DisplaySetting s) { return static_cast<size_t>(s); }
  void Read(DisplaySetting setting);

  std::array<Slot, kDisplaySettingCount> slots_;
};

}  // namespace velmar
