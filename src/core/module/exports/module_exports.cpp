// The five C entry points of libvelmar.so, and its load and unload steps.
// Built only into the shared library; everything here forwards to the
// module frame.
#include <dlfcn.h>

#include <filesystem>
#include <memory>

#include "core/module/module_frame.h"
#include "managed/root_addins.h"
#include "velmar/text.h"

namespace velmar {
namespace {

std::filesystem::path ModuleFile() {
  Dl_info info{};
  if (!dladdr(reinterpret_cast<void*>(&ModuleFile), &info) || !info.dli_fname) return {};
  std::error_code ec;
  const std::filesystem::path file = std::filesystem::canonical(info.dli_fname, ec);
  return ec ? std::filesystem::path() : file;
}

// Load: the processor test and KIVARA_TOOLS, the plug-in bridge, and the
// companion library beside the module. Unload: the frame, made after this, ends first and
// releases the class factories; then the companion goes. No thread is
// started or waited for here.
class ModuleLifetime {
 public:
  ModuleLifetime() : folder_(ModuleFile().parent_path()) {
    RunModuleLoadSteps(folder_);
    managed::RootAddInBridge::Install();  // plug-in entries in the roots' add-in lists
    companion_ = std::make_unique<CompanionLibrary>(folder_);
  }

 private:
  std::filesystem::path folder_;
  std::unique_ptr<CompanionLibrary> companion_;
};

const ModuleLifetime lifetime;

}  // namespace
}  // namespace velmar

using velmar::KivResult;

extern "C" __attribute__((visibility("default"))) KivResult DllGetClassObject(const velmar::Guid& clsid,
                                                                             const velmar::Guid& iid, void** out) {
  return velmar::ModuleFrame::Process().GetClassObject(clsid, iid, out);
}

extern "C" __attribute__((visibility("default"))) KivResult DllCanUnloadNow() {
  return velmar::ModuleFrame::CanUnloadNow();
}

extern "C" __attribute__((visibility("default"))) KivResult DllGetVersion(velmar::KivDllVersionInfo* info) {
  return velmar::ModuleFrame::GetVersion(info);
}

extern "C" __attribute__((visibility("default"))) KivResult DllRegisterServer() {
  return velmar::ModuleFrame::Register(velmar::Utf8ToWide(velmar::ModuleFile().string()));
}

extern "C" __attribute__((visibility("default"))) KivResult DllUnregisterServer() {
  return velmar::ModuleFrame::Unregister();
}
