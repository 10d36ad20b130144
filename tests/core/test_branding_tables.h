// What the test branding module gives, shared by the module and the tests
// that load it. The module reads VELMAR_TEST_BRANDING_MODE when called:
// unset gives these tables; "broken" gives tables a careless module might
// give (no exclusion list, an unterminated tool list, a label text with no
// end in sight).
#pragma once

#include "velmar/branding.h"

namespace velmar::testing {

inline constexpr char kBrandingModeVariable[] = "VELMAR_TEST_BRANDING_MODE";

// A test data factory class (kFactoryB of the root's tests) and a mandatory
// native factory, both hidden.
inline constexpr KivBrandingGuid kBrandingHiddenFactory = {
    0x1F62B705, 0x3059, 0x4EFD, {0x9B, 0xFF, 0x85, 0xDE, 0x26, 0x02, 0x79, 0x8D}};
inline constexpr KivBrandingGuid kBrandingHiddenMandatory = {
    0x431C3042, 0xF301, 0x4701, {0x85, 0xF0, 0x5E, 0xF9, 0xEC, 0x7F, 0xC6, 0x8E}};
inline constexpr char16_t kBrandingHiddenTool[] = u"Halvane.Kivara.PopUpAlarms.PopUpAlarmsTool";
// Label 1 ("ID") and label 11 ("Lap") are the brand's own words.
inline constexpr char16_t kBrandingIdLabel[] = u"Chassis";
inline constexpr char16_t kBrandingLapLower[] = u"stint";
inline constexpr char16_t kBrandingLapStored[] = u"Stint";
// How many entries the broken tool list has, all the same name, no end.
inline constexpr unsigned kBrokenToolListLength = 5000;

}  // namespace velmar::testing
