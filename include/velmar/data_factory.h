// Data factories: name lists of channels, event sets, constants, blobs and
// media channels, and the item for a name. Outings, data selections and the
// global constant factory all offer them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/unknown.h"

namespace velmar {

struct IKivChannel;
struct IKivEventSet;
struct IKivConstant;
struct IKivMediaChannel;
struct IKivBlob;

using NameList = std::vector<std::u16string>;

// The kind of data a factory holds, as its name-list notifications carry it.
inline constexpr uint32_t kDataKindChannels = 0;
inline constexpr uint32_t kDataKindEvents = 1;
inline constexpr uint32_t kDataKindBlobs = 3;
inline constexpr uint32_t kDataKindConstants = 4;
inline constexpr uint32_t kDataKindMediaChannels = 5;

struct IKivDataFactory : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{9881B83A-5A8A-40A9-8957-4FBAA6BD4F48}");
  virtual KivResult GetNames(NameList* names) = 0;
  // 0x8000FFFF without a parent.
  virtual KivResult GetParent(IKivUnknown** parent) = 0;
  // Sets when none is held and one is given, clears when one is held and null
  // is given; the other two cases give E_INVALIDARG.
  virtual KivResult SetParent(IKivUnknown* parent) = 0;
  virtual KivResult GetRoot(IKivUnknown** root) = 0;
  // Once only; a second call gives E_UNEXPECTED.
  virtual KivResult SetRoot(IKivUnknown* root) = 0;
  // Icon of an item kind; the picture is an opaque counted object.
  virtual KivResult GetIcon(int32_t index, int32_t size, IKivUnknown** picture) = 0;
};

struct IKivChannelFactory : IKivDataFactory {
  static constexpr Guid iid = Guid::Literal("{452A13B3-186D-4753-A38C-C62F36598884}");
  using Parent = IKivDataFactory;
  virtual KivResult GetItem(const std::u16string& name, IKivChannel** channel) = 0;
};

struct IKivEventsFactory : IKivDataFactory {
  static constexpr Guid iid = Guid::Literal("{A0AD43F9-4D13-4CD7-8A29-B958142B2628}");
  using Parent = IKivDataFactory;
  virtual KivResult GetItem(const std::u16string& name, IKivEventSet** events) = 0;
};

struct IKivConstantFactory : IKivDataFactory {
  static constexpr Guid iid = Guid::Literal("{DC469342-592B-46C8-A850-226717936474}");
  using Parent = IKivDataFactory;
  virtual KivResult GetItem(const std::u16string& name, IKivConstant** constant) = 0;
};

// The named binary attachments of a native store outing.
struct IKivBlobFactory : IKivDataFactory {
  static constexpr Guid iid = Guid::Literal("{BC630EB3-1B35-4B96-9D9F-99177484B7EB}");
  using Parent = IKivDataFactory;
  virtual KivResult GetItem(const std::u16string& name, IKivBlob** blob) = 0;
};

struct IKivMediaChannelFactory : IKivDataFactory {
  static constexpr Guid iid = Guid::Literal("{7DB1067F-EBE2-46A8-B1A9-3A93EF99C3ED}");
  using Parent = IKivDataFactory;
  virtual KivResult GetItem(const std::u16string& name, IKivMediaChannel** media) = 0;
};

}  // namespace velmar
