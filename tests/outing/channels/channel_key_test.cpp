#include "velmar/channel_key.h"

#include <gtest/gtest.h>

namespace velmar::testing {
namespace {

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

TEST(ChannelKeyTest, ParseReadsTheIdLikeAtoi) {
  CChannelKey key;
  ASSERT_TRUE(CChannelKey::Parse(u"[12x]Speed", &key));
  EXPECT_EQ(key.id(), 12u);
  EXPECT_EQ(key.name(), u"Speed");
  ASSERT_TRUE(CChannelKey::Parse(u"[]Speed", &key));
  EXPECT_EQ(key.id(), 0u);
  ASSERT_TRUE(CChannelKey::Parse(u"[4294967295]", &key));
  EXPECT_EQ(key.id(), 4294967295u);
  EXPECT_EQ(key.name(), u"");
  // A name may itself hold "]": the first one closes the id.
  ASSERT_TRUE(CChannelKey::Parse(u"[3]a]b", &key));
  EXPECT_EQ(key.name(), u"a]b");
}

TEST(ChannelKeyTest, TextOfAnyOtherShapeIsNoKey) {
  CChannelKey key(u"x", 1);
  EXPECT_FALSE(CChannelKey::Parse(u"Speed", &key));
  EXPECT_FALSE(key.valid()) << "a failed parse leaves no key behind";
  EXPECT_FALSE(CChannelKey::Parse(u"[7Speed", &key));
  EXPECT_FALSE(CChannelKey::Parse(u"", &key));
  EXPECT_FALSE(CChannelKey::Parse(u" [7]Speed", &key));
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
