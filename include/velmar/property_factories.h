// The shared property databases the root creates and persists: channel
// properties (keyed by channel name and quantity), event properties (keyed
// by event name) and channel groups, with the notifications each raises,
// and the circuit map the root holds.
//
// Each database tells its clients of changes through IKivNotifications.
// Before it removes an entry, a property database asks its clients whether
// the name is still in use; a client that knows a user answers through the
// out arguments of the query, with a reason (1: a task uses it, 2: a common
// channel names it).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/guid.h"
#include "velmar/notification_family.h"
#include "velmar/property_set.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivQuantityToColorMapping;

inline constexpr Guid CLSID_KivChannelPropertyFactory = Guid::Literal("{1B214A53-08B6-4D60-B2EF-39E23A179419}");
inline constexpr Guid CLSID_KivEventPropertyFactory = Guid::Literal("{380C53A7-A347-48D8-AAC5-82C2B15D55CE}");
inline constexpr Guid CLSID_KivGroupFactory = Guid::Literal("{E8E28D3B-FC1F-41A1-90EE-D0ED2D46C9E8}");

// Reasons a name is in use.
inline constexpr uint32_t kNameUsedByTask = 1;
inline constexpr uint32_t kNameUsedByCommonChannel = 2;

struct IKivChannelPropertyFactory : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{2EE3627F-5B7B-4DB3-9C52-88272FD91EAE}");
  virtual KivResult HasKey(const std::u16string& name, int32_t quantity, KivBool* found) = 0;
  // The properties of a key, made with the standard defaults on first demand.
  // E_INVALIDARG for an empty name or a negative quantity.
  virtual KivResult GetPropertySet(const std::u16string& name, int32_t quantity, IKivPropertySet** set) = 0;
  // E_INVALIDARG when the key is unknown; E_ACCESSDENIED when a client
  // reports the name in use.
  virtual KivResult RemoveKey(const std::u16string& name, int32_t quantity) = 0;
  virtual KivResult GetKeyCount(uint32_t* count) = 0;
  // Index from 1 in key order; DISP_E_BADINDEX out of range.
  virtual KivResult GetKey(uint32_t index, std::u16string* name, int32_t* quantity) = 0;
  // Kept for the slot order of the quantity-to-colour mapping; E_NOTIMPL.
  virtual KivResult Reserved8() = 0;
  virtual KivResult Reserved9() = 0;
  virtual KivResult Reserved10() = 0;
  virtual KivResult Reserved11() = 0;
  virtual KivResult Reserved12() = 0;
  virtual KivResult GetQuantityToColorMapping(IKivQuantityToColorMapping** mapping) = 0;
  // Slot 14: the mapping that gives a new key its default colour; null lets go.
  virtual KivResult SetQuantityToColorMapping(IKivQuantityToColorMapping* mapping) = 0;
};

struct IKivEventPropertyFactory : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{C3093306-51E0-4C2C-83A9-9E4077B38C2C}");
  virtual KivResult HasName(const std::u16string& name, KivBool* found) = 0;
  // Made on first demand, with "Priority" 0. E_INVALIDARG for an empty name.
  virtual KivResult GetPropertySet(const std::u16string& name, IKivPropertySet** set) = 0;
  // E_INVALIDARG when unknown; E_ACCESSDENIED when a client reports it in use.
  virtual KivResult RemoveName(const std::u16string& name) = 0;
  virtual KivResult GetCount(uint32_t* count) = 0;
  // Index from 1 in name order; DISP_E_BADINDEX out of range.
  virtual KivResult GetName(uint32_t index, std::u16string* name) = 0;
};

struct IKivGroupFactory : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{CC79CC8A-340D-44A9-8781-ACCFDC28A5CC}");
  virtual KivResult GetCount(uint32_t* count) = 0;
  // Index from 1 in name order; DISP_E_BADINDEX out of range.
  virtual KivResult GetGroupName(uint32_t index, std::u16string* name) = 0;
  // E_INVALIDARG for an empty name; S_FALSE when the group exists.
  virtual KivResult AddGroup(const std::u16string& name) = 0;
  // E_INVALIDARG when unknown.
  virtual KivResult RemoveGroup(const std::u16string& name) = 0;
  virtual KivResult GetMembers(const std::u16string& group, std::vector<std::u16string>* channels) = 0;
  // S_FALSE when the members are already these.
  virtual KivResult SetMembers(const std::u16string& group, const std::vector<std::u16string>& channels) = 0;
};

