// A host that knows the library only as libvelmar.so: it loads the module,
// makes every object through the class factories of DllGetClassObject, reads
// the laps of a sample outing, lets everything go and sees the module become
// free to unload. Only the base value types (texts, identities, variants)
// are linked; everything else crosses the five entry points.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "velmar/classes.h"
#include "velmar/data_factory.h"
#include "velmar/math_channels.h"
#include "velmar/module.h"
#include "velmar/outing_factory.h"
#include "velmar/text.h"
#include "velmar/time_regions.h"
#include "velmar/velmar.h"

using namespace velmar;

namespace {

constexpr uint32_t kWaitMs = 30000;

class ModuleHostTest : public testing::Test {
 protected:
  void SetUp() override {
    dir_ = std::filesystem::temp_directory_path() / ("velmar_host_" + std::to_string(getpid()));
    std::filesystem::create_directories(dir_);
    setenv("VELMAR_REGISTRY_USER", (dir_ / "registry.json").c_str(), 1);
    setenv("VELMAR_ADDIN_PATH", VELMAR_ADDINS, 1);
    so_ = dlopen(VELMAR_MODULE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(so_, nullptr) << dlerror();
    get_ = Symbol<KivDllGetClassObjectFn>(kKivDllGetClassObject);
    can_unload_ = Symbol<KivDllCanUnloadNowFn>(kKivDllCanUnloadNow);
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  template <class Fn>
  Fn Symbol(const char* name) {
    return reinterpret_cast<Fn>(dlsym(so_, name));
  }
  template <class T>
  ComPtr<T> Make(const Guid& clsid) {
    ComPtr<IKivClassFactory> factory;
    ComPtr<T> object;
    if (Succeeded(get_(clsid, IKivClassFactory::iid, factory.PutVoid())))
      (void)factory->CreateInstance(nullptr, T::iid, object.PutVoid());
    return object;
  }
  KivResult Settle() {
    ComPtr<IKivModuleClientThread> loop;
    if (KivResult r = get_(CLSID_KivVelmar, IKivModuleClientThread::iid, loop.PutVoid()); Failed(r)) return r;
    return loop->RunUntilSettled(kWaitMs);
  }
  std::string ReadRegistry() const {
    std::ifstream in(dir_ / "registry.json");
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  std::filesystem::path dir_;
  void* so_ = nullptr;
  KivDllGetClassObjectFn get_ = nullptr;
  KivDllCanUnloadNowFn can_unload_ = nullptr;
};

TEST_F(ModuleHostTest, ReadsLapsThroughTheEntryPointsAndLetsTheModuleGo) {
  const std::filesystem::path sample = dir_ / "sample.txt";
  const std::string make = std::string(VELMAR_CLI) + " sample " + sample.string() + " --laps 3 > /dev/null";
  ASSERT_EQ(std::system(make.c_str()), 0);
  EXPECT_EQ(can_unload_(), S_OK);
  {
    ComPtr<IKivVelmar> root = Make<IKivVelmar>(CLSID_KivVelmar);
    ComPtr<IKivNewOutingFactory> factory = Make<IKivNewOutingFactory>(CLSID_KivOutingFactory);
    ComPtr<IKivTimeRegionFinder2> laps = Make<IKivTimeRegionFinder2>(CLSID_KivLapFinder);
    ASSERT_TRUE(root && factory && laps);
    EXPECT_EQ(can_unload_(), S_FALSE);
    EXPECT_EQ(root->AddDataFactory(CLSID_KivMathChannels), S_OK);  // the add-in joined at the first request

    const Variant paths = MakeTextArray({Utf8ToWide(sample.string())});
    OutingList outings;
    ASSERT_EQ(factory->Create(KIV_FALSE, kTextOutingTypeId.ToWide(), &paths, &outings), S_OK);
    ASSERT_EQ(outings.size(), 1u);
    NameList names;
    (void)QueryAs<IKivChannelFactory>(outings.front().Get())->GetNames(&names);
    EXPECT_EQ(Settle(), S_OK);
    ComPtr<IKivTimeRegions> regions;
    int32_t count = 0;
    ASSERT_EQ(laps->SetOuting(outings.front().Get()), S_OK);
    ASSERT_EQ(laps->GetRegions(regions.Put()), S_OK);
    ASSERT_EQ(regions->GetCount(&count), S_OK);
    EXPECT_GE(count, 3);
    (void)laps->SetOuting(nullptr);
    (void)root->Close();
  }
  EXPECT_EQ(Settle(), S_OK);
  EXPECT_EQ(can_unload_(), S_OK);
}

TEST_F(ModuleHostTest, FactoriesVersionAndRegistration) {
  ComPtr<IKivClassFactory> first, second;
  ASSERT_EQ(get_(CLSID_KivLapFinder, IKivClassFactory::iid, first.PutVoid()), S_OK);
  ASSERT_EQ(get_(CLSID_KivLapFinder, IKivClassFactory::iid, second.PutVoid()), S_OK);
  EXPECT_EQ(first.Get(), second.Get());
  EXPECT_EQ(get_(LIBID_KivVelmar, IKivClassFactory::iid, second.PutVoid()), CLASS_E_CLASSNOTAVAILABLE);
  ComPtr<IKivUnknown> aggregate;
  EXPECT_EQ(first->CreateInstance(first.Get(), IKivUnknown::iid, aggregate.PutVoid()), CLASS_E_NOAGGREGATION);
  EXPECT_EQ(first->LockServer(KIV_TRUE), S_OK);
  EXPECT_EQ(can_unload_(), S_FALSE);
  EXPECT_EQ(first->LockServer(KIV_FALSE), S_OK);
  EXPECT_EQ(can_unload_(), S_OK);

  KivDllVersionInfo version;
  EXPECT_EQ(Symbol<KivDllGetVersionFn>(kKivDllGetVersion)(&version), S_OK);
  EXPECT_EQ(version.major * 10000 + version.minor * 100 + version.platform, 120001u);
  EXPECT_EQ(version.build, 1717u);

  ASSERT_EQ(Symbol<KivDllRegisterServerFn>(kKivDllRegisterServer)(), S_OK);
  const std::string registered = ReadRegistry();
  EXPECT_NE(registered.find("KivVelmar.EventPropertyFactoryHelper.1"), std::string::npos);
  EXPECT_NE(registered.find("libvelmar.so"), std::string::npos);
  EXPECT_NE(registered.find("132497"), std::string::npos);
  ASSERT_EQ(Symbol<KivDllUnregisterServerFn>(kKivDllUnregisterServer)(), S_OK);
  EXPECT_EQ(ReadRegistry().find("KivVelmar."), std::string::npos);
  EXPECT_NE(std::getenv("KIVARA_TOOLS"), nullptr);
}

}  // namespace
