// The ordered palette of the settings file. Colours are 0x00BBGGRR.
#pragma once

#include <cstdint>

#include "velmar/guid.h"
#include "velmar/unknown.h"

namespace velmar {

// Indexes count from 1.
struct IKivColourTable : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{81BE1DF6-4520-4E9C-A641-F8EA6828D5CB}");
  virtual KivResult GetCount(int32_t* count) = 0;
  // E_FAIL for an index out of range.
  virtual KivResult GetColour(int32_t index, uint32_t* colour) = 0;
  virtual KivResult Add(uint32_t colour) = 0;
  virtual KivResult Remove(int32_t index) = 0;
  virtual KivResult SetColour(int32_t index, uint32_t colour) = 0;
  virtual KivResult Clear() = 0;
};

}  // namespace velmar
