#include "core/display_settings.h"

#include "velmar/registry.h"

namespace velmar {

namespace {

struct Rule {
  const char16_t* name;
  uint32_t max;             // largest value a setter takes
  bool strictWrite;         // a failed write is E_FAIL and no change
  bool readRejectsAboveMax; // a stored value above max is not taken
  bool boolean;             // stored 1 is true, anything else false
  bool sixteenBit;          // kept as u16
};

constexpr std::array<Rule, kDisplaySettingCount> kRules = {{
    {u"PerformanceFormat", 1, false, false, false, false},
    {u"SpeedUnit", 3, false, false, false, false},
    {u"SpeedPrecision", 0xFFFF, false, false, false, true},
    {u"TimePrecision", 0xFFFF, false, false, false, true},
    {u"TimeFormat", 2, false, false, false, false},
    {u"DisplayOutingLabels", 1, true, false, true, false},
    {u"OutingLabelInitialization", 2, true, true, false, false},
}};

const Rule& RuleOf(DisplaySetting s) { return kRules[static_cast<size_t>(s)]; }

}  // namespace

DisplaySettings::DisplaySettings(uint32_t speedUnitStart) {
  slots_[Index(DisplaySetting::kPerformanceFormat)].value = 0;
  slots_[Index(DisplaySetting::kSpeedUnit)].value = speedUnitStart;
  slots_[Index(DisplaySetting::kSpeedPrecision)].value = 0;
  slots_[Index(DisplaySetting::kTimePrecision)].value = 3;
  slots_[Index(DisplaySetting::kTimeFormat)].value = 0;
  slots_[Index(DisplaySetting::kDisplayOutingLabels)].value = 1;
  slots_[Index(DisplaySetting::kOutingLabelInitialization)].value = 2;
}

void DisplaySettings::SetLegacyStartValues(uint32_t timeFormat, uint16_t timePrecision) {
  if (NeedsRead(DisplaySetting::kTimeFormat)) slots_[Index(DisplaySetting::kTimeFormat)].value = timeFormat;
  if (NeedsRead(DisplaySetting::kTimePrecision)) {
    slots_[Index(DisplaySetting::kTimePrecision)].value = timePrecision;
  }
}

const char16_t* DisplaySettings::ValueName(DisplaySetting setting) { return RuleOf(setting).name; }

void DisplaySettings::Read(DisplaySetting setting) {
  const Rule& rule = RuleOf(setting);
  Slot& slot = slots_[Index(setting)];
  RegistryKey key;
  uint32_t stored = 0;
  if (Failed(RegistryKey::Open(RegHive::kCurrentUser, kVelmarUserKey, &key)) ||
      Failed(key.QueryU32(rule.name, &stored))) {
    slot.needsRead = false;  // nothing stored: the start value stands
    return;
  }
  if (rule.readRejectsAboveMax && stored > rule.max) return;  // not taken; read again next time
  if (rule.boolean) stored = stored == 1 ? 1 : 0;
  if (rule.sixteenBit) stored &= 0xFFFF;
  slot.value = stored;
  slot.needsRead = false;
}

uint32_t DisplaySettings::Get(DisplaySetting setting) {
  if (NeedsRead(setting)) Read(setting);
  return slots_[Index(setting)].value;
}

KivResult DisplaySettings::Set(DisplaySetting setting, uint32_t value) {
  const Rule& rule = RuleOf(setting);
  if (value > rule.max) return E_INVALIDARG;
  if (Get(setting) == value) return S_FALSE;
  RegistryKey key;
  KivResult written = RegistryKey::Create(RegHive::kCurrentUser, kVelmarUserKey, &key);
  if (Succeeded(written)) written = key.SetU32(rule.name, value);
  if (Failed(written) && rule.strictWrite) return E_FAIL;
  Slot& slot = slots_[Index(setting)];
  slot.value = value;
  slot.needsRead = false;
  return S_OK;
}

}  // namespace velmar
