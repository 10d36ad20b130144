// The module's entry, and its one call back into the library that loaded
// it: the class table is the host's, never a copy of its own.
#include <Python.h>
#include <dlfcn.h>

#include "managed/python_module.h"
#include "managed/tool_locator.h"
#include "velmar/classes.h"

namespace velmar {
namespace {

managed::PythonHostCalls& Host() {
  static managed::PythonHostCalls host;
  return host;
}

// Extension modules (the standard library's own, numpy) take the
// interpreter's symbols from the process's global scope, not from whoever
// loaded them; libpython came in as this module's dependency, local like
// it, and is made global before the interpreter starts.
void MakeInterpreterGlobal() {
  Dl_info info{};
  if (::dladdr(reinterpret_cast<void*>(&Py_Initialize), &info) && info.dli_fname) {
    (void)::dlopen(info.dli_fname, RTLD_NOW | RTLD_GLOBAL | RTLD_NOLOAD);
  }
}

}  // namespace

KivResult KivCreateInstance(const Guid& clsid, const Guid& iid, void** out) {
  if (!Host().createInstance) return E_UNEXPECTED;
  return Host().createInstance(clsid, iid, out);
}

}  // namespace velmar

extern "C" __attribute__((visibility("default"))) velmar::managed::PluginBackend* VelmarPythonBackend(
    const velmar::managed::PythonHostCalls* host) {
  velmar::Host() = *host;
  velmar::MakeInterpreterGlobal();
  return velmar::managed::MakePythonBackend().release();
}
