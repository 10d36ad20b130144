// The module's entry, and its one call back into the library that loaded
// it: the class table is the host's, never a copy of its own.
#include "managed/python_module.h"
#include "managed/tool_locator.h"
#include "velmar/classes.h"

namespace velmar {
namespace {

managed::PythonHostCalls& Host() {
  static managed::PythonHostCalls host;
  return host;
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
  return velmar::managed::MakePythonBackend().release();
}
