#include "outing/factory/outing_type_table.h"

#include <gtest/gtest.h>

#include "outing/factory/text_array.h"

namespace velmar::testing {
namespace {

TEST(OutingTypeTableTest, EachRowIsItsOwnOutingType) {
  for (size_t i = 0; i < kOutingTypeRowCount; ++i) {
    const auto type = static_cast<OutingType>(i);
    EXPECT_EQ(OutingTypeRowOf(type).type, type);
    EXPECT_EQ(&FindOutingTypeRow(OutingTypeRowOf(type).typeId), &OutingTypeRowOf(type));
  }
}

TEST(OutingTypeTableTest, AnUnknownOrNullGuidFindsRowZero) {
  EXPECT_FALSE(FindOutingTypeRow(GUID_NULL).known());
  EXPECT_FALSE(FindOutingTypeRow(Guid::Literal("{8B1F3E5A-0C2D-4E6F-9A7B-1C3D5E7F9A0B}")).known());
  EXPECT_EQ(FindOutingTypeRow(kMatFileOutingTypeId).type, OutingType::kMatFile);
}

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
