#include "outing/channels/channel_scaling.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <vector>

#include "support/map_properties.h"

namespace velmar::testing {
namespace {

constexpr QuantityId kTemperature = 9;

class UnitsTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(CreateUnitsComponent(&units_), S_OK); }
  ComPtr<IKivUnits> units_;
};

TEST_F(UnitsTest, ReadingScalesIntoTheBaseUnit) {
  ChannelScaling kmh;
  ASSERT_EQ(ReadingScaling({kQuantitySpeed, 1}, units_.Get(), &kmh), S_OK);
  EXPECT_NEAR(kmh.Apply(36.0), 10.0, 1e-12) << "36 km/h is 10 m/s";

  // A unit with an offset: whatever the table says, stored = value x factor + offset.
  std::vector<UnitId> ids;
  ASSERT_EQ(QueryAs<IKivUnitTable>(units_.Get())->GetUnitIds(kTemperature, &ids), S_OK);
  for (UnitId unit : ids) {
    ChannelScaling s;
    ASSERT_EQ(ReadingScaling({kTemperature, unit}, units_.Get(), &s), S_OK);
    double converted = 0;
    ASSERT_EQ(QueryAs<IKivUnitTable>(units_.Get())->ConvertValue(kTemperature, unit, kBaseUnit, 25.0, &converted),
              S_OK);
    EXPECT_NEAR(s.Apply(25.0), converted, 1e-9) << "unit " << unit;
  }
}

TEST_F(UnitsTest, DimensionlessOrNoConverterIsIdentity) {
  ChannelScaling s{5, 5};
  EXPECT_EQ(ReadingScaling({kQuantityDimensionless, 3}, units_.Get(), &s), S_OK);
  EXPECT_TRUE(s.IsIdentity());
  s = {5, 5};
  EXPECT_EQ(ReadingScaling({kQuantitySpeed, 1}, nullptr, &s), S_OK);
  EXPECT_TRUE(s.IsIdentity());
}

TEST_F(UnitsTest, UnknownUnitGivesTheConvertersCodeAndIdentity) {
  ChannelScaling s{5, 5};
  EXPECT_EQ(ReadingScaling({kQuantitySpeed, 999}, units_.Get(), &s), KIV_E_UNKNOWN_UNIT);
  EXPECT_TRUE(s.IsIdentity());
  EXPECT_EQ(ReadingScaling({12345, 0}, units_.Get(), &s), KIV_E_UNKNOWN_QUANTITY);
  EXPECT_EQ(ReadingScaling({kQuantitySpeed, 1}, units_.Get(), nullptr), E_POINTER);
}

TEST(ChannelScalingTest, UnitComesFromTheProperty) {
  EXPECT_EQ(UnitFromProperty(nullptr), ChannelUnit{});
  auto property = MakeKiv<CMapProperties>();
  EXPECT_EQ(UnitFromProperty(property.Get()), ChannelUnit{});
  property->values[u"Quantity"] = Variant::U32(3);
  property->values[u"Unit"] = Variant::U32(2);
  EXPECT_EQ(UnitFromProperty(property.Get()), (ChannelUnit{3, 2}));
  property->values[u"Unit"] = Variant::I32(1);
  EXPECT_EQ(UnitFromProperty(property.Get()), (ChannelUnit{3, 1}));
  property->values[u"Quantity"] = Variant::I32(-4);
  EXPECT_EQ(UnitFromProperty(property.Get()), ChannelUnit{}) << "a negative quantity is none";
  property->values[u"Quantity"] = Variant::Text(u"3");
  EXPECT_EQ(UnitFromProperty(property.Get()), ChannelUnit{});
}

TEST(ChannelScalingTest, ApplyKeepsNaNAndInfinities) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  const std::vector<double> in{1, nan, inf};
  std::vector<double> out(3);
  ApplyScaling({2, 1}, in, out);
  EXPECT_EQ(out[0], 3);
  EXPECT_TRUE(std::isnan(out[1]));
  EXPECT_EQ(out[2], inf);
  ApplyScaling({}, in, out);
  EXPECT_EQ(out[0], 1);
}

}  // namespace
}  // namespace velmar::testing
