// The host's entry points to plug-ins (velmar/plugin_tools.h).
#include "core/velmar.h"
#include "managed/dotnet_data_factory.h"
#include "managed/dotnet_tool.h"
#include "managed/root_addins.h"
#include "managed/tool_locator.h"
#include "velmar/plugin_review.h"
#include "velmar/plugin_tools.h"

namespace velmar {

using managed::CDotNetChannelFactory;
using managed::CDotNetTool;
using managed::ManagedRuntime;
using managed::PluginBackend;
using managed::PluginError;

namespace {

// A host that links the plug-in entry points gets plug-in entries in its
// roots' add-in lists from the start, before any plug-in is asked for.
[[maybe_unused]] const bool kBridgeInstalled = (managed::RootAddInBridge::Install(), true);

uint32_t KindOf(PluginBackend& backend, const std::u16string& typeName) {
  try {
    if (backend.IsTool(typeName)) return kKivPluginTool;
    if (backend.IsDataFactory(typeName))
      return backend.IsEventsFactory(typeName) ? kKivPluginEventsFactory : kKivPluginChannelFactory;
  } catch (const PluginError&) {
  }
  return kKivPluginOther;
}

}  // namespace

KivResult KivFindPluginTypes(std::vector<KivPluginType>* types) {
  if (!types) return E_POINTER;
  types->clear();
  try {
    ManagedRuntime& runtime = ManagedRuntime::Process();
    for (const managed::CToolDesc& desc : managed::CDotNetToolLocator::FindTools()) {
      types->push_back({desc.name, desc.id.typeName, KindOf(runtime.backend(), desc.id.typeName)});
    }
  } catch (const PluginError&) {
    return E_FAIL;  // no interpreter
  }
  return S_OK;
}

void KivRescanPlugins() { managed::CDotNetToolLocator::MarkDirty(); }

KivResult KivCreatePluginTool(const std::u16string& type_name, IKivUnknown* root, IKivObjectNode** node) {
  if (!node) return E_POINTER;
  *node = nullptr;
  ManagedRuntime& runtime = ManagedRuntime::Process();
  if (!runtime.library().Has(type_name)) return E_INVALIDARG;
  auto tool = MakeKiv<CDotNetTool>(runtime.library(), nullptr);
  if (!tool->Create(type_name, nullptr, root)) return E_FAIL;
  *node = static_cast<IKivObjectNode*>(tool.Detach());
  return S_OK;
}

namespace {

template <class Factory>
KivResult CreatePluginFactory(const std::u16string& type_name, IKivUnknown* root, Factory** factory) {
  if (!factory) return E_POINTER;
  *factory = nullptr;
  ManagedRuntime& runtime = ManagedRuntime::Process();
  if (!runtime.library().Has(type_name)) return E_INVALIDARG;
  auto made = managed::CDotNetDataFactory<Factory>::Create(runtime.library(), type_name, root);
  if (!made) return E_FAIL;
  *factory = static_cast<Factory*>(made.Detach());
  return S_OK;
}

}  // namespace

KivResult KivCreatePluginChannelFactory(const std::u16string& type_name, IKivUnknown* root,
                                        IKivChannelFactory** factory) {
  return CreatePluginFactory(type_name, root, factory);
}

KivResult KivCreatePluginEventsFactory(const std::u16string& type_name, IKivUnknown* root,
                                       IKivEventsFactory** factory) {
  return CreatePluginFactory(type_name, root, factory);
}

namespace {

CVelmar* RootOf(IKivUnknown* root) {
  auto velmar = QueryAs<IKivVelmar>(root);
  return dynamic_cast<CVelmar*>(velmar.Get());
}

}  // namespace

KivResult KivAddPluginToRoot(IKivUnknown* root, const std::u16string& type_name) {
  CVelmar* velmar = RootOf(root);
  if (!velmar || !ManagedRuntime::Process().library().Has(type_name)) return E_INVALIDARG;
  const auto record = DataFactoryRecord::Managed(type_name);
  const KivResult r = velmar->AddDataFactoryRecord(record);
  if (r != S_OK) return r;
  return velmar->DataFactories().IsActive(record) ? S_OK : E_FAIL;
}

KivResult KivRemovePluginFromRoot(IKivUnknown* root, const std::u16string& type_name) {
  CVelmar* velmar = RootOf(root);
  if (!velmar) return E_INVALIDARG;
  return velmar->RemoveDataFactoryRecord(DataFactoryRecord::Managed(type_name));
}

void KivSetReviewToolsDelegate(KivReviewToolsDelegate delegate) {
  managed::RootAddInBridge::Process().SetReviewDelegate(std::move(delegate));
}

KivResult KivSetPluginDataSelection(IKivChannelFactory* factory, int32_t task, int32_t selection) {
  auto* plugin = dynamic_cast<CDotNetChannelFactory*>(factory);
  if (!plugin) return E_INVALIDARG;
  return plugin->SetDataSelection(task, selection) ? S_OK : S_FALSE;
}

}  // namespace velmar
