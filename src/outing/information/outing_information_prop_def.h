// COutingInformationPropDef: the one vocabulary of outing properties, what
// each holds and which a user may edit, with the checks an edit passes.
//
// Any thread.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "velmar/result.h"
#include "velmar/variant.h"

namespace velmar {

enum class OutingPropertyType { kText, kI32, kDate, kTime, kBool, kU32, kNumber };

struct OutingPropertyDef {
  std::u16string_view name;
  OutingPropertyType type;
  bool editable;
};

namespace outing_property {
inline constexpr std::u16string_view kDriverName = u"Driver name";
inline constexpr std::u16string_view kTrackName = u"Track name";
inline constexpr std::u16string_view kSessionNumber = u"Session number";
inline constexpr std::u16string_view kOutingNumber = u"Outing number";
inline constexpr std::u16string_view kFirstLapNumber = u"First lap number";
inline constexpr std::u16string_view kFastLapNumber = u"Fast lap number";
inline constexpr std::u16string_view kCarName = u"Car name";
inline constexpr std::u16string_view kCreateDate = u"Create date";
inline constexpr std::u16string_view kFastLapTime = u"Fast lap time";
inline constexpr std::u16string_view kEngineTest = u"Engine test";
}  // namespace outing_property

class COutingInformationPropDef {
 public:
  // The 19 properties, in the order of the vocabulary.
  static std::span<const OutingPropertyDef> Table();
  // Null for a name outside the vocabulary.
  static const OutingPropertyDef* Find(std::u16string_view name);

  // Checks an edit of `name` to `value`: the editable texts take a
  // non-empty text, the editable numbers a number or bool; any other name
  // or form is E_INVALIDARG. With `held` (the value the outing has now) the
  // value is converted to its kind (numbers round half to even, as the
  // English (United Kingdom) conversion does); one that does not fit is
  // DISP_E_TYPEMISMATCH. S_OK puts the value to store in `converted`.
  static KivResult CheckEdit(std::u16string_view name, const Variant& value, const Variant* held,
                             Variant* converted);
};

}  // namespace velmar
