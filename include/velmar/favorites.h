// The user's list of named locations. An item is a display text and a
// location; two items are equal when their locations are.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/guid.h"
#include "velmar/unknown.h"

namespace velmar {

// Indexes count from 1; DISP_E_BADINDEX out of range.
struct IKivFavorites : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{F723FE98-3FFC-438E-9C61-518DE9F5D4B4}");
  virtual KivResult GetCount(int32_t* count) = 0;
  virtual KivResult GetItem(int32_t index, std::u16string* display, std::u16string* location) = 0;
  virtual KivResult Add(const std::u16string& display, const std::u16string& location) = 0;
  virtual KivResult Remove(int32_t index) = 0;
  virtual KivResult Modify(int32_t index, const std::u16string& display, const std::u16string& location) = 0;
};

}  // namespace velmar
