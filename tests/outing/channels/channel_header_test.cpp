#include "outing/channels/channel_header.h"

#include <gtest/gtest.h>

#include "support/fixtures.h"
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

}  // namespace
}  // namespace velmar::testing
