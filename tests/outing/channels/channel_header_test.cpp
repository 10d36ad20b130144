#include "outing/channels/channel_header.h"

#include <gtest/gtest.h>

#include "support/fixtures.h"
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
  const HeaderUnit speed = LookUpHeaderUnit(u"km/h", table.Get());
  EXPECT_TRUE(speed.known);
  EXPECT_EQ(speed.unit, (ChannelUnit{kQuantitySpeed, 1}));
  EXPECT_TRUE(speed.userType.empty());

  const HeaderUnit odd = LookUpHeaderUnit(u"furlong/fortnight", table.Get());
  EXPECT_FALSE(odd.known);
  EXPECT_EQ(odd.unit, ChannelUnit{});
  EXPECT_EQ(odd.userType, u"furlong/fortnight");

  EXPECT_FALSE(LookUpHeaderUnit(u"", table.Get()).known);
  EXPECT_EQ(LookUpHeaderUnit(u"km/h", nullptr).userType, u"km/h") << "no table knows nothing";
}

TEST(ChannelHeaderTest, UnderscoresToBlanksForTheSecondLookup) {
  EXPECT_EQ(UnderscoresToBlanks(u"Engine_Speed_"), u"Engine Speed ");
  EXPECT_EQ(UnderscoresToBlanks(u"Plain"), u"Plain");
}

TEST(ChannelKeyTest, MadeFromNameAndIdReplacesBracketsAndParsesBack) {
  const CChannelKey key(u"a[b]", 7);
  EXPECT_TRUE(key.valid());
  EXPECT_EQ(key.text(), u"[7]a_b_");
  EXPECT_EQ(key.name(), u"a_b_");
  EXPECT_EQ(key.id(), 7u);

  CChannelKey parsed;
  ASSERT_TRUE(CChannelKey::Parse(key.text(), &parsed));
  EXPECT_TRUE(parsed.valid());
  EXPECT_EQ(parsed.id(), 7u);
  EXPECT_EQ(parsed.name(), u"a_b_");
  EXPECT_EQ(parsed, key);
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

TEST(ChannelKeyTest, KeysOrderAndCompareByText) {
  EXPECT_LT(CChannelKey(u"a", 1), CChannelKey(u"b", 1));
  EXPECT_FALSE(CChannelKey(u"a", 1) == CChannelKey(u"a", 2));
  EXPECT_EQ(CChannelKey(u"a[", 1), CChannelKey(u"a_", 1));
}

}  // namespace
}  // namespace velmar::testing
