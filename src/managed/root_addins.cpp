#include "managed/root_addins.h"

#include "managed/dotnet_data_factory.h"
#include "managed/font_description.h"
#include "managed/tool_locator.h"
#include "velmar/velmar.h"

namespace velmar::managed {

KivResult CDotNetDataFactoryMaker::CreateForSelection(IKivUnknown* selection, IKivChannelFactory* channels,
                                                      IKivEventsFactory*, IKivUnknown** factory) {
  if (!selection || !channels || !factory) return E_POINTER;
  *factory = nullptr;
  if (ComPtr<CDotNetChannelFactory> made = CDotNetChannelFactory::Create(library_, typeName_, root_)) {
    if (!made->SetSelectionInputs(selection, channels)) return E_FAIL;
    *factory = static_cast<IKivChannelFactory*>(made.Detach());
    return S_OK;
  }
  ComPtr<CDotNetEventsFactory> made = CDotNetEventsFactory::Create(library_, typeName_, root_);
  if (!made || !made->SetSelectionInputs(selection, channels)) return E_FAIL;
  *factory = static_cast<IKivEventsFactory*>(made.Detach());
  return S_OK;
}

namespace {

// Whether a data factory of that type can be made now, in either form.
bool CanMakeDataFactory(DotNetToolTypeLibrary& library, const std::u16string& typeName, IKivVelmar* root) {
  return CDotNetChannelFactory::Create(library, typeName, root) || CDotNetEventsFactory::Create(library, typeName, root);
}

}  // namespace

RootAddInBridge& RootAddInBridge::Process() {
  static RootAddInBridge bridge;
  return bridge;
}

void RootAddInBridge::Install() { SetManagedFactoryBridge(&Process()); }

bool RootAddInBridge::Create(const std::u16string& typeName, IKivVelmar* root, const std::vector<uint8_t>* state,
                             ManagedToolStateListener* listener, ActiveDataFactory* entry, Made* made) {
  DotNetToolTypeLibrary& library = ManagedRuntime::Process().library();
  if (!library.Has(typeName)) return false;
  bool tool = false;
  try {
    tool = library.backend().IsTool(typeName);
  } catch (const PluginError&) {
    return false;
  }
  if (tool) return CreateTool(typeName, root, state, listener, entry, made);
  // A data factory that can't be made now won't be for a selection either.
  if (!CanMakeDataFactory(library, typeName, root)) return false;
  entry->factory = static_cast<IKivUnknown*>(MakeKiv<CDotNetDataFactoryMaker>(library, typeName, root).Get());
  return true;
}

bool RootAddInBridge::CreateTool(const std::u16string& typeName, IKivVelmar* root, const std::vector<uint8_t>* state,
                                 ManagedToolStateListener* listener, ActiveDataFactory* entry, Made* made) {
  auto relay = std::make_unique<Relay>(listener);
  auto tool = MakeKiv<CDotNetTool>(ManagedRuntime::Process().library(), relay.get());
  if (!tool->Create(typeName, state, root)) return false;
  made->persists = tool->wrapper().SupportsPersistence();
  made->stateRejected = tool->wrapper().StateRejected();
  entry->factory = static_cast<IKivObjectNode*>(tool.Get());
  entry->node = entry->factory;
  tools_[tool.Get()] = std::move(relay);
  return true;
}

std::vector<KivAddInRow> RootAddInBridge::Available() {
  std::vector<KivAddInRow> rows;
  try {
    for (const CToolDesc& desc : CDotNetToolLocator::FindTools()) {
      KivAddInRow row;
      row.kind = desc.id.kind;
      row.type_name = desc.id.typeName;
      row.display_name = desc.name;
      rows.push_back(std::move(row));
    }
  } catch (const PluginError&) {
    rows.clear();  // no interpreter: no plug-ins
  }
  return rows;
}

CDotNetTool* RootAddInBridge::ToolOf(IKivUnknown* factory) const {
  auto* tool = dynamic_cast<CDotNetTool*>(static_cast<IKivObjectNode*>(QueryAs<IKivObjectNode>(factory).Get()));
  return tool && tools_.count(tool) ? tool : nullptr;
}

bool RootAddInBridge::Save(IKivUnknown* factory, std::vector<uint8_t>* bytes) {
  CDotNetTool* tool = ToolOf(factory);
  return tool && tool->wrapper().Save(bytes);
}

bool RootAddInBridge::Persists(IKivUnknown* factory) {
  CDotNetTool* tool = ToolOf(factory);
  return tool && tool->wrapper().SupportsPersistence();
}

void RootAddInBridge::SetColours(IKivUnknown* factory, uint32_t back, uint32_t fore, uint32_t grid) {
  CDotNetTool* tool = ToolOf(factory);
  if (!tool) return;
  tool->wrapper().SetBackColor(back);
  tool->wrapper().SetForeColor(fore);
  tool->wrapper().SetGridColor(grid);
}

void RootAddInBridge::SetFont(IKivUnknown* factory, IKivUnknown* font) {
  CDotNetTool* tool = ToolOf(factory);
  const std::optional<PluginFont> described = PluginFontOf(font);
  if (tool && described) tool->wrapper().SetFont(*described);
}

void RootAddInBridge::ReviewTools(const std::vector<std::u16string>& typeNames) {
  if (!review_) return;
  const KivReviewToolsDelegate review = review_;  // the delegate may replace itself
  review(typeNames);
}

void RootAddInBridge::Detach(IKivUnknown* factory) {
  CDotNetTool* tool = ToolOf(factory);
  if (!tool) return;
  tool->DetachParent();
  tools_.erase(tool);
}

}  // namespace velmar::managed
