// Math channels: channels computed from other channels by expressions, from
// the add-in module that ships with the library (libvelmar_math.so under
// the add-ins folder). Its data factory joins a root like any data factory
// add-in; given a parent that offers channels (an outing, a selection) it
// offers the defined channels whose operands the parent has.
//
// Operands are read as every channel gives its values, in their quantity's
// base unit (speed in m/s), and a result is in the unit its definition names.
// Definitions are JSON:
//   [{"name": "Speed_kmh", "expression": "Speed * 3.6", "unit": "km/h"},
//    {"name": "Brake bias", "expression": "`Brake F` / (`Brake F` + `Brake R`) * 100"}]
// Operands are channel names, in backticks when they hold blanks or signs.
// The first operand gives the time base; the others are interpolated onto
// its sample times. Division by zero and NaN in the data give NaN.
#pragma once

#include <string>
#include <vector>

#include "velmar/guid.h"
#include "velmar/unknown.h"

namespace velmar {

inline constexpr Guid CLSID_KivMathChannels = Guid::Literal("{91B6A5D8-9DC6-4D24-8DC8-17CF752E119C}");

// Offered by the math data factory beside IKivChannelFactory.
struct IKivMathChannelDefinitions : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{F775B34F-BDDC-4BA2-B469-774865F062B1}");
  // Replaces the definitions with a JSON text. E_INVALIDARG when the text is
  // no list of definitions; a definition that does not parse is kept out
  // with a message, and the others stay.
  virtual KivResult SetDefinitions(const std::u16string& json) = 0;
  // The same, read from a file. STG_E_FILENOTFOUND when it cannot be read.
  virtual KivResult LoadDefinitions(const std::u16string& path) = 0;
  // One line per definition kept out, or per channel not offered, naming it.
  virtual KivResult GetMessages(std::vector<std::u16string>* messages) = 0;
  // A defined channel's unit as its definition gives it ("" for none).
  // E_INVALIDARG for an unknown name. A channel whose expression only adds
  // and subtracts operands of one quantity is listed under that quantity.
  virtual KivResult GetUnit(const std::u16string& name, std::u16string* unit) = 0;
};

}  // namespace velmar
