#include "outing/channels/channel_header.h"

#include <gtest/gtest.h>

namespace velmar::testing {
namespace {

HeaderName H(std::u16string name, std::u16string unit, bool hasUnit) { return {name, unit, hasUnit}; }

TEST(ChannelHeaderTest, UnitIsSplitOffTheEnd) {
  EXPECT_EQ(SplitHeaderName(u"Speed[km/h]"), H(u"Speed", u"km/h", true));
  EXPECT_EQ(SplitHeaderName(u"Speed"), H(u"Speed", u"", false));
  EXPECT_EQ(SplitHeaderName(u"Speed[]"), H(u"Speed", u"", true));
  EXPECT_EQ(SplitHeaderName(u"[m]"), H(u"", u"m", true));
  EXPECT_EQ(SplitHeaderName(u""), H(u"", u"", false));
}

TEST(ChannelHeaderTest, BracketsLeftInTheNameBecomeUnderscores) {
  EXPECT_EQ(SplitHeaderName(u"a[b]c"), H(u"a_b_c", u"", false));
  EXPECT_EQ(SplitHeaderName(u"Tyre[FL][degC]"), H(u"Tyre_FL_", u"degC", true));
  EXPECT_EQ(SplitHeaderName(u"x]"), H(u"x_", u"", false)) << "a ']' with no '[' is no unit";
  EXPECT_EQ(SplitHeaderName(u"]"), H(u"_", u"", false));
  EXPECT_EQ(SplitHeaderName(u"a[b"), H(u"a_b", u"", false));
}

TEST(ChannelHeaderTest, NestedBracketsAreMatched) {
  EXPECT_EQ(SplitHeaderName(u"v[m[2]]"), H(u"v", u"m[2]", true));
  EXPECT_EQ(SplitHeaderName(u"a[b[c]"), H(u"a_b", u"c", true));
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
