#include "platform/units/units_component.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "support/fixtures.h"
#include "velmar/text.h"
#include "velmar/units.h"

namespace velmar {
namespace {

using ::testing::ElementsAre;

constexpr QuantityId kTemperature = 9;
constexpr QuantityId kPressure = 8;
constexpr QuantityId kMass = 17;
constexpr UnitId kKelvin = 0, kCelsius = 1;
constexpr UnitId kMetresPerSecond = 0, kKmh = 1;

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

// Each file: conversions of the shipped table, by ids ("convert": quantity,
// from, to, value, result), as factor and offset ("scaling"), by text
// ("by_text": from, to, value, result or code) and units found by their text
// ("find": text, quantity, unit or code). Codes are given by their names.
class UnitConversions : public UnitsComponentTest, public ::testing::WithParamInterface<std::filesystem::path> {};

void ExpectNear(double got, const nlohmann::json& want, const nlohmann::json& c) {
  EXPECT_NEAR(got, want.get<double>(), 1e-9 * std::max(1.0, std::abs(want.get<double>()))) << c.dump();
}

TEST_P(UnitConversions, GiveTheTablesResults) {
  const nlohmann::json f = testing::ReadFixture(GetParam());
  for (const auto& c : f.value("convert", nlohmann::json::array())) {
    ExpectNear(Convert(c[0], c[1], c[2], c[3]), c[4], c);
    double factor = 0, offset = 1;
    ASSERT_EQ(units_->GetFactor(c[0], c[1], c[2], &factor), S_OK);
    ASSERT_EQ(units_->GetOffset(c[0], c[1], c[2], &offset), S_OK);
    ExpectNear(c[3].get<double>() * factor + offset, c[4], c);
  }
  for (const auto& c : f.value("scaling", nlohmann::json::array())) {
    double factor = 0, offset = 1;
    ASSERT_EQ(units_->GetScaling(c[0], c[1], c[2], &factor, &offset), S_OK);
    ExpectNear(factor, c[3], c);
    ExpectNear(offset, c[4], c);
  }
  for (const auto& c : f.value("by_text", nlohmann::json::array())) {
    double v = 0;
    KivResult r = units_->ConvertByText(Utf8ToWide(c[0].get<std::string>()), Utf8ToWide(c[1].get<std::string>()),
                                        c[2], &v);
    if (c[3].is_string()) {
      EXPECT_STREQ(ResultName(r), c[3].get<std::string>().c_str()) << c.dump();
    } else {
      ASSERT_EQ(r, S_OK) << c.dump();
      ExpectNear(v, c[3], c);
    }
  }
  for (const auto& c : f.value("find", nlohmann::json::array())) {
    QuantityId q = -1;
    UnitId u = 99;
    KivResult r = table_->FindUnit(Utf8ToWide(c[0].get<std::string>()), &q, &u);
    if (c[1].is_string()) {
      EXPECT_STREQ(ResultName(r), c[1].get<std::string>().c_str()) << c.dump();
      continue;
    }
    ASSERT_EQ(r, S_OK) << c.dump();
    EXPECT_EQ(q, c[1].get<QuantityId>()) << c.dump();
    EXPECT_EQ(u, c[2].get<UnitId>()) << c.dump();
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, UnitConversions, testing::FixtureCases("platform/units/conversions"),
                         testing::FixtureName);

TEST_F(UnitsComponentTest, SpeedIsQuantityThreeInKmhAndEveryQuantityIsListedAndRoundTrips) {
  UnitId unit = 99;
  ASSERT_EQ(units_->GetDefaultUnit(kQuantitySpeed, &unit), S_OK);
  EXPECT_EQ(unit, kKmh);
  std::u16string text;
  ASSERT_EQ(table_->GetUnitText(kQuantitySpeed, unit, &text), S_OK);
  EXPECT_EQ(text, u"km/h");
  std::vector<UnitId> ids;
  ASSERT_EQ(table_->GetUnitIds(kQuantitySpeed, &ids), S_OK);
  EXPECT_THAT(ids, ElementsAre(0u, 1u, 2u, 3u)) << "the root's speed unit setting ranges 0 to 3";
  // Every quantity is listed in ascending order with a name, and every unit round-trips through its base.
  std::vector<QuantityId> quantities;
  ASSERT_EQ(table_->GetQuantityIds(&quantities), S_OK);
  ASSERT_GE(quantities.size(), 22u);
  for (QuantityId q = 0; q < 22; ++q) EXPECT_EQ(quantities[static_cast<size_t>(q)], q);
  for (QuantityId q : quantities) {
    std::u16string name;
    EXPECT_EQ(units_->GetQuantityName(q, &name), S_OK);
    EXPECT_FALSE(name.empty()) << q;
    UnitId def = 0;
    EXPECT_EQ(units_->GetDefaultUnit(q, &def), S_OK);
    EXPECT_EQ(units_->GetUnitName(q, def, &name), S_OK) << "default unit of " << q << " exists";
    std::vector<UnitId> ids;
    ASSERT_EQ(table_->GetUnitIds(q, &ids), S_OK);
    for (UnitId u : ids)
      EXPECT_NEAR(Convert(q, kBaseUnit, u, Convert(q, u, kBaseUnit, 123.456)), 123.456, 1e-9) << q << "/" << u;
  }
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

TEST(UnitsComponent, CreationRefusesOtherInterfacesAndNullOuts) {
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
