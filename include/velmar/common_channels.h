// The channels with a fixed meaning (distance, speed, map position...): the
// user may point each role at any channel. One store per process is shared
// by all roots; IKivCommonChannels is a root's face onto it.
//
// A value has the form "[q]name": q the decimal quantity, name the channel.
#pragma once

#include <string>

#include "velmar/guid.h"
#include "velmar/unknown.h"

namespace velmar {

// The sixteen roles in slot order: role k is got in slot 3 + 2k and set in
// slot 4 + 2k.
#define KIV_COMMON_CHANNEL_ROLES(X) \
  X(Distance)                       \
  X(CorrectedDistance)              \
  X(LapDistance)                    \
  X(Speed)                          \
  X(CorrectedSpeed)                 \
  X(LateralAcceleration)            \
  X(FuelUsed)                       \
  X(MapPositionD)                   \
  X(MapPositionX)                   \
  X(MapPositionY)                   \
  X(MapPositionZ)                   \
  X(GlobalTime)                     \
  X(Longitude)                      \
  X(Latitude)                       \
  X(Altitude)                       \
  X(Heading)

#define KIV_COMMON_CHANNEL_PURE_(Role)                               \
  virtual KivResult Get##Role(std::u16string* text) = 0;             \
  virtual KivResult Set##Role(const std::u16string& text) = 0;

// Getters: E_POINTER on a null out argument. Setters: the text already held
// does nothing (S_OK); another is stored and every root raises
// CommonChannelsChanged.
struct IKivCommonChannels : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{DC04A9A7-B120-4E3B-96B9-6B55681046F8}");
  KIV_COMMON_CHANNEL_ROLES(KIV_COMMON_CHANNEL_PURE_)
};

#undef KIV_COMMON_CHANNEL_PURE_

// The roles by index, in slot order.
enum class CommonChannelRole : size_t {
#define KIV_COMMON_CHANNEL_ENUM_(Role) k##Role,
  KIV_COMMON_CHANNEL_ROLES(KIV_COMMON_CHANNEL_ENUM_)
#undef KIV_COMMON_CHANNEL_ENUM_
};
inline constexpr size_t kCommonChannelRoleCount = static_cast<size_t>(CommonChannelRole::kHeading) + 1;

// The text of one role, for code that picks the role at run time.
inline KivResult GetCommonChannel(IKivCommonChannels* channels, CommonChannelRole role, std::u16string* text) {
  if (!channels) return E_POINTER;
  switch (role) {
#define KIV_COMMON_CHANNEL_CASE_(Role) \
  case CommonChannelRole::k##Role:     \
    return channels->Get##Role(text);
    KIV_COMMON_CHANNEL_ROLES(KIV_COMMON_CHANNEL_CASE_)
#undef KIV_COMMON_CHANNEL_CASE_
  }
  return E_INVALIDARG;
}

}  // namespace velmar
