// Constants as clients see them: named values with a unit, of an outing or
// of the whole session. A simple constant holds a number; a spreadsheet
// constant holds a definition (a workbook, steps to run in it, the cell to
// read) and fetches its value in the background: KIV_E_PENDING until then,
// and a data change notification when it arrives.
//
// Edits go through the constant's writer and take effect, for everyone,
// when the client lets the writer go.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/channel.h"
#include "velmar/data_factory.h"
#include "velmar/unknown.h"

namespace velmar {

// Kinds given to AddConstant.
inline constexpr uint32_t kSimpleConstant = 0;
inline constexpr uint32_t kSpreadsheetConstant = 1;

// Kinds of a spreadsheet step.
inline constexpr int32_t kStepSelectSheet = 0;  // make the named sheet current
inline constexpr int32_t kStepRunMacro = 1;     // run the named macro
inline constexpr int32_t kStepSetRange = 2;     // put the value into the named range

struct IKivConstant : IKivData {
  static constexpr Guid iid = Guid::Literal("{47E76BB7-BADE-4D0C-B2C2-D927725D4B56}");
  using Parent = IKivData;
  // The definition of a spreadsheet constant; empty for a simple one.
  virtual KivResult GetText(std::u16string* text) = 0;
  // A failure (or a null out) makes the constant's status 2; KIV_E_PENDING
  // while a spreadsheet value is being fetched.
  virtual KivResult GetValue(double* value) = 0;
};

struct IKivSimpleConstantWriter : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{B075548D-B2A0-490B-A51B-C1E9BEE562F8}");
  virtual KivResult SetUnit(const std::u16string& unit) = 0;
  // E_FAIL when the constant is a spreadsheet constant.
  virtual KivResult SetValue(double value) = 0;
};

struct IKivExcelConstantElement : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{B01182B3-2300-4D98-8B58-566BF097C693}");
  virtual KivResult GetKind(int32_t* kind) = 0;
  // E_INVALIDARG below 0 or above 2; kinds 0 and 1 clear the value.
  virtual KivResult SetKind(int32_t kind) = 0;
  virtual KivResult GetName(std::u16string* name) = 0;
  virtual KivResult SetName(const std::u16string& name) = 0;
  virtual KivResult GetValue(std::u16string* value) = 0;
  // Kind 2 only, else E_INVALIDARG.
  virtual KivResult SetValue(const std::u16string& value) = 0;
};

// The steps of a definition. Indexes count from 1; DISP_E_BADINDEX outside.
struct IKivExcelConstantElements : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{C998B883-AC6A-48AF-904F-80E332292EC2}");
  virtual KivResult GetCount(uint32_t* count) = 0;
  virtual KivResult GetItem(uint32_t index, IKivExcelConstantElement** element) = 0;
  // A new step of kind 0 at the end.
  virtual KivResult AddElement(IKivExcelConstantElement** element) = 0;
  virtual KivResult RemoveElement(uint32_t index) = 0;
};

struct IKivExcelConstantWriter : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{FD33533C-D7C6-4298-84B9-A03FF32A96A8}");
  virtual KivResult SetUnit(const std::u16string& unit) = 0;
  virtual KivResult GetFile(std::u16string* file) = 0;
  // E_FAIL for an empty name.
  virtual KivResult SetFile(const std::u16string& file) = 0;
  // One list per writer.
  virtual KivResult GetElements(IKivExcelConstantElements** elements) = 0;
  virtual KivResult GetTarget(std::u16string* target) = 0;
  // E_FAIL for an empty cell reference.
  virtual KivResult SetTarget(const std::u16string& target) = 0;
};

struct IKivSimpleConstant : IKivConstant {
  static constexpr Guid iid = Guid::Literal("{0DC85090-E5E8-48B7-B5DE-87A1829EDD5C}");
  using Parent = IKivConstant;
  // One writer per object, made on first demand; E_FAIL when it can't be made.
  virtual KivResult GetWriter(IKivSimpleConstantWriter** writer) = 0;
  // The unit; may be empty.
  virtual KivResult GetUnit(std::u16string* unit) = 0;
};

struct IKivExcelConstant : IKivConstant {
  static constexpr Guid iid = Guid::Literal("{ADA9B84C-B5F3-4AFA-A731-0459CF66F91E}");
  using Parent = IKivConstant;
  virtual KivResult GetWriter(IKivExcelConstantWriter** writer) = 0;
  virtual KivResult GetUnit(std::u16string* unit) = 0;
};

// Adding and removing constants, beside the factory's lookup (GetItem:
// E_INVALIDARG for an empty or unknown name).
struct IKivConstantFactory2 : IKivConstantFactory {
  static constexpr Guid iid = Guid::Literal("{B2AC2274-483F-428E-8FD6-01D6E58D01B9}");
  using Parent = IKivConstantFactory;
  // Kind kSimpleConstant or kSpreadsheetConstant, above: E_INVALIDARG; E_FAIL
  // when the list can't be had. The global factory also refuses an empty or
  // existing name with E_INVALIDARG.
  virtual KivResult AddConstant(const std::u16string& name, uint32_t kind) = 0;
  // E_INVALIDARG for an unknown name.
  virtual KivResult RemoveConstant(const std::u16string& name) = 0;
};

}  // namespace velmar
