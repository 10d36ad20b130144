#include "outing/channels/channel_header.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "outing/channels/channel_scaling.h"
#include "outing/channels/channel_table.h"
#include "outing/memory_channel_source.h"
#include "support/data_listener.h"
#include "support/fixtures.h"
#include "support/map_properties.h"
#include "velmar/channel_key.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

// Brackets left in the name become underscores; nested ones are matched.
TEST(ChannelHeaderTest, SplitOfEachFixtureCase) {
  for (const auto table = Fixture("outing/header_names.json"); const auto& c : table["cases"]) {
    const HeaderName expected{Utf8ToWide(c[1].get<std::string>()), Utf8ToWide(c[2].get<std::string>()),
                              c[3].get<bool>()};
    EXPECT_EQ(SplitHeaderName(Utf8ToWide(c[0].get<std::string>())), expected) << c[0];
  }
}

TEST(ChannelHeaderTest, UnitTextIsLookedUpInTheTable) {
  ComPtr<IKivUnitTable> table;
  ASSERT_EQ(CreateUnitsComponent(&table), S_OK);
  const auto tied = [](const HeaderUnit& u) { return std::tuple(u.unit, u.known, u.userType); };
  EXPECT_EQ(tied(LookUpHeaderUnit(u"km/h", table.Get())), std::tuple(ChannelUnit{kQuantitySpeed, 1}, true, u""));
  EXPECT_EQ(tied(LookUpHeaderUnit(u"furlong/fortnight", table.Get())),
            std::tuple(ChannelUnit{}, false, u"furlong/fortnight"));

  EXPECT_FALSE(LookUpHeaderUnit(u"", table.Get()).known);
  EXPECT_EQ(LookUpHeaderUnit(u"km/h", nullptr).userType, u"km/h") << "no table knows nothing";
  // Underscores become blanks for the second lookup.
  EXPECT_EQ(UnderscoresToBlanks(u"Engine_Speed_"), u"Engine Speed ");
  EXPECT_EQ(UnderscoresToBlanks(u"Plain"), u"Plain");
}

TEST(ChannelKeyTest, MadeFromNameAndIdReplacesBracketsParsesBackAndOrdersByText) {
  const CChannelKey key(u"a[b]", 7);
  EXPECT_TRUE(key.valid());
  EXPECT_EQ(key.text(), u"[7]a_b_");

  CChannelKey parsed;
  ASSERT_TRUE(CChannelKey::Parse(key.text(), &parsed));
  EXPECT_EQ(parsed, key) << "keys compare by their text, which holds the id and the name";
  EXPECT_LT(CChannelKey(u"a", 1), CChannelKey(u"b", 1));
  EXPECT_FALSE(CChannelKey(u"a", 1) == CChannelKey(u"a", 2));
  EXPECT_EQ(CChannelKey(u"a[", 1), CChannelKey(u"a_", 1));
}

TEST(ChannelKeyTest, ParseOfEachFixtureCase) {
  for (const auto table = Fixture("outing/channel_keys.json"); const auto& c : table["cases"]) {
    CChannelKey key(u"x", 1);
    ASSERT_EQ(CChannelKey::Parse(Utf8ToWide(c[0].get<std::string>()), &key), c[1].get<bool>()) << c;
    EXPECT_EQ(key.valid(), c[1].get<bool>()) << "a failed parse leaves no key behind: " << c;
    if (c[1].get<bool>()) {
      EXPECT_EQ(key.id(), c[2].get<uint32_t>()) << c;
      EXPECT_EQ(WideToUtf8(key.name()), c[3].get<std::string>()) << c;
    }
  }
  EXPECT_FALSE(CChannelKey::Parse(u"[7]x", nullptr));
  EXPECT_FALSE(CChannelKey().valid());
}

using ::testing::ElementsAre;

class ChannelTableTest : public ::testing::Test {
 protected:
  void TearDown() override { table_.DropAll(); }

  KivResult Get(const std::u16string& name, ComPtr<IKivChannel>* out, bool listed = true, bool binding = true) {
    return table_.Get(name, listed, binding, maker_, out->Put());
  }

