#include "managed/python_module.h"

#include <cstdio>
#include <string>

#include "velmar/runtime_module.h"
#include "velmar/classes.h"

namespace velmar::managed {
namespace {

KivResult CreateInstance(const Guid& clsid, const Guid& iid, void** out) { return KivCreateInstance(clsid, iid, out); }

// Stands in for the backend when its module is missing.
class MissingPythonBackend final : public PluginBackend {
 public:
  explicit MissingPythonBackend(std::string why) : why_(std::move(why)) {}

  PluginModuleInfo LoadModule(const std::string&) override { throw PluginError(why_); }
  bool IsDisposable(const std::u16string&) override { return false; }
  bool SupportsPersistence(const std::u16string&) override { return false; }
  bool IsTool(const std::u16string&) override { return false; }
  bool IsDataFactory(const std::u16string&) override { return false; }
  bool IsEventsFactory(const std::u16string&) override { return false; }
  std::unique_ptr<PluginTool> CreateTool(const std::u16string&, const std::vector<uint8_t>*, PluginToolListener*,
                                         IKivUnknown*) override {
    return nullptr;
  }
  std::unique_ptr<PluginDataFactory> CreateDataFactory(const std::u16string&, PluginDataFactoryListener*,
                                                       IKivUnknown*) override {
    return nullptr;
  }

 private:
  std::string why_;
};

}  // namespace

std::unique_ptr<PluginBackend> LoadPythonBackend() {
  void* entry = nullptr;
  std::string why;
  if (Failed(LoadRuntimeModuleEntry(kPythonModule, kPythonEntry, &entry, &why))) {
    why = "Python plug-ins are not available: " + why;
    static const bool said = std::fprintf(stderr, "velmar: %s\n", why.c_str()) > 0;
    (void)said;
    return std::make_unique<MissingPythonBackend>(std::move(why));
  }
  static const PythonHostCalls host{&CreateInstance};
  return std::unique_ptr<PluginBackend>(reinterpret_cast<PythonBackendEntry>(entry)(&host));
}

}  // namespace velmar::managed
