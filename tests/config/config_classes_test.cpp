#include "config/config_classes.h"

#include <gtest/gtest.h>

#include "core/velmar_parts.h"
#include "velmar/colour_table.h"
#include "velmar/common_channels.h"
#include "velmar/data_factory.h"
#include "velmar/favorites.h"
#include "velmar/priorities.h"
#include "velmar/property_factories.h"
#include "velmar/quantity_to_color_mapping.h"
#include "velmar/real_time_settings.h"
#include "velmar/units.h"

namespace velmar {
namespace {

template <class Public, class Internal>
void ExpectFaces(ClassRegistry& registry, const Guid& clsid) {
  ComPtr<Public> face;
  ASSERT_EQ(registry.CreateInstance(clsid, &face), S_OK) << clsid.ToString();
  EXPECT_TRUE(face.template As<Internal>()) << clsid.ToString();
}

TEST(ConfigClasses, EveryOwnedObjectIsCreatedByItsClassWithBothFaces) {
  ClassRegistry registry;
  ASSERT_EQ(RegisterConfigClasses(registry), S_OK);
  ExpectFaces<IKivColourTable, IKivColourTableInternal>(registry, CLSID_KivColourTable);
  ExpectFaces<IKivFavorites, IKivFavoritesInternal>(registry, CLSID_KivFavorites);
  ExpectFaces<IKivPriorities, IKivPrioritiesInternal>(registry, CLSID_KivPriorities);
  ExpectFaces<IKivQuantityToColorMapping, IKivQuantityToColorMappingInternal>(registry,
                                                                              CLSID_KivQuantityToColorMapping);
  ExpectFaces<IKivConstantFactory, IKivGlobalConstantFactoryInternal>(registry, CLSID_KivGlobalConstantFactory);
  ExpectFaces<IKivRealTimeSettings3, IKivRealTimeSettingsInternal>(registry, CLSID_KivRealTimeSettings);
  ExpectFaces<IKivCommonChannels, IKivCommonChannelsInternal>(registry, CLSID_KivCommonChannels);
  ExpectFaces<IKivChannelPropertyFactory, IKivNotifications>(registry, CLSID_KivChannelPropertyFactory);
  ExpectFaces<IKivEventPropertyFactory, IKivNotifications>(registry, CLSID_KivEventPropertyFactory);
  ExpectFaces<IKivGroupFactory, IKivNotifications>(registry, CLSID_KivGroupFactory);
  ComPtr<IKivUnits> units;
  ASSERT_EQ(registry.CreateInstance(CLSID_KivUnits, &units), S_OK);
  UnitId unit = 99;
  ASSERT_EQ(units->GetDefaultUnit(kQuantitySpeed, &unit), S_OK);
  EXPECT_EQ(unit, 1u);
}

}  // namespace
}  // namespace velmar
