#include "platform/units/units_component.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "velmar/units.h"

namespace velmar {
namespace {

using ::testing::ElementsAre;

// Quantity and unit ids of the shipped table that the tests rely on.
constexpr QuantityId kTemperature = 9;
constexpr QuantityId kPressure = 8;
constexpr QuantityId kMass = 17;
constexpr UnitId kKelvin = 0, kCelsius = 1, kFahrenheit = 2;
constexpr UnitId kMetresPerSecond = 0, kKmh = 1, kMph = 2;

class UnitsComponentTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(CreateUnitsComponent(&units_), S_OK);
    table_ = units_.As<IKivUnitTable>();
    ASSERT_TRUE(table_);
  }
  double Convert(QuantityId q, UnitId from, UnitId to, double v) {
    double out = -1;
    EXPECT_EQ(table_->ConvertValue(q, from, to, v, &out), S_OK);
    return out;
  }
  ComPtr<IKivUnits> units_;
  ComPtr<IKivUnitTable> table_;
};

TEST_F(UnitsComponentTest, SpeedIsQuantityThreeWithKmhByDefault) {
  UnitId unit = 99;
  ASSERT_EQ(units_->GetDefaultUnit(kQuantitySpeed, &unit), S_OK);
  EXPECT_EQ(unit, kKmh);
  std::u16string text;
  ASSERT_EQ(table_->GetUnitText(kQuantitySpeed, unit, &text), S_OK);
  EXPECT_EQ(text, u"km/h");
  std::vector<UnitId> ids;
  ASSERT_EQ(table_->GetUnitIds(kQuantitySpeed, &ids), S_OK);
  EXPECT_THAT(ids, ElementsAre(0u, 1u, 2u, 3u)) << "the root's speed unit setting ranges 0 to 3";
}

TEST_F(UnitsComponentTest, ReadingScalesIntoTheBaseUnitAndWritingBack) {
  double factor = 0, offset = 1;
  ASSERT_EQ(units_->GetFactor(kQuantitySpeed, kKmh, kBaseUnit, &factor), S_OK);
  ASSERT_EQ(units_->GetOffset(kQuantitySpeed, kKmh, kBaseUnit, &offset), S_OK);
  EXPECT_DOUBLE_EQ(36.0 * factor + offset, 10.0);
  ASSERT_EQ(units_->GetScaling(kQuantitySpeed, kBaseUnit, kKmh, &factor, &offset), S_OK);
  EXPECT_DOUBLE_EQ(10.0 * factor + offset, 36.0);
  EXPECT_NEAR(Convert(kQuantitySpeed, kMph, kKmh, 60.0), 96.56064, 1e-9);
}

TEST_F(UnitsComponentTest, TemperatureConversionsUseOffsets) {
  EXPECT_DOUBLE_EQ(Convert(kTemperature, kCelsius, kFahrenheit, 100.0), 212.0);
  EXPECT_NEAR(Convert(kTemperature, kCelsius, kFahrenheit, -40.0), -40.0, 1e-12);
  EXPECT_NEAR(Convert(kTemperature, kFahrenheit, kKelvin, 32.0), 273.15, 1e-12);
  EXPECT_DOUBLE_EQ(Convert(kTemperature, kKelvin, kCelsius, 0.0), -273.15);
  double factor = 0, offset = 0;
  ASSERT_EQ(units_->GetScaling(kTemperature, kCelsius, kFahrenheit, &factor, &offset), S_OK);
  EXPECT_DOUBLE_EQ(factor, 1.8);
  EXPECT_NEAR(offset, 32.0, 1e-12);
}

TEST_F(UnitsComponentTest, EveryUnitRoundTripsThroughItsBase) {
  std::vector<QuantityId> quantities;
  ASSERT_EQ(table_->GetQuantityIds(&quantities), S_OK);
  for (QuantityId q : quantities) {
    std::vector<UnitId> ids;
    ASSERT_EQ(table_->GetUnitIds(q, &ids), S_OK);
    for (UnitId u : ids) {
      double there = Convert(q, u, kBaseUnit, 123.456);
      EXPECT_NEAR(Convert(q, kBaseUnit, u, there), 123.456, 1e-9) << q << "/" << u;
    }
  }
}

