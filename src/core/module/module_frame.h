// The module frame: what libvelmar.so does behind its five entry points.
// Class factories by class identity (made once, under the module lock, and
// kept until unload), the live object count that says when the module may
// go, its version, its registration in the registry file, and the steps run
// when it is loaded and unloaded.
//
// The exported C functions (exports/module_exports.cpp) only forward here,
// so a test links this without loading a module.
#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <string>

#include "velmar/module.h"
#include "velmar/registry.h"

namespace velmar {

class ModuleFrame {
 public:
  ModuleFrame() = default;
  ModuleFrame(const ModuleFrame&) = delete;
  ModuleFrame& operator=(const ModuleFrame&) = delete;

  // The one frame of the process.
  static ModuleFrame& Process();

  // The factory of a class of the table, asked for `iid`: E_POINTER for a
  // null `out`, CLASS_E_CLASSNOTAVAILABLE for a class outside the table.
  // The first request also gives the classes their start calls and loads
  // the add-ins: every *.so of "velmar/addins" beside the module and of
  // each folder in VELMAR_ADDIN_PATH (':' between folders).
  KivResult GetClassObject(const Guid& clsid, const Guid& iid, void** out);
  // Releases the factories (unload).
  void ReleaseFactories();

  // S_OK (0) at a live count of 0, else S_FALSE (1).
  static KivResult CanUnloadNow();
  static KivResult GetVersion(KivDllVersionInfo* info);

  // Writes or removes the class table under the per-user "Software\Classes".
  static KivResult Register(const std::u16string& module);
  static KivResult Unregister();

 private:
  std::mutex mu_;  // the module lock: held only to make a factory
  std::map<Guid, ComPtr<IKivClassFactory>> factories_;  // GUARDED_BY(mu_)
};

// The optional companion library beside the module: loaded when its file is
// there, its export looked up, never called; freed when this goes. A file
// that is there but does not load is reported on standard error ("Velmar:
// Failed to load library ...") and skipped; a missing one says nothing.
class CompanionLibrary {
 public:
  explicit CompanionLibrary(const std::filesystem::path& folder);
  ~CompanionLibrary();
  CompanionLibrary(const CompanionLibrary&) = delete;
  CompanionLibrary& operator=(const CompanionLibrary&) = delete;

  bool loaded() const { return handle_ != nullptr; }
  bool has_export() const { return export_ != nullptr; }

 private:
  void* handle_ = nullptr;
  void* export_ = nullptr;
};

// The load steps that need no class: the processor test (a processor
// without SSE ends the process through the fatal stop) and KIVARA_TOOLS
// set to `folder` + "/Tools" (skipped for an empty folder). Keeps `folder`
// as the module's, where the add-ins are looked for.
void RunModuleLoadSteps(const std::filesystem::path& folder);

}  // namespace velmar
