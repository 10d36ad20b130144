// The outing: one recorded run of a car as a client sees it.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivPropertySet;
struct IKivStatusChannelDefinitions;

struct IKivOuting : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{CB3A32E7-4A05-4A76-A259-75BFBCCA4898}");
  virtual KivResult GetCaption(std::u16string* caption) = 0;
  // S_OK with the information once loaded; else starts the load, S_FALSE and null.
  virtual KivResult GetOutingInformation(IKivPropertySet** information) = 0;
  virtual KivResult GetFileName(std::u16string* path) = 0;
  virtual KivResult GetOutingType(uint32_t* type) = 0;
  // Discards the loaded data of every outing object on this file; the next read loads again.
  virtual KivResult CloseData() = 0;
  virtual KivResult SetTimeOffset(KivTime offset) = 0;
};

struct IKivOuting2 : IKivOuting {
  static constexpr Guid iid = Guid::Literal("{2BB6A791-8BE6-4883-86AB-F18CCFC7153C}");
  using Parent = IKivOuting;
  // Braced upper-case GUID text.
  virtual KivResult GetOutingId(std::u16string* id) = 0;
};

struct IKivOuting3 : IKivOuting2 {
  static constexpr Guid iid = Guid::Literal("{4D915DDD-DBC6-4D4A-9B0D-95B5DAD50358}");
  using Parent = IKivOuting2;
  virtual KivResult GetStatusChannelDefinitions(IKivStatusChannelDefinitions** definitions) = 0;
};

struct IKivOuting4 : IKivOuting3 {
  static constexpr Guid iid = Guid::Literal("{999AFC4D-11B7-4850-BC8A-C0683484A1D5}");
  using Parent = IKivOuting3;
  virtual KivResult GetOverrideProperties(KivBool* overrideProperties) = 0;
};

}  // namespace velmar