  ComPtr<CMemoryRawChannels> source_{new CMemoryRawChannels()};
  int made_ = 0;
  KivTime offset_ = 7;
  CChannelTable<CFileChannel>::Maker maker_ = [this](const std::u16string& name, ComPtr<CFileChannel>* out) {
    ++made_;
    auto channel = MakeKiv<CFileChannel>();
    channel->Bind(name, CChannelKey(name, 1), nullptr, source_, {}, nullptr);
    const KivResult hr = channel->SetTimeOffset(offset_);
    if (Succeeded(hr)) *out = channel;
    return hr;
  };
  CChannelTable<CFileChannel> table_;
};

TEST_F(ChannelTableTest, SameObjectForEveryRequestOfAName) {
  ComPtr<IKivChannel> a, b;
  ASSERT_EQ(Get(u"Speed", &a), S_OK);
  ASSERT_EQ(Get(u"Speed", &b), S_OK);
  EXPECT_EQ(a.Get(), b.Get());
  EXPECT_EQ(made_, 1);
  EXPECT_EQ(table_.uses(u"Speed"), 2u);
  EXPECT_EQ(table_.Find(u"Speed")->timeOffset(), 7) << "made with the outing's offset";
}

TEST_F(ChannelTableTest, LookupCodes) {
  ComPtr<IKivChannel> c;
  EXPECT_EQ(table_.Get(u"Speed", true, true, maker_, nullptr), E_POINTER);
  EXPECT_EQ(Get(u"Speed", &c, /*listed=*/false), E_INVALIDARG);
  EXPECT_EQ(Get(u"Speed", &c, true, /*binding=*/false), E_FAIL);
  EXPECT_FALSE(c);
  offset_ = kTimeMin;
  EXPECT_EQ(Get(u"Speed", &c), E_INVALIDARG) << "a maker's failure comes back";
  EXPECT_EQ(table_.size(), 0u);
}

TEST_F(ChannelTableTest, LastReleaseDetachesAndTheNextRequestMakesAnew) {
  ComPtr<IKivChannel> c;
  ASSERT_EQ(Get(u"Speed", &c), S_OK);
  ASSERT_EQ(Get(u"Speed", &c), S_OK);
  std::vector<std::string> log;
  CDataListener listener(&log);
  ASSERT_TRUE(listener.Connect(c.Get(), false));
  EXPECT_TRUE(table_.Release(u"Speed"));
  EXPECT_TRUE(log.empty());
  EXPECT_TRUE(table_.Release(u"Speed"));
  EXPECT_THAT(log, ElementsAre("removed"));
  EXPECT_FALSE(table_.Release(u"Speed"));
  ComPtr<IKivChannel> fresh;
  ASSERT_EQ(Get(u"Speed", &fresh), S_OK);
  EXPECT_NE(fresh.Get(), c.Get());
}

TEST_F(ChannelTableTest, OffsetsStopAtTheFirstFailureAndDropAllDetachesEveryChannel) {
  ComPtr<IKivChannel> a, b;
  ASSERT_EQ(Get(u"B", &b), S_OK);
  ASSERT_EQ(Get(u"A", &a), S_OK);
  std::vector<std::string> log;
  CDataListener la(&log), lb(&log);
  ASSERT_TRUE(la.Connect(a.Get(), false));
  ASSERT_TRUE(lb.Connect(b.Get(), false));
  EXPECT_EQ(table_.SetTimeOffset(kTimeMax), E_INVALIDARG);
  EXPECT_EQ(table_.SetTimeOffset(3), S_OK);
  EXPECT_EQ(table_.Find(u"B")->timeOffset(), 3);
  table_.DropAll();
  EXPECT_THAT(log, ElementsAre("removed", "removed"));
  EXPECT_EQ(table_.size(), 0u);
}

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

TEST_F(UnitsTest, DimensionlessNoConverterOrAnUnknownUnitIsIdentity) {
  ChannelScaling s{5, 5};
  EXPECT_EQ(ReadingScaling({kQuantityDimensionless, 3}, units_.Get(), &s), S_OK);
  EXPECT_TRUE(s.IsIdentity());
  s = {5, 5};
  EXPECT_EQ(ReadingScaling({kQuantitySpeed, 1}, nullptr, &s), S_OK);
  EXPECT_TRUE(s.IsIdentity());
  s = {5, 5};
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
