// Filters and proxies: what sits between a data selection's client and the
// real channel of an outing.
//
// A proxy (what a selection's factories hand out) forwards to the channel of
// the same name in the selection's current outing and survives a change of
// outing; it applies the selection's value offset for its channel and the
// filters a client adds. A filter is a channel of its own computed from an
// input channel; the library's one filter adds a constant to every value.
//
// Client thread only. Indexes count from 1; a null out pointer gives E_POINTER.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/channel.h"
#include "velmar/notification_family.h"
#include "velmar/property_set.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivFilter : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{FD7FCA6A-1E11-4C36-9A70-5F5B2301BFB7}");
  // S_FALSE and null without one.
  virtual KivResult GetInput(IKivChannel** input) = 0;
  // Null lets go of the input; every range becomes dirty.
  virtual KivResult SetInput(IKivChannel* input) = 0;
  // Kept for the slot order; succeeds.
  virtual KivResult Reserved() = 0;
  // The input changed over [from, to]: widens the range to what the
  // filter's own output must be read again for.
  virtual KivResult WidenDirtyRange(KivTime* from, KivTime* to) = 0;
};

struct IKivFilter2 : IKivFilter {
  static constexpr Guid iid = Guid::Literal("{5D7C1E2A-9B34-4F60-8E15-3A9D2C7B6F41}");
  using Parent = IKivFilter;
  // Once; E_INVALIDARG for null, E_UNEXPECTED when set already.
  virtual KivResult SetParent(IKivUnknown* parent) = 0;
  virtual KivResult GetId(uint32_t* id) = 0;
  // Once; E_UNEXPECTED afterwards.
  virtual KivResult SetId(uint32_t id) = 0;
  virtual KivResult GetFlags(uint32_t* flags) = 0;
  virtual KivResult SetFlags(uint32_t flags) = 0;
  // The client's name for the filter (the channel's own name, as IKivData
  // gives it, is the input's).
  virtual KivResult GetFilterName(std::u16string* name) = 0;
  virtual KivResult SetFilterName(const std::u16string& name) = 0;
};

// A filter that takes a value offset.
struct IKivFilter3 : IKivFilter2 {
  static constexpr Guid iid = Guid::Literal("{A84E3F19-62C7-4B0D-9D38-1E7F5B2A0C96}");
  using Parent = IKivFilter2;
  virtual KivResult GetOffset(double* offset) = 0;
  virtual KivResult SetOffset(double offset) = 0;
};

// What the "Filter" property of a channel names: it makes filter channels.
struct IKivFilterFactory : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{3C91B5E7-0A4D-4E82-B6F3-7D28E1C9A504}");
  virtual KivResult CreateFilter(IKivChannel* input, IKivFilter** filter) = 0;
};

// Every proxy: whether a real object stands behind it now.
struct IKivDataProxy : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{0E6B2D94-7F1C-4A35-8B62-C4D9A1E7F305}");
  virtual KivResult GetActive(KivBool* active) = 0;
};

struct IKivChannelProxy : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{9B4F1A63-2D8E-4C70-A5B1-E63F0D2C8A97}");
  virtual KivResult GetValueOffset(double* offset) = 0;
  // Stored by the selection under the channel's name, so it outlives the
  // proxy and a change of outing.
  virtual KivResult SetValueOffset(double offset) = 0;
};

struct IKivFilterProxy : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{6F2A8C15-B3E9-4D07-91C4-58E0A7D3B2F6}");
  // A filter from a channel property set ("Filter enabled", "Filter");
  // E_INVALIDARG for one added already. The first free slot is reused.
  virtual KivResult AddFilter(IKivPropertySet* properties, int32_t* index) = 0;
  // E_INVALIDARG out of range; later slots keep their numbers.
  virtual KivResult RemoveFilter(int32_t index) = 0;
  // KIV_E_PENDING without a real channel; E_INVALIDARG for a bad index.
  virtual KivResult GetFilterIterator(int32_t index, IKivChannelIterator2** iterator) = 0;
};

#define KIV_CHANNEL_PROXY_NOTIFICATIONS_1(X) \
  X(OnValueOffsetChanged, (IKivChannelProxy* proxy, double offset), (proxy, offset))

KIV_NOTIFICATION_FAMILY(ChannelProxyNotifications, "{E2C47A0B-8D15-4F93-A6E8-0B3D95C71F24}",
                        KIV_CHANNEL_PROXY_NOTIFICATIONS_1)

}  // namespace velmar
