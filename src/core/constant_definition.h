// The definition of a spreadsheet-based constant: which workbook to open,
// the steps to run in it, and the cell to read. Kept as text in the
// constant's entry and parsed on first need.
//
// Text form: fields separated by "|", with a leading "|". The first field is
// the workbook, the field with no "|" behind it the cell to read, and those
// in between are steps:
//   name              make the named sheet the current one
//   "?" name          run the named macro
//   "$" name "=" v    put v into the named range of the current sheet
// An empty field ends the parse; a step that can't be read is dropped.
//
// Client thread only (a retrieval works on copies).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/result.h"

namespace velmar {

// The workbook name that stands for "no workbook".
inline constexpr char16_t kNoWorkbook[] = u"<none>";

struct ConstantElement {
  enum Kind : int32_t { kSelectSheet = 0, kRunMacro = 1, kSetRange = 2 };

  int32_t kind = kSelectSheet;
  std::u16string name;
  std::u16string value;  // kind 2 only

  // E_INVALIDARG for a kind below 0 or above 2; kinds 0 and 1 clear the value.
  [[nodiscard]] KivResult SetKind(int32_t newKind);
  // E_INVALIDARG unless the kind is 2.
  [[nodiscard]] KivResult SetValue(const std::u16string& newValue);

  friend bool operator==(const ConstantElement&, const ConstantElement&) = default;
};

using ConstantElements = std::vector<ConstantElement>;

struct ConstantDefinitionParts {
  std::u16string file;
  std::u16string target;
  ConstantElements elements;

  friend bool operator==(const ConstantDefinitionParts&, const ConstantDefinitionParts&) = default;
};

// Reads a definition text; never fails (what can't be read is left out).
ConstantDefinitionParts ParseConstantDefinition(const std::u16string& text);
// Writes the text form. E_FAIL for a step with no name, or a range step with
// no value; `text` is left as it was then.
[[nodiscard]] KivResult WriteConstantDefinition(const ConstantDefinitionParts& parts, std::u16string* text);

// The text of a step; empty when the step can't be written.
std::u16string ConstantElementText(const ConstantElement& element);

}  // namespace velmar
