#include "core/branded_outing_information.h"
#include "core/branding_labels.h"

#include <gtest/gtest.h>

#include "core/branding_test_support.h"

namespace velmar::testing {
namespace {

TEST(CBrandedOutingInformation, WithoutAModuleHoldsTheDefaultLabelsInTableOrder) {
  ScopedBranding none(std::nullopt);
  CBrandedOutingInformation labels;
  ASSERT_EQ(labels.Count(), 19u);
  EXPECT_EQ(labels.LabelOf(u"Car name"), u"ID");
  EXPECT_EQ(labels.LabelOf(u"Short comment"), u"Short comment") << "a key without an id is its own label";
  EXPECT_EQ(labels.LabelOf(u"GUID"), u"GUID");
  EXPECT_EQ(labels.GetLabel(kLabelLap, LabelForm::kAsStored), u"Lap");
  // Lookup is by exact key.
  EXPECT_FALSE(labels.Find(u"car name"));
  EXPECT_FALSE(labels.Find(u"Weather"));
  EXPECT_EQ(labels.LabelOf(u"Weather"), u"Weather");
}

TEST(CBrandedOutingInformation, TheModulesWordsReplaceLabelsWithAnId) {
  ScopedBranding branded(TestBrandingModule());
  CBrandedOutingInformation labels;
  EXPECT_EQ(labels.LabelOf(u"Car name"), kBrandingIdLabel);
  EXPECT_EQ(labels.LabelOf(u"Driver name"), u"Name") << "the module has no word for label 0";
  EXPECT_EQ(labels.GetLabel(kLabelLap, LabelForm::kLower), kBrandingLapLower);
  EXPECT_EQ(labels.LabelOf(u"Short comment"), u"Short comment");
}

TEST(CBrandedOutingInformation, KeepsItsBrandingAfterTheRegistryChanges) {
  std::optional<CBrandedOutingInformation> labels;
  {
    ScopedBranding branded(TestBrandingModule());
    labels.emplace();
  }
  // The module stays loaded with the table, so its words are still there.
  EXPECT_EQ(labels->GetLabel(kLabelLap, LabelForm::kAsStored), kBrandingLapStored);
}

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
}  // namespace velmar::testing
