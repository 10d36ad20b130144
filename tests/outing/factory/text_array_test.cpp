#include "outing/factory/text_array.h"

#include <gtest/gtest.h>

namespace velmar::testing {
namespace {

TEST(TextArrayTest, ReadsTextsAndNullsInOrder) {
  TextArray texts;
  ASSERT_TRUE(ReadTextArray(Variant::Array({Variant::Text(u"a"), Variant(), Variant::Text(u"")}), &texts));
  ASSERT_EQ(texts.size(), 3u);
  EXPECT_EQ(texts[0], u"a");
  EXPECT_FALSE(texts[1].has_value());
  EXPECT_EQ(texts[2], u"") << "an empty text is no null text";
}

TEST(TextArrayTest, RefusesWhatIsNoOneDimensionalTextArrayAndKeepsTheOldContents) {
  TextArray texts{u"kept"};
  EXPECT_FALSE(ReadTextArray(Variant::Text(u"a"), &texts));
  EXPECT_FALSE(ReadTextArray(Variant(), &texts));
  EXPECT_FALSE(ReadTextArray(Variant::Array({Variant::Array({})}), &texts));
  EXPECT_FALSE(ReadTextArray(Variant::Array({Variant::Text(u"a"), Variant::F64(1.5)}), &texts));
  ASSERT_EQ(texts.size(), 1u);
  EXPECT_EQ(texts[0], u"kept");
  EXPECT_TRUE(ReadTextArray(Variant::Array({}), &texts));
  EXPECT_TRUE(texts.empty());
}

}  // namespace
}  // namespace velmar::testing
