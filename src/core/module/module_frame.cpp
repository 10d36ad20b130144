#include "core/module/module_frame.h"

#include <dlfcn.h>

#include <cstdio>
#include <chrono>
#include <cstdlib>
#include <string_view>

#include "core/fatal_stop.h"
#include "core/module/module_registration.h"
#include "core/velmar_global_state.h"
#include "velmar/class_registry.h"
#include "velmar/classes.h"
#include "velmar/client_thread.h"
#include "velmar/text.h"

namespace velmar {
namespace {

constexpr char16_t kClassesKey[] = u"Software\\Classes";

bool InClassTable(const Guid& clsid) {
  for (const KivClassRow& row : kKivClassTable) {
    if (row.clsid == clsid) return true;
  }
  return false;
}

// A class's factory. The module keeps it until unload, so it must not hold
// the module itself: it takes itself out of the live count it joined.
class CKivClassFactory final : public KivObject<IKivClassFactory, IKivModuleClientThread> {
 public:
  explicit CKivClassFactory(const Guid& clsid) : clsid_(clsid) {
    KivLiveObjects().fetch_sub(1, std::memory_order_relaxed);
  }
  ~CKivClassFactory() override { KivLiveObjects().fetch_add(1, std::memory_order_relaxed); }

  KivResult CreateInstance(IKivUnknown* outer, const Guid& iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    return KivCreateInstance(clsid_, iid, out);
  }
  KivResult LockServer(KivBool lock) override {
    if (FromKivBool(lock)) {
      KivLiveObjects().fetch_add(1, std::memory_order_relaxed);
    } else {
      KivLiveObjects().fetch_sub(1, std::memory_order_acq_rel);
    }
    return S_OK;
  }

  KivResult RunUntilSettled(uint32_t timeout_ms) override {
    const bool settled = KivClientThread::Current().RunUntilSettled(std::chrono::milliseconds(timeout_ms));
    return settled ? S_OK : S_FALSE;
  }
  KivResult RunUntilIdle(uint32_t* ran) override {
    const size_t count = KivClientThread::Current().RunUntilIdle();
    if (ran) *ran = static_cast<uint32_t>(count);
    return S_OK;
  }
  KivResult GetFd(int32_t* fd) override {
    if (!fd) return E_POINTER;
    *fd = KivClientThread::Current().Fd();
    return S_OK;
  }

 private:
  Guid clsid_;
};

std::filesystem::path& ModuleFolder() {
  static std::filesystem::path folder;  // set once, by the load steps
  return folder;
}

// Loads every add-in module (*.so) of `folder`; one that does not load is
// reported on standard error, naming it, and left out.
void LoadAddInFolder(const std::filesystem::path& folder) {
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
    if (entry.path().extension() != ".so") continue;
    const KivResult r = ClassRegistry::Process().LoadAddIn(entry.path());
    if (Failed(r)) {
      std::fprintf(stderr, "Velmar: add-in %s not loaded (0x%08X)\n", entry.path().c_str(), static_cast<uint32_t>(r));
    }
  }
}

// The add-in folders: "velmar/addins" beside the module, then each folder of
// VELMAR_ADDIN_PATH (separated by ':').
void LoadAddIns() {
  if (!ModuleFolder().empty()) LoadAddInFolder(ModuleFolder() / "velmar" / "addins");
  const char* path = std::getenv("VELMAR_ADDIN_PATH");
  for (std::string_view rest = path ? path : ""; !rest.empty();) {
    const size_t colon = rest.find(':');
    if (colon != 0) LoadAddInFolder(std::filesystem::path(rest.substr(0, colon)));
    rest = colon == std::string_view::npos ? std::string_view() : rest.substr(colon + 1);
  }
}

// The classes' start calls: the table joins the class registry, the
// add-ins theirs, and the mandatory data factories are listed. Once, at the
// first request, when every static of the module is made.
KivResult StartClasses() {
  static std::once_flag once;
  static KivResult result = S_OK;
  std::call_once(once, [] {
    result = KivRegisterBuiltInClasses();
    LoadAddIns();
    BuildMandatoryDataFactories();
  });
  return result;
}

bool ProcessorHasSse() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_cpu_init();
  return __builtin_cpu_supports("sse");
#else
  return true;  // the test is about x86 processors
#endif
}

}  // namespace

ModuleFrame& ModuleFrame::Process() {
  static ModuleFrame frame;
  return frame;
}

KivResult ModuleFrame::GetClassObject(const Guid& clsid, const Guid& iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  if (!InClassTable(clsid)) return CLASS_E_CLASSNOTAVAILABLE;
  if (KivResult r = StartClasses(); Failed(r)) return r;
  ComPtr<IKivClassFactory> factory;
  {
    std::lock_guard lock(mu_);
    ComPtr<IKivClassFactory>& slot = factories_[clsid];
    if (!slot) slot = MakeKiv<CKivClassFactory>(clsid);
    factory = slot;
  }
  return factory->QueryInterface(iid, out);
}

void ModuleFrame::ReleaseFactories() {
  std::map<Guid, ComPtr<IKivClassFactory>> gone;
  std::lock_guard lock(mu_);
  gone.swap(factories_);
}

KivResult ModuleFrame::CanUnloadNow() {
  return KivLiveObjects().load(std::memory_order_acquire) == 0 ? S_OK : S_FALSE;
}

KivResult ModuleFrame::GetVersion(KivDllVersionInfo* info) {
  if (!info) return E_POINTER;
  info->major = kKivModuleMajor;
  info->minor = kKivModuleMinor;
  info->build = kKivModuleBuild;
  info->platform = kKivModulePlatform;
  return S_OK;
}

KivResult ModuleFrame::Register(const std::u16string& module) {
  if (KivResult r = StartClasses(); Failed(r)) return r;
  RegistryKey classes;
  if (KivResult r = RegistryKey::Create(RegHive::kCurrentUser, kClassesKey, &classes); Failed(r)) return r;
  return RegisterClassTable(classes, module, ClassRegistry::Process());
}

KivResult ModuleFrame::Unregister() {
  RegistryKey classes;
  if (KivResult r = RegistryKey::Create(RegHive::kCurrentUser, kClassesKey, &classes); Failed(r)) return r;
  return UnregisterClassTable(classes);
}

CompanionLibrary::CompanionLibrary(const std::filesystem::path& folder) {
  if (folder.empty()) return;
  const std::filesystem::path file = folder / kKivCompanionLibrary;
  std::error_code ec;
  if (!std::filesystem::exists(file, ec)) return;
  handle_ = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle_) {
    const char* why = dlerror();
    std::fprintf(stderr, "Velmar: Failed to load library %s %s\n", file.c_str(), why ? why : "");
    return;
  }
  export_ = dlsym(handle_, kKivCompanionExport);
}

CompanionLibrary::~CompanionLibrary() {
  if (handle_) dlclose(handle_);
}

void RunModuleLoadSteps(const std::filesystem::path& folder) {
  if (!ProcessorHasSse()) FatalStop(u"This computer is not capable of running Kivara 12.0");
  ModuleFolder() = folder;
  if (folder.empty()) return;
  const std::string tools = (folder / "Tools").string();
  setenv("KIVARA_TOOLS", tools.c_str(), 1);
}

}  // namespace velmar
