#include "core/branding_labels.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

TEST(DefaultLabel, CoversIdsZeroToSeventeen) {
  EXPECT_EQ(DefaultLabel(0), u"Name");
  EXPECT_EQ(DefaultLabel(17), u"Fast Lap Speed");
  EXPECT_FALSE(DefaultLabel(18));
  EXPECT_FALSE(DefaultLabel(0xFFFFFFFF));
}

TEST(ApplyLabelForm, LowerAsStoredAndFirstUpper) {
  EXPECT_EQ(ApplyLabelForm(u"Fast Lap Time", LabelForm::kLower), u"fast lap time");
  EXPECT_EQ(ApplyLabelForm(u"Fast Lap Time", LabelForm::kAsStored), u"Fast Lap Time");
  EXPECT_EQ(ApplyLabelForm(u"fast lap TIME", LabelForm::kFirstUpper), u"Fast lap TIME")
      << "only the first letter changes";
  EXPECT_EQ(ApplyLabelForm(u"", LabelForm::kFirstUpper), u"");
  EXPECT_EQ(ApplyLabelForm(u"ID", static_cast<LabelForm>(7)), u"ID") << "an unknown form keeps the text";
}

}  // namespace
}  // namespace velmar
