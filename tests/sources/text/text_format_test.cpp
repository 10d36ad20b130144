#include "sources/text/text_format.h"

#include <gtest/gtest.h>

#include "support/fixtures.h"
#include "velmar/text.h"

namespace velmar {
namespace {

TEST(TextFormatEscape, EachFixtureCase) {
  const auto table = testing::Fixture("sources/escaped_values.json");
  for (const auto& c : table["both_ways"]) {
    EXPECT_EQ(EscapeValue(c[0].get<std::string>()), c[1].get<std::string>()) << c;
    EXPECT_EQ(UnescapeValue(c[1].get<std::string>()), c[0].get<std::string>()) << c;
  }
  for (const auto& c : table["read_only"]) {
    EXPECT_EQ(UnescapeValue(c[0].get<std::string>()), c[1].get<std::string>()) << c;
  }
}

TEST(TextFormatFields, TokenEndersAndBracesAreReplaced) {
  EXPECT_EQ(FieldText(u"a\tb\rc\nd\be"), "a b c d e");
  EXPECT_EQ(FieldText(u"{x}"), "(x)");
  EXPECT_EQ(FieldText(u"keep\r\nbreaks", true), "keep\r\nbreaks");
}

TEST(TextFormatFields, CodePageEdge) {
  EXPECT_EQ(ToFileText(u"caf\u00e9 \u20ac"), "caf\xe9 \x80");
  EXPECT_EQ(FromFileText("caf\xe9 \x80"), u"caf\u00e9 \u20ac");
  // Names: what the code page cannot hold becomes "_", a real "?" stays.
  EXPECT_EQ(NameText(u"P\u2082 ?"), "P_ ?");
  EXPECT_EQ(ToFileText(u"P\u2082"), "P?");
  EXPECT_EQ(UnitText(u"m[s]"), "m_s_");
}

TEST(TextFormatCategories, TextsBothWays) {
  EXPECT_EQ(CategoryText(0), "Box Created");
  EXPECT_EQ(CategoryText(1), "Kivara Added");
  EXPECT_EQ(CategoryText(2), "Kivara Added");
  EXPECT_EQ(CategoryText(7), "");
  EXPECT_EQ(CategoryFromText(u"Box Created"), kEventFromCar);
  EXPECT_EQ(CategoryFromText(u"box created"), kEventFromAnalysis);
  EXPECT_EQ(CategoryFromText(u"Anything"), kEventFromAnalysis);
}

TEST(TextFormatInformation, KeysFillProperties) {
  std::vector<TextInfoEntry> lines = {
      {u"DriverName", u"Jo"},       {u"SessionNumber", u"12abc"}, {u"EngineTest", u"TRUE"},
      {u"Unknown", u"kept aside"},  {u"FirstLapNumber", u"3"},    {u"DriverName", u"Sam"},
      {u"OutingNumber", u"99999999999"},
  };
  int32_t firstLap = 0;
  auto props = InformationToProperties(lines, &firstLap);
  ASSERT_EQ(props.size(), 5u);
  EXPECT_EQ(props[0].property, u"Driver name");
  EXPECT_EQ(*props[0].value.AsText(), u"Sam");  // a later line of one key replaces
  EXPECT_EQ(props[1].value, Variant::I32(12));  // atoi
  EXPECT_EQ(props[2].value, Variant::Bool(true));
  EXPECT_EQ(props[3].value, Variant::I32(3));
  EXPECT_EQ(props[4].value, Variant::I32(2147483647));
  EXPECT_EQ(firstLap, 3);

  int32_t defaultLap = 0;
  InformationToProperties({}, &defaultLap);
  EXPECT_EQ(defaultLap, 1);
}

TEST(TextFormatInformation, ValuesAreWrittenByKind) {
  const InformationKey* engine = FindInformationProperty(u"Engine test");
  const InformationKey* session = FindInformationProperty(u"Session number");
  const InformationKey* driver = FindInformationProperty(u"Driver name");
  ASSERT_TRUE(engine && session && driver);
  EXPECT_EQ(engine->key, u"EngineTest");
  EXPECT_EQ(FormatInformationValue(*engine, Variant::Bool(true)), u"True");
  EXPECT_EQ(FormatInformationValue(*engine, Variant::Bool(false)), u"False");
  EXPECT_EQ(FormatInformationValue(*session, Variant::I32(-7)), u"-7");
  EXPECT_EQ(FormatInformationValue(*session, Variant::Text(u"7")), std::nullopt);
  EXPECT_EQ(FormatInformationValue(*driver, Variant::Text(u"Jo")), u"Jo");
  EXPECT_EQ(FindInformationProperty(u"Fast lap number"), nullptr);
}

}  // namespace
}  // namespace velmar
