// The default display colour of each physical quantity. Its quantities are
// those the units component knows; colours are 0x00BBGGRR.
#pragma once

#include <cstdint>

#include "velmar/guid.h"
#include "velmar/notification_family.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivStorage;

struct IKivQuantityToColorMapping : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{23044E3C-8DCA-492E-8FB7-2C9015578E26}");
  // E_INVALIDARG for a quantity the units component does not know.
  virtual KivResult GetColour(int32_t quantity, uint32_t* colour) = 0;
  // E_INVALIDARG for an unknown quantity; S_FALSE when the colour is held.
  virtual KivResult SetColour(int32_t quantity, uint32_t colour) = 0;
};

// Takes the mapping of another settings file.
struct IKivImportable : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{DA07B31D-FD5C-4A44-AC13-E660919EDCF3}");
  virtual KivResult Import(IKivStorage* storage) = 0;
};

#define KIV_QUANTITY_TO_COLOR_MAPPING_NOTIFICATIONS_1(X)                                        \
  X(ColourChanged, (int32_t quantity, uint32_t colour), (quantity, colour))                      \
  X(Closing, (IKivQuantityToColorMapping * mapping), (mapping))

KIV_NOTIFICATION_FAMILY(QuantityToColorMappingNotifications, "{9DF10AA2-1B5D-4E19-BC82-2F564E3389DD}",
                        KIV_QUANTITY_TO_COLOR_MAPPING_NOTIFICATIONS_1)

}  // namespace velmar
