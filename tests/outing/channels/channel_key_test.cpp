#include "velmar/channel_key.h"

#include <gtest/gtest.h>

#include "support/fixtures.h"
#include "velmar/text.h"

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