// A circuit map. Its content belongs to the component that made it; the
// root only holds it, persists it and passes it on, and the lap finder
// predicts a live outing's current lap from its reference lap.
struct IKivCircuitMapData : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{C18ED2E5-0FA1-4FD1-A5E5-4B592DF0B688}");
  // The class that reads the map back from its storage.
  virtual KivResult GetClassId(Guid* clsid) = 0;
  // The reference lap time in ticks; 0 or less means none.
  virtual KivResult GetLapTime(KivTime* time) = 0;
};

#define KIV_CHANNEL_PROPERTY_FACTORY_NOTIFICATIONS_1(X)                                              \
  X(OnChannelKeyAdded, (IKivChannelPropertyFactory * factory, const std::u16string& name, int32_t quantity), \
    (factory, name, quantity))                                                                      \
  X(OnChannelKeyRemoved,                                                                            \
    (IKivChannelPropertyFactory * factory, const std::u16string& name, int32_t quantity),          \
    (factory, name, quantity))                                                                      \
  X(OnChannelPropertiesChanged,                                                                     \
    (IKivChannelPropertyFactory * factory, const std::u16string& name, int32_t quantity),          \
    (factory, name, quantity))
#define KIV_CHANNEL_PROPERTY_FACTORY_NOTIFICATIONS_2(X)                                              \
  X(OnQueryChannelNameInUse,                                                                        \
    (IKivChannelPropertyFactory * factory, const std::u16string& name, KivBool* inUse, uint32_t* reason), \
    (factory, name, inUse, reason))

KIV_NOTIFICATION_FAMILY(ChannelPropertyFactoryNotifications, "{B012BC82-0464-45BC-9CA9-0BC11728A690}",
                        KIV_CHANNEL_PROPERTY_FACTORY_NOTIFICATIONS_1)
KIV_NOTIFICATION_GENERATION(ChannelPropertyFactoryNotifications, 2, , "{A0E13B83-9E91-49EC-A0BD-7630445594DD}",
                            KIV_CHANNEL_PROPERTY_FACTORY_NOTIFICATIONS_2)

#define KIV_EVENT_PROPERTY_FACTORY_NOTIFICATIONS_1(X)                                                \
  X(OnEventNameAdded, (IKivEventPropertyFactory * factory, const std::u16string& name), (factory, name)) \
  X(OnEventNameRemoved, (IKivEventPropertyFactory * factory, const std::u16string& name), (factory, name)) \
  X(OnEventPropertiesChanged, (IKivEventPropertyFactory * factory, const std::u16string& name),      \
    (factory, name))                                                                                \
  X(OnQueryEventNameInUse,                                                                          \
    (IKivEventPropertyFactory * factory, const std::u16string& name, KivBool* inUse, uint32_t* reason), \
    (factory, name, inUse, reason))

KIV_NOTIFICATION_FAMILY(EventPropertyFactoryNotifications, "{3949E520-D5CC-42DE-8510-D3AF8E08E3F1}",
                        KIV_EVENT_PROPERTY_FACTORY_NOTIFICATIONS_1)

#define KIV_GROUP_FACTORY_NOTIFICATIONS_1(X) \
  X(OnGroupsChanged, (IKivGroupFactory * factory, const std::u16string& group), (factory, group))

KIV_NOTIFICATION_FAMILY(GroupFactoryNotifications, "{753866DD-8B41-4612-89F1-9685822A88B2}",
                        KIV_GROUP_FACTORY_NOTIFICATIONS_1)

#define KIV_CIRCUIT_MAP_DATA_NOTIFICATIONS_1(X) X(OnMapDataChanged, (IKivCircuitMapData * map), (map))
#define KIV_CIRCUIT_MAP_DATA_NOTIFICATIONS_2(X) X(OnMapLayoutChanged, (IKivCircuitMapData * map), (map))

KIV_NOTIFICATION_FAMILY(CircuitMapDataNotifications, "{62AFF636-3013-4BFD-B8E1-CA2FF18257F2}",
                        KIV_CIRCUIT_MAP_DATA_NOTIFICATIONS_1)
KIV_NOTIFICATION_GENERATION(CircuitMapDataNotifications, 2, , "{9CEF533A-42B9-4B9A-946B-2A1A75FF7B3B}",
                            KIV_CIRCUIT_MAP_DATA_NOTIFICATIONS_2)

}  // namespace velmar
