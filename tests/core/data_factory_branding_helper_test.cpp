#include "core/data_factory_branding_helper.h"

#include <gtest/gtest.h>

#include "core/branding_test_support.h"

namespace velmar::testing {
namespace {

const Guid kHiddenFactory = Guid::Literal("{1F62B705-3059-4EFD-9BFF-85DE2602798D}");
const Guid kHiddenMandatory = Guid::Literal("{431C3042-F301-4701-85F0-5EF9EC7FC68E}");

void ExpectLibraryDefaults(const CDataFactoryBrandingHelper& branding) {
  EXPECT_TRUE(branding.IsAllowed(DataFactoryRecord::Native(kHiddenFactory)));
  EXPECT_TRUE(branding.IsAllowed(DataFactoryRecord::Managed(kBrandingHiddenTool)));
  EXPECT_FALSE(branding.FeatureSupported(kBrandingFeatureToolNode));
  EXPECT_EQ(branding.GetLabel(kLabelLap, LabelForm::kLower), u"lap");
  EXPECT_EQ(branding.GetLabel(1, LabelForm::kAsStored), u"ID");
}

TEST(DataFactoryBrandingHelper, WithoutAModuleTheLibraryAnswers) {
  ScopedBranding none(std::nullopt);
  CDataFactoryBrandingHelper branding;
  EXPECT_FALSE(branding.HasModule());
  ExpectLibraryDefaults(branding);
  EXPECT_EQ(branding.GetLabel(18, LabelForm::kAsStored), u"") << "an id nobody knows";
  DataFactoryRecord odd;
  odd.kind = static_cast<DataFactoryKind>(2);
  EXPECT_FALSE(branding.IsAllowed(odd));
}

TEST(DataFactoryBrandingHelper, TheModuleHidesFactoriesAndToolsAndTurnsFeatureOneOn) {
  ScopedBranding branded(TestBrandingModule());
  CDataFactoryBrandingHelper branding;
  ASSERT_TRUE(branding.HasModule());
  EXPECT_EQ(branding.ModuleName(), TestBrandingModule());
  EXPECT_FALSE(branding.IsAllowed(DataFactoryRecord::Native(kHiddenFactory)));
  EXPECT_FALSE(branding.IsAllowed(DataFactoryRecord::Native(kHiddenMandatory)));
  EXPECT_TRUE(branding.IsAllowed(DataFactoryRecord::Native(Guid::New())));
  EXPECT_EQ(branding.ExcludedFactories().size(), 2u) << "the list ends at the null identity";
  EXPECT_FALSE(branding.IsAllowed(DataFactoryRecord::Managed(kBrandingHiddenTool)));
  EXPECT_FALSE(branding.IsAllowed(DataFactoryRecord::Managed(u"Test.Hidden.Tool")));
  EXPECT_TRUE(branding.IsAllowed(DataFactoryRecord::Managed(u"test.hidden.tool"))) << "case sensitive";
  EXPECT_TRUE(branding.FeatureSupported(kBrandingFeatureToolNode));
  EXPECT_FALSE(branding.FeatureSupported(2));
}

TEST(DataFactoryBrandingHelper, LabelsComeFromTheModuleElseFromTheLibrary) {
  ScopedBranding branded(TestBrandingModule());
  CDataFactoryBrandingHelper branding;
  EXPECT_EQ(branding.GetLabel(kLabelLap, LabelForm::kLower), kBrandingLapLower);
  EXPECT_EQ(branding.GetLabel(kLabelLap, LabelForm::kFirstUpper), kBrandingLapStored);
  EXPECT_EQ(branding.GetLabel(1, LabelForm::kFirstUpper), kBrandingIdLabel);
  EXPECT_EQ(branding.GetLabel(kLabelCarHalt, LabelForm::kLower), u"car halt") << "the module has no word for it";
}

TEST(DataFactoryBrandingHelper, AModuleThatIsNamedButMissingCountsAsNone) {
  ScopedBranding branded(u"no-such-brand.so");
  CDataFactoryBrandingHelper branding;
  EXPECT_FALSE(branding.HasModule());
  ExpectLibraryDefaults(branding);
}

TEST(DataFactoryBrandingHelper, AModuleWithoutEntryPointsChangesNothing) {
  ScopedBranding branded(u"libm.so.6");
  CDataFactoryBrandingHelper branding;
  EXPECT_TRUE(branding.HasModule());
  ExpectLibraryDefaults(branding);
  EXPECT_TRUE(branding.ExcludedFactories().empty());
  EXPECT_TRUE(branding.ExcludedTools().empty());
}

TEST(DataFactoryBrandingHelper, BrokenTablesAreCutShortOrIgnored) {
  ScopedBranding branded(TestBrandingModule(), /*broken=*/true);
  CDataFactoryBrandingHelper branding;
  ASSERT_TRUE(branding.HasModule());
  EXPECT_TRUE(branding.ExcludedFactories().empty()) << "a null list is an empty one";
  EXPECT_EQ(branding.ExcludedTools(), std::set<std::u16string>{u"Broken.Tool"})
      << "an unterminated list is read up to the limit";
  EXPECT_EQ(branding.GetLabel(kLabelLap, LabelForm::kAsStored), u"Lap") << "a text with no end is not taken";
  EXPECT_EQ(branding.GetLabel(0, LabelForm::kAsStored), u"Name");
}

TEST(DataFactoryBrandingHelper, TakesEntryPointsTheHostLinksIn) {
  BrandingEntryPoints entries;
  entries.featureSupported = [](uint32_t feature) -> int32_t { return feature == 1 ? -1 : 0; };
  entries.getBrandingText = [](uint32_t id, uint32_t, uint32_t version) -> const char16_t* {
    return id == 0 && version == KIV_BRANDING_INTERFACE_VERSION ? u"Pilot" : nullptr;
  };
  entries.getToolExclusionList = []() -> const char16_t* const* {
    static const char16_t* const kList[] = {u"A.Tool", nullptr, u"Not.Read"};
    return kList;
  };
  CDataFactoryBrandingHelper branding(entries);
  EXPECT_FALSE(branding.HasModule());
  EXPECT_TRUE(branding.FeatureSupported(1)) << "any non-zero answer is true";
  EXPECT_EQ(branding.GetLabel(0, LabelForm::kAsStored), u"Pilot");
  EXPECT_EQ(branding.ExcludedTools(), std::set<std::u16string>{u"A.Tool"}) << "the list ends at its null";
}

TEST(DataFactoryBrandingHelper, TheSnapshotKeepsTheListsAndFeatureOne) {
  ScopedBranding branded(TestBrandingModule());
  const DataFactoryBranding snapshot = CDataFactoryBrandingHelper().Snapshot();
  EXPECT_FALSE(snapshot.IsAllowed(DataFactoryRecord::Native(kHiddenFactory)));
  EXPECT_FALSE(snapshot.IsAllowed(DataFactoryRecord::Managed(kBrandingHiddenTool)));
  EXPECT_TRUE(snapshot.IsAllowed(DataFactoryRecord::Managed(u"test.hidden.tool"))) << "case sensitive";
  EXPECT_TRUE(snapshot.FeatureSupported(kBrandingFeatureToolNode));
  DataFactoryRecord odd;
  odd.kind = static_cast<DataFactoryKind>(2);
  EXPECT_FALSE(snapshot.IsAllowed(odd)) << "an unknown kind is never allowed";
}

}  // namespace
}  // namespace velmar::testing
