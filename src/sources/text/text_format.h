// The fixed texts of the text data set format and the small rules shared by
// its reader and writer: escapes of information values, the code page edge,
// and the information key table.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sources/text/text_structures.h"
#include "velmar/variant.h"

namespace velmar {

inline constexpr std::string_view kPlainMagic = "KivaraASCIIDataSet";
inline constexpr std::string_view kVersionedMagic = "KivaraVersionedASCIIDataSet";
inline constexpr std::string_view kVersionLine = "Version\t2";
inline constexpr std::string_view kEol = "\r\n";

inline constexpr std::string_view kInformationTag = "OutingInformation";
inline constexpr std::string_view kChannelTag = "ChannelBlock";
inline constexpr std::string_view kEventTag = "EventBlock";
inline constexpr std::string_view kConstantTag = "ConstantBlock";

inline constexpr std::string_view kEventHeader = "Time\tName\tCategory\tSource\tMessage";
inline constexpr std::string_view kConstantHeader = "Name\tValue\tComment";
inline constexpr std::string_view kTimeColumn = "Time";

inline constexpr std::string_view kCategoryFromCar = "Box Created";
inline constexpr std::string_view kCategoryAdded = "Kivara Added";

// The most characters kept of one token; the rest of it is dropped.
inline constexpr size_t kMaxToken = 4095;

// The code page edge: every text enters and leaves the system through these
// two (Windows-1252, the system's ANSI code page).
std::u16string FromFileText(std::string_view bytes);
std::string ToFileText(std::u16string_view text);
// As ToFileText, but a character the code page cannot hold becomes '_'.
std::string ToFileName(std::u16string_view text);

// Information values may span lines: CR is written "$%", LF "$^", and a
// literal "$%" or "$^" is written "$$%" or "$$^".
std::string EscapeValue(std::string_view raw);
std::string UnescapeValue(std::string_view escaped);

// Makes a text safe for a TAB-separated field: TAB, CR, LF and BS become a
// blank (they would end the token), "{" and "}" become "(" and ")" (a brace
// fails the token). With keepLineBreaks, CR and LF stay (information values
// escape them).
std::string FieldText(std::u16string_view text, bool keepLineBreaks = false);
// Channel names and units: as FieldText, but through ToFileName; a unit also
// has its "[" and "]" replaced by "_", so that the split finds it again.
std::string NameText(std::u16string_view name);
std::string UnitText(std::u16string_view unit);


// The category text written for a category value; empty for values the
// format has no text for.
std::string_view CategoryText(uint32_t category);
uint32_t CategoryFromText(std::u16string_view text);

// Information keys the format knows and the outing properties they fill.
enum class InformationKind { kText, kInt32, kBool };
struct InformationKey {
  std::u16string_view key;       // as in the file, e.g. u"DriverName"
  std::u16string_view property;  // the property name, e.g. u"Driver name"
  InformationKind kind;
};
const std::vector<InformationKey>& InformationKeys();
const InformationKey* FindInformationKey(std::u16string_view key);
const InformationKey* FindInformationProperty(std::u16string_view property);

// A property to write into the information block.
struct InformationProperty {
  std::u16string property;  // e.g. u"Driver name"
  Variant value;
};

// The value text a property is written as: decimal for numbers, "True" or
// "False" for "Engine test". Nothing for a property not in the table or a
// value of the wrong kind.
std::optional<std::u16string> FormatInformationValue(const InformationKey& key, const Variant& value);

// The properties the information lines fill, in line order (a later line
// of one key replaces the earlier). firstLap gets "First lap number", or 1.
std::vector<InformationProperty> InformationToProperties(const std::vector<TextInfoEntry>& lines,
                                                         int32_t* firstLap = nullptr);

}  // namespace velmar
