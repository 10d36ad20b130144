// An enumerator over a snapshot of objects, in the platform's shape: Next
// hands out up to `count` counted references and answers S_FALSE when
// fewer were left; Skip, Reset and Clone as usual.
#pragma once

#include <cstdint>
#include <vector>

#include "velmar/unknown.h"

namespace velmar {

struct IKivEnumUnknown : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{8B2C6E71-4A93-4D1F-9E5A-3C7D0B84F2A6}");
  virtual KivResult Next(uint32_t count, IKivUnknown** items, uint32_t* fetched) = 0;
  virtual KivResult Skip(uint32_t count) = 0;
  virtual KivResult Reset() = 0;
  virtual KivResult Clone(IKivEnumUnknown** clone) = 0;
};

// An enumerator over `items` as they are now.
[[nodiscard]] KivResult KivMakeEnumerator(std::vector<ComPtr<IKivUnknown>> items, IKivUnknown** out);

}  // namespace velmar
