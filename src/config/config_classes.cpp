#include "config/config_classes.h"

#include "config/channel_property_factory.h"
#include "config/colour_table.h"
#include "config/common_channels.h"
#include "config/event_property_factory.h"
#include "config/favorites.h"
#include "config/global_constant_factory.h"
#include "config/group_factory.h"
#include "config/property_factory_helpers.h"
#include "config/priorities.h"
#include "config/quantity_to_color_mapping.h"
#include "config/real_time_settings.h"
#include "velmar/classes.h"
#include "velmar/units.h"

namespace velmar {

namespace {

template <class T>
KivResult Make(IKivUnknown** out) {
  if (!out) return E_POINTER;
  auto object = MakeKiv<T>();
  return GiveOut(object->PrimaryUnknown(), out);
}

template <class T>
KivResult Add(ClassRegistry& registry, const Guid& clsid, const char16_t* progId, const char16_t* name) {
  ClassRegistry::ClassInfo info;
  info.clsid = clsid;
  if (progId) info.prog_id = progId;
  info.display_name = name;
  info.create = &Make<T>;
  return registry.Register(std::move(info));
}

}  // namespace

KivResult RegisterConfigClasses(ClassRegistry& registry) {
  const KivResult results[] = {
      Add<CColourTable>(registry, CLSID_KivColourTable, nullptr, u"Colour Table"),
      Add<CFavorites>(registry, CLSID_KivFavorites, nullptr, u"Favorites"),
      Add<CPriorities>(registry, CLSID_KivPriorities, nullptr, u"Priorities"),
      Add<CQuantityToColorMapping>(registry, CLSID_KivQuantityToColorMapping, nullptr, u"Quantity To Color Mapping"),
      Add<CGlobalConstantFactory>(registry, CLSID_KivGlobalConstantFactory, nullptr, u"Global Constants"),
      Add<CRealTimeSettings>(registry, CLSID_KivRealTimeSettings, nullptr, u"Real-time Settings"),
      Add<CCommonChannels>(registry, CLSID_KivCommonChannels, nullptr, u"Common Channels"),
      Add<CChannelPropertyFactory>(registry, CLSID_KivChannelPropertyFactory, nullptr,
                                   u"Channel Property Factory"),
      Add<CEventPropertyFactory>(registry, CLSID_KivEventPropertyFactory, nullptr,
                                 u"Event Property Factory"),
      Add<CGroupFactory>(registry, CLSID_KivGroupFactory, nullptr, u"Group Factory"),
      Add<CChannelPropertyFactoryHelper>(registry, CLSID_KivChannelPropertyFactoryHelper,
                                         u"KivVelmar.ChannelPropertyFactoryHelper.1", u"Channel Property Factory Helper"),
      Add<CEventPropertyFactoryHelper>(registry, CLSID_KivEventPropertyFactoryHelper,
                                       u"KivVelmar.EventPropertyFactoryHelper.1", u"Event Property Factory Helper"),
  };
  for (KivResult r : results) {
    if (Failed(r)) return r;
  }
  std::u16string unitsProgId;
  if (registry.ClsidToProgId(CLSID_KivUnits, &unitsProgId) == REGDB_E_CLASSNOTREG) {
    ClassRegistry::ClassInfo units;
    units.clsid = CLSID_KivUnits;
    units.display_name = u"Units";
    units.create = [](IKivUnknown** out) { return CreateUnitsComponent(IKivUnknown::iid, reinterpret_cast<void**>(out)); };
    return registry.Register(std::move(units));
  }
  return S_OK;
}

}  // namespace velmar
