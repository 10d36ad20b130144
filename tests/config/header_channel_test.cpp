// A column header read against the real property database and unit table:
// the property lookup (with "_" as blanks), the key from the id found, and
// the property a new name gets.
#include <gtest/gtest.h>

#include "config/channel_property_factory.h"
#include "velmar/quantity_to_color_mapping.h"
#include "outing/channels/channel_header.h"

namespace velmar::testing {
namespace {

class HeaderChannelTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(CreateUnitsComponent(&table_), S_OK); }
  Variant Property(const std::u16string& name, int32_t quantity, const std::u16string& property) {
    ComPtr<IKivPropertySet> set;
    Variant value;
    EXPECT_EQ(properties_->GetPropertySet(name, quantity, set.Put()), S_OK);
    (void)set->GetProperty(property, &value);
    return value;
  }

  ComPtr<CChannelPropertyFactory> properties_ = MakeKiv<CChannelPropertyFactory>();
  ComPtr<IKivUnitTable> table_;
};

TEST_F(HeaderChannelTest, ANewNameGetsAPropertyOfItsUnitAndAnUnknownUnitIsKeptAsUserType) {
  QuantityId speed = 0;
  UnitId kmh = 0;
  ASSERT_EQ(table_->FindUnit(u"km/h", &speed, &kmh), S_OK);
  const HeaderChannel channel = ResolveHeaderChannel(u"Speed", u"km/h", properties_.Get(), table_.Get(), true);
  EXPECT_EQ(channel.key, CChannelKey(u"Speed", static_cast<uint32_t>(speed)));
  EXPECT_EQ(channel.unit, (ChannelUnit{speed, kmh}));
  EXPECT_EQ(Property(u"Speed", speed, u"Unit").ToDouble(), static_cast<double>(kmh));

  const HeaderChannel odd = ResolveHeaderChannel(u"Glow", u"furlongs", properties_.Get(), table_.Get(), true);
  EXPECT_EQ(odd.key, CChannelKey(u"Glow", 0));
  EXPECT_EQ(odd.unit, ChannelUnit{});
  EXPECT_EQ(Property(u"Glow", 0, u"User type"), Variant::Text(u"furlongs"));
}

TEST_F(HeaderChannelTest, AKnownNameGivesItsIdAndUnderscoresMayStandForBlanks) {
  ComPtr<IKivPropertySet> set;
  ASSERT_EQ(properties_->GetPropertySet(u"Oil Temp", 5, set.Put()), S_OK);
  const HeaderChannel blank = ResolveHeaderChannel(u"Oil_Temp", u"", properties_.Get(), table_.Get(), true);
  EXPECT_EQ(blank.key, CChannelKey(u"Oil_Temp", 5)) << "found as \"Oil Temp\"; the key keeps the column's name";
  const HeaderChannel strict = ResolveHeaderChannel(u"Oil_Temp", u"", properties_.Get(), table_.Get(), false);
  EXPECT_EQ(strict.key, CChannelKey(u"Oil_Temp", 0)) << "no second try: a new property";
  const HeaderChannel bare = ResolveHeaderChannel(u"Gear", u"", nullptr, nullptr, true);
  EXPECT_EQ(bare.key, CChannelKey(u"Gear", 0));
}

}  // namespace
}  // namespace velmar::testing
