// The module frame behind libvelmar.so's entry points: one factory a class,
// the live count that holds the module while a job lives, registration in
// and out of a registry file, and the companion library beside the module.
#include "core/module/module_frame.h"

#include <gtest/gtest.h>

#include <fstream>

#include "core/module/module_registration.h"
#include "jobs/job_item.h"
#include "platform/registry/registry_file.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"
#include "velmar/classes.h"

namespace velmar {
namespace {

class IdleJob final : public CJobItem {
  KivResult Run() override { return S_OK; }
};

TEST(ModuleFrame, OneFactoryAClassAndALiveJobHoldsTheModule) {
  ModuleFrame frame;
  ComPtr<IKivClassFactory> first, second;
  ASSERT_EQ(frame.GetClassObject(CLSID_KivLapFinder, IKivClassFactory::iid, first.PutVoid()), S_OK);
  ASSERT_EQ(frame.GetClassObject(CLSID_KivLapFinder, IKivClassFactory::iid, second.PutVoid()), S_OK);
  EXPECT_EQ(first.Get(), second.Get());
  EXPECT_EQ(frame.GetClassObject(LIBID_KivVelmar, IKivClassFactory::iid, second.PutVoid()), CLASS_E_CLASSNOTAVAILABLE);

  const int32_t before = KivLiveObjects().load();
  ComPtr<CJobItem> job = MakeKiv<IdleJob>();
  EXPECT_EQ(KivLiveObjects().load(), before + 1);
  EXPECT_EQ(ModuleFrame::CanUnloadNow(), S_FALSE);
  job = nullptr;
  EXPECT_EQ(KivLiveObjects().load(), before);

  KivDllVersionInfo version;
  EXPECT_EQ(ModuleFrame::GetVersion(&version), S_OK);
  EXPECT_EQ(version.build, 1717u);
}

TEST(ModuleFrame, RegistrationWritesTheClassTableAndRemovesIt) {
  testing::TempDir dir;
  ASSERT_EQ(KivRegisterBuiltInClasses(), S_OK);
  auto file = std::make_shared<RegistryFile>(dir.path() / "user.json");
  RegistryKey classes, key;
  ASSERT_EQ(RegistryKey::Create(file, u"Software\\Classes", &classes), S_OK);
  ASSERT_EQ(RegisterClassTable(classes, u"/opt/velmar/libvelmar.so", ClassRegistry::Process()), S_OK);
  const std::u16string root = u"CLSID\\" + CLSID_KivVelmar.ToWide();
  std::u16string text;
  ASSERT_EQ(classes.OpenSubKey(root + u"\\InprocServer32", &key), S_OK);
  EXPECT_EQ(key.QueryString(u"ThreadingModel", &text), S_OK);
  EXPECT_EQ(text, u"Apartment");
  ASSERT_EQ(classes.OpenSubKey(root + u"\\MiscStatus\\1", &key), S_OK);
  EXPECT_EQ(key.QueryString(u"", &text), S_OK);
  EXPECT_EQ(text, u"132497");
  ASSERT_EQ(classes.OpenSubKey(u"KivVelmar.LapFinder\\CurVer", &key), S_OK);
  EXPECT_EQ(key.QueryString(u"", &text), S_OK);
  EXPECT_EQ(text, u"KivVelmar.LapFinder.1");

  ASSERT_EQ(UnregisterClassTable(classes), S_OK);
  EXPECT_EQ(UnregisterClassTable(classes), S_OK);  // gone already: still fine
  std::vector<std::u16string> left;
  ASSERT_EQ(classes.EnumSubKeys(&left), S_OK);
  ASSERT_EQ(classes.OpenSubKey(u"CLSID", &key), S_OK);
  ASSERT_EQ(key.EnumSubKeys(&left), S_OK);
  EXPECT_TRUE(left.empty());
}

TEST(ModuleFrame, TheCompanionLoadsWhenThereAndIsReportedWhenBroken) {
  testing::TempDir dir;
  ::testing::internal::CaptureStderr();
  { CompanionLibrary missing(dir.path()); EXPECT_FALSE(missing.loaded()); }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");

  std::ofstream(dir.path() / kKivCompanionLibrary) << "not a library";
  ::testing::internal::CaptureStderr();
  { CompanionLibrary broken(dir.path()); EXPECT_FALSE(broken.loaded()); }
  EXPECT_NE(::testing::internal::GetCapturedStderr().find("Velmar: Failed to load library "), std::string::npos);

  testing::ScopedEnv tools("KIVARA_TOOLS", std::nullopt);
  RunModuleLoadSteps(dir.path());
  EXPECT_EQ(std::string(std::getenv("KIVARA_TOOLS")), (dir.path() / "Tools").string());
}

}  // namespace
}  // namespace velmar