TEST_F(UnitsComponentTest, ListsEveryQuantityAscendingWithAName) {
  std::vector<QuantityId> ids;
  ASSERT_EQ(table_->GetQuantityIds(&ids), S_OK);
  ASSERT_GE(ids.size(), 22u);
  for (QuantityId q = 0; q < 22; ++q) EXPECT_EQ(ids[static_cast<size_t>(q)], q);
  for (QuantityId q : ids) {
    std::u16string name;
    EXPECT_EQ(units_->GetQuantityName(q, &name), S_OK);
    EXPECT_FALSE(name.empty()) << q;
    UnitId def = 0;
    EXPECT_EQ(units_->GetDefaultUnit(q, &def), S_OK);
    EXPECT_EQ(units_->GetUnitName(q, def, &name), S_OK) << "default unit of " << q << " exists";
  }
}

TEST_F(UnitsComponentTest, FindUnitMatchesExactCaseFirst) {
  QuantityId q = -1;
  UnitId u = 99;
  ASSERT_EQ(table_->FindUnit(u"KM/H", &q, &u), S_OK);
  EXPECT_EQ(q, kQuantitySpeed);
  EXPECT_EQ(u, kKmh);
  ASSERT_EQ(table_->FindUnit(u"mbar", &q, &u), S_OK);
  ASSERT_EQ(table_->FindUnit(u"MPa", &q, &u), S_OK);
  std::u16string text;
  ASSERT_EQ(table_->GetUnitText(q, u, &text), S_OK);
  EXPECT_EQ(text, u"MPa") << "exact case wins over a case-insensitive match";
  ASSERT_EQ(table_->FindUnit(u"\u00b0C", &q, &u), S_OK);
  EXPECT_EQ(q, kTemperature);
  EXPECT_EQ(u, kCelsius);
  EXPECT_EQ(table_->FindUnit(u"furlong", &q, &u), KIV_E_UNKNOWN_UNIT);
  EXPECT_EQ(table_->FindUnit(u"", &q, &u), KIV_E_UNKNOWN_UNIT);
}

TEST_F(UnitsComponentTest, ConvertByTextStaysInsideOneQuantity) {
  double v = 0;
  ASSERT_EQ(units_->ConvertByText(u"km/h", u"m/s", 72.0, &v), S_OK);
  EXPECT_DOUBLE_EQ(v, 20.0);
  ASSERT_EQ(units_->ConvertByText(u"g", u"kg", 2500.0, &v), S_OK) << "\"g\" is resolved as the gram here";
  EXPECT_DOUBLE_EQ(v, 2.5);
  ASSERT_EQ(units_->ConvertByText(u"g", u"m/s2", 1.0, &v), S_OK) << "and as gravity here";
  EXPECT_DOUBLE_EQ(v, 9.80665);
  EXPECT_EQ(units_->ConvertByText(u"km/h", u"bar", 1.0, &v), E_INVALIDARG);
  EXPECT_EQ(units_->ConvertByText(u"km/h", u"parsec/fortnight", 1.0, &v), KIV_E_UNKNOWN_UNIT);
  EXPECT_EQ(units_->ConvertByText(u"furlong", u"m", 1.0, &v), KIV_E_UNKNOWN_UNIT);
}

TEST_F(UnitsComponentTest, ConvertValuesMatchesSingleConversionsAndWorksInPlace) {
  std::vector<double> in{0.0, 1.0, -2.5, 1e6};
  std::vector<double> out(in.size());
  ASSERT_EQ(units_->ConvertValues(kPressure, 2, 4, in, out), S_OK);  // bar -> psi
  for (size_t i = 0; i < in.size(); ++i) EXPECT_DOUBLE_EQ(out[i], Convert(kPressure, 2, 4, in[i]));
  std::vector<double> same = in;
  ASSERT_EQ(units_->ConvertValues(kTemperature, kCelsius, kKelvin, same, same), S_OK);
  EXPECT_DOUBLE_EQ(same[0], 273.15);
  EXPECT_EQ(units_->ConvertValues(kPressure, 2, 4, in, std::span<double>(out).first(2)), E_INVALIDARG);
  EXPECT_EQ(units_->ConvertValues(kPressure, 2, 99, in, out), KIV_E_UNKNOWN_UNIT);
  EXPECT_EQ(units_->ConvertValues(kPressure, 2, 4, {}, {}), S_OK);
}

