#include "config/standard_properties.h"

#include <gtest/gtest.h>

#include "support/fixtures.h"
#include "velmar/text.h"

namespace velmar {
namespace {

// Names by database version and defaults by id, from property_catalogue.json.
TEST(StandardChannelProperties, EveryLookupOfTheCatalogue) {
  const auto& catalogue = CStandardChannelProperties::Instance();
  const auto cases = testing::Fixture("property_catalogue.json");
  for (const auto& c : cases["lookups"]) {
    SCOPED_TRACE(c.dump());
    const auto version = catalogue.VersionOf(Utf8ToWide(c[0].get<std::string>()));
    const auto id = version ? catalogue.IdOf(*version, Utf8ToWide(c[1].get<std::string>())) : std::nullopt;
    EXPECT_EQ(id.value_or(0), c[2].is_null() ? 0 : c[2].get<int32_t>());
  }
  for (const auto& c : cases["defaults"]) {
    SCOPED_TRACE(c.dump());
    Variant value;
    const bool has = catalogue.GetDefaultValue(c[0], &value);
    EXPECT_EQ(has, !c[1].is_null());
    const Variant expected = c[1].is_boolean()        ? Variant::Bool(c[1].get<bool>())
                             : c[1].is_number_float() ? Variant::F64(c[1].get<double>())
                             : c[1].is_number()       ? Variant::I32(c[1].get<int32_t>())
                             : c[1] == "null object"  ? Variant::Object(nullptr)
                             : c[1].is_string()       ? Variant::Text(Utf8ToWide(c[1].get<std::string>()))
                                                      : Variant();
    EXPECT_TRUE(!has || value == expected);
  }
  EXPECT_EQ(catalogue.GetPropertyCount(), 24);
  EXPECT_TRUE(catalogue.IsPropertyName(7, u"Color"));
  EXPECT_FALSE(catalogue.IsPropertyName(25, u"Color"));
}

}  // namespace
}  // namespace velmar
