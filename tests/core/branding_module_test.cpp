#include "core/branding_module.h"

#include <gtest/gtest.h>

#include "core/branding_test_support.h"

namespace velmar::testing {
namespace {

KivResult Find(std::u16string* name) { return FindBrandingModuleName(kBrandingMachineKey, kActiveBrandValue, name); }

// No key or no value means no module; so does a value of another type or an
// empty text; a text stops at its first null.
TEST(FindBrandingModuleName, TakesOnlyATextThatIsThere) {
  ScopedBranding branding(std::nullopt);
  std::u16string name = u"left over";
  EXPECT_EQ(Find(&name), S_FALSE);
  EXPECT_TRUE(name.empty());
  EXPECT_EQ(Find(nullptr), E_POINTER);
  branding.SetValue(RegData(uint32_t{7}));
  EXPECT_EQ(Find(&name), S_FALSE);
  branding.SetValue(RegData(std::vector<uint8_t>{'a', 0, 0, 0}));
  EXPECT_EQ(Find(&name), S_FALSE) << "bytes are not text";
  branding.SetValue(RegData(std::u16string()));
  EXPECT_EQ(Find(&name), S_FALSE);
  branding.SetValue(RegData(std::u16string(u"brand.so\0junk", 13)));
  ASSERT_EQ(Find(&name), S_OK);
  EXPECT_EQ(name, u"brand.so");
}

TEST(FindBrandingModuleName, TakesAStringThatFitsItsRoom) {
  ScopedBranding branding(u"brand.so");
  std::u16string name;
  ASSERT_EQ(Find(&name), S_OK);
  EXPECT_EQ(name, u"brand.so");

  // 258 characters and the null fill the 518 bytes exactly; one more does not fit.
  branding.SetValue(RegData(std::u16string(258, u'a')));
  ASSERT_EQ(Find(&name), S_OK);
  EXPECT_EQ(name.size(), 258u);
  branding.SetValue(RegData(std::u16string(259, u'a')));
  EXPECT_EQ(Find(&name), S_FALSE);
}


TEST(BrandingModule, LoadsTheTestModuleWithItsEntryPoints) {
  std::unique_ptr<BrandingModule> module;
  ASSERT_EQ(BrandingModule::Load(TestBrandingModule(), &module), S_OK);
  const BrandingEntryPoints& e = module->entries();
  EXPECT_TRUE(e.getBrandingName && e.getBrandingText && e.featureSupported && e.getDataFactoryExclusionList &&
              e.getToolExclusionList);
  EXPECT_FALSE(e.getBrandingBitmap || e.getActiveXControlExclusionList || e.getDotNetControlExclusionList)
      << "the test module has no picture and no control lists";
  EXPECT_EQ(std::u16string(e.getBrandingName()), u"Test Brand");
}

TEST(BrandingModule, FindsABareNameInTheLibraryFolderFirst) {
  const std::filesystem::path file(VELMAR_TEST_BRANDING);
  if (file.parent_path() != LibraryFolder()) GTEST_SKIP() << "the module is not built beside the tests";
  std::unique_ptr<BrandingModule> module;
  ASSERT_EQ(BrandingModule::Load(Utf8ToWide(file.filename().string()), &module), S_OK);
  EXPECT_TRUE(module->entries().getBrandingText);
}

TEST(BrandingModule, AMissingFileIsModNotFound) {
  std::unique_ptr<BrandingModule> module;
  EXPECT_EQ(BrandingModule::Load(u"no-such-brand.so", &module), E_MOD_NOT_FOUND);
  EXPECT_FALSE(module);
  EXPECT_EQ(BrandingModule::Load(u"/nowhere/brand.so", &module), E_MOD_NOT_FOUND);
  EXPECT_EQ(BrandingModule::Load(u"x", nullptr), E_POINTER);
}

}  // namespace
}  // namespace velmar::testing