TEST_F(UnitsComponentTest, UnknownIdsAndNullPointersGiveClearCodes) {
  double v = 0;
  std::u16string text;
  UnitId unit = 0;
  EXPECT_EQ(table_->ConvertValue(999, 0, 0, 1.0, &v), KIV_E_UNKNOWN_QUANTITY);
  EXPECT_EQ(table_->ConvertValue(kMass, 0, 77, 1.0, &v), KIV_E_UNKNOWN_UNIT);
  EXPECT_EQ(table_->ConvertValue(kMass, 0, 1, 1.0, nullptr), E_POINTER);
  EXPECT_EQ(table_->GetUnitText(-1, 0, &text), KIV_E_UNKNOWN_QUANTITY);
  EXPECT_EQ(table_->GetUnitText(kMass, 0, nullptr), E_POINTER);
  EXPECT_EQ(units_->GetDefaultUnit(999, &unit), KIV_E_UNKNOWN_QUANTITY);
  EXPECT_EQ(units_->GetDefaultUnit(kMass, nullptr), E_POINTER);
  EXPECT_EQ(units_->GetFactor(kMass, 0, 1, nullptr), E_POINTER);
  EXPECT_EQ(units_->GetOffset(kMass, 0, 1, nullptr), E_POINTER);
  EXPECT_EQ(table_->GetQuantityIds(nullptr), E_POINTER);
  EXPECT_EQ(table_->GetUnitIds(999, nullptr), E_POINTER);
  std::vector<UnitId> ids;
  EXPECT_EQ(table_->GetUnitIds(999, &ids), KIV_E_UNKNOWN_QUANTITY);
}

TEST_F(UnitsComponentTest, DimensionlessScalesByOneAndZero) {
  double factor = 0, offset = 1;
  ASSERT_EQ(units_->GetScaling(kQuantityDimensionless, kBaseUnit, kBaseUnit, &factor, &offset), S_OK);
  EXPECT_EQ(factor, 1.0);
  EXPECT_EQ(offset, 0.0);
}

TEST(UnitsComponent, OneObjectAnswersForBothIdentities) {
  ComPtr<IKivUnknown> unknown;
  ASSERT_EQ(CreateUnitsComponent(IKivUnknown::iid, unknown.PutVoid()), S_OK);
  auto units = unknown.As<IKivUnits>();
  auto table = unknown.As<IKivUnitTable>();
  ASSERT_TRUE(units && table);
  EXPECT_EQ(units.As<IKivUnknown>(), unknown);
  EXPECT_EQ(table.As<IKivUnknown>(), unknown);
  void* other = reinterpret_cast<void*>(1);
  EXPECT_EQ(CreateUnitsComponent(Guid::Literal("{00000000-1111-2222-3333-444444444444}"), &other),
            E_NOINTERFACE);
  EXPECT_EQ(other, nullptr);
  EXPECT_EQ(CreateUnitsComponent(IKivUnits::iid, nullptr), E_POINTER);
}

TEST(UnitsComponent, ThreadsCreateAndConvertAtOnce) {
  std::vector<double> results(8, 0.0);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < results.size(); ++i) {
    threads.emplace_back([&results, i] {
      ComPtr<IKivUnitTable> table;
      if (CreateUnitsComponent(&table) != S_OK) return;
      for (int k = 0; k < 1000; ++k) (void)table->ConvertValue(kQuantitySpeed, kMetresPerSecond, kKmh, 10.0, &results[i]);
    });
  }
  for (auto& t : threads) t.join();
  for (double r : results) EXPECT_DOUBLE_EQ(r, 36.0);
}

}  // namespace
}  // namespace velmar
