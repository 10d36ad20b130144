// The library as a loadable module, `libvelmar.so`. A host that does not
// link the library loads it and reaches everything through five C entry
// points and the interfaces of these headers:
//
//   void* so = dlopen("libvelmar.so", RTLD_NOW | RTLD_LOCAL);
//   auto get = reinterpret_cast<KivDllGetClassObjectFn>(dlsym(so, kKivDllGetClassObject));
//   ComPtr<IKivClassFactory> factory;
//   get(CLSID_KivVelmar, IKivClassFactory::iid, factory.PutVoid());
//   ComPtr<IKivVelmar> root;
//   factory->CreateInstance(nullptr, IKivVelmar::iid, root.PutVoid());
//
// The class factory also answers IKivModuleClientThread: the module's own
// client-thread loop, which such a host runs to bring in the results of
// the worker threads (a linked host uses KivClientThread instead).
//
// Add-ins (data factories of others, in shared objects) join at the first
// DllGetClassObject: every *.so of "velmar/addins" beside the module, and of
// each folder in VELMAR_ADDIN_PATH (':' between folders).
//
// When everything the host held is released and every job has ended,
// DllCanUnloadNow gives 0 and the module may be closed.
//
// On load the module sets KIVARA_TOOLS to its own folder + "/Tools", and
// loads the optional companion library kKivCompanionLibrary from its own
// folder if that file is there (it never calls into it).
#pragma once

#include <cstdint>

#include "velmar/guid.h"
#include "velmar/result.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivClassFactory : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{00000001-0000-0000-C000-000000000046}");
  // A non-null `outer` gives CLASS_E_NOAGGREGATION: no class aggregates.
  virtual KivResult CreateInstance(IKivUnknown* outer, const Guid& iid, void** out) = 0;
  // Keeps the module loaded (KIV_TRUE) or lets it go again (KIV_FALSE).
  virtual KivResult LockServer(KivBool lock) = 0;
};

// The module's client-thread loop (see velmar/client_thread.h), for a host
// that loaded the module and cannot call KivClientThread itself. Every call
// belongs to the thread that made the module's objects.
struct IKivModuleClientThread : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{FE1E7778-272C-45FF-B039-36EEF7FB81BF}");
  // S_OK when the library went quiet, S_FALSE when `timeout_ms` passed first.
  virtual KivResult RunUntilSettled(uint32_t timeout_ms) = 0;
  // Runs what is ready; `ran` (may be null) gets the count.
  virtual KivResult RunUntilIdle(uint32_t* ran) = 0;
  // Readable while tasks wait: for the host's own poll loop.
  virtual KivResult GetFd(int32_t* fd) = 0;
};

inline constexpr KivResult CLASS_E_NOAGGREGATION = Code(0x80040110);
inline constexpr KivResult SELFREG_E_CLASS = Code(0x80040201);

// The module's version: 12.0, build 1717, platform 1.
struct KivDllVersionInfo {
  uint32_t size = sizeof(KivDllVersionInfo);
  uint32_t major = 0;
  uint32_t minor = 0;
  uint32_t build = 0;
  uint32_t platform = 0;
};
inline constexpr uint32_t kKivModuleMajor = 12;
inline constexpr uint32_t kKivModuleMinor = 0;
inline constexpr uint32_t kKivModuleBuild = 1717;
inline constexpr uint32_t kKivModulePlatform = 1;

// File name of the module and of its optional companion beside it.
inline constexpr const char* kKivModuleFile = "libvelmar.so";
inline constexpr const char* kKivCompanionLibrary = "libkivarafield.so";
// The companion's export the module looks up (and never calls).
inline constexpr const char* kKivCompanionExport = "AddCrashHandlerLimitModule";

extern "C" {
// The class factory of `clsid`, asked for `iid`; CLASS_E_CLASSNOTAVAILABLE
// for a class outside the table. Made once, then the same object.
typedef KivResult (*KivDllGetClassObjectFn)(const Guid& clsid, const Guid& iid, void** out);
// 0 when no object, job item or state machine of the module is alive, else 1.
typedef KivResult (*KivDllCanUnloadNowFn)();
// Fills `info`; always 0.
typedef KivResult (*KivDllGetVersionFn)(KivDllVersionInfo* info);
// Writes (or removes) the class table in the user's registry file: each
// class by identity and program ids with its categories, then the type
// library. Stops at the first failure and gives its code.
typedef KivResult (*KivDllRegisterServerFn)();
typedef KivResult (*KivDllUnregisterServerFn)();
}

inline constexpr const char* kKivDllGetClassObject = "DllGetClassObject";
inline constexpr const char* kKivDllCanUnloadNow = "DllCanUnloadNow";
inline constexpr const char* kKivDllGetVersion = "DllGetVersion";
inline constexpr const char* kKivDllRegisterServer = "DllRegisterServer";
inline constexpr const char* kKivDllUnregisterServer = "DllUnregisterServer";

}  // namespace velmar
