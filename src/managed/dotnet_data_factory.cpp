#include "managed/dotnet_data_factory.h"

#include <algorithm>

#include "managed/dotnet_channel.h"

namespace velmar::managed {

CDotNetChannelFactory::~CDotNetChannelFactory() {
  if (!factory_) return;
  try {
    factory_->Dispose();
  } catch (const PluginError&) {
  }
}

ComPtr<CDotNetChannelFactory> CDotNetChannelFactory::Create(DotNetToolTypeLibrary& library,
                                                            const std::u16string& typeName, IKivUnknown* root) {
  if (!library.Has(typeName)) return nullptr;
  auto made = MakeKiv<CDotNetChannelFactory>();
  try {
    if (!library.backend().IsDataFactory(typeName)) return nullptr;
    made->factory_ = library.backend().CreateDataFactory(typeName, made.Get(), root);
  } catch (const PluginError&) {
    return nullptr;
  }
  if (!made->factory_ || made->factory_->Kind() != PluginFactoryKind::kChannels) return nullptr;
  made->root_ = root;
  return made;
}

bool CDotNetChannelFactory::SetDataSelection(int32_t task, int32_t selection) {
  try {
    if (task < 1 || task > factory_->TaskCount()) return false;
    if (selection < 1 || selection > factory_->SelectionCount(task)) return false;
    factory_->SetDataSelection(task, selection);
  } catch (const PluginError&) {
    return false;
  }
  return true;
}

bool CDotNetChannelFactory::SetSelectionInputs(IKivUnknown* selection, IKivChannelFactory* inputs) {
  try {
    factory_->SetSelectionInputs(selection, inputs);
  } catch (const PluginError&) {
    return false;
  }
  return true;
}

NameList CDotNetChannelFactory::Keys() {
  try {
    return factory_->Keys();
  } catch (const PluginError&) {
    return {};
  }
}

KivResult CDotNetChannelFactory::GetNames(NameList* names) {
  if (!names) return E_POINTER;
  *names = listed_ = Keys();
  return S_OK;
}

KivResult CDotNetChannelFactory::OnInputsChanged() {
  NameList now = Keys();
  const auto missingFrom = [](const NameList& from, const NameList& names) {
    NameList out;
    for (const auto& name : names) {
      if (std::find(from.begin(), from.end(), name) == from.end()) out.push_back(name);
    }
    return out;
  };
  const NameList removed = missingFrom(now, listed_);
  const NameList added = missingFrom(listed_, now);
  listed_ = std::move(now);
  if (!removed.empty()) OnNamesRemoved(removed);
  if (!added.empty()) OnNamesAdded(added);
  return S_OK;
}

KivResult CDotNetChannelFactory::GetItem(const std::u16string& name, IKivChannel** channel) {
  if (!channel) return E_POINTER;
  *channel = nullptr;
  std::unique_ptr<PluginChannel> item;
  try {
    if (!factory_->Contains(name)) return E_INVALIDARG;
    item = factory_->Channel(name);
  } catch (const PluginError&) {
    return E_FAIL;
  }
  if (!item) return E_INVALIDARG;
  ComPtr<IKivChannel> made = MakeKiv<CDotNetChannel>(name, std::move(item));
  *channel = made.Detach();
  return S_OK;
}

KivResult CDotNetChannelFactory::GetParent(IKivUnknown** parent) {
  if (!parent) return E_POINTER;
  *parent = nullptr;
  return parent_ ? parent_.CopyTo(parent) : E_UNEXPECTED;
}

KivResult CDotNetChannelFactory::SetParent(IKivUnknown* parent) {
  if ((parent == nullptr) == (parent_ == nullptr)) return E_INVALIDARG;
  parent_ = parent;
  return S_OK;
}

KivResult CDotNetChannelFactory::GetRoot(IKivUnknown** root) {
  if (!root) return E_POINTER;
  return root_.CopyTo(root);
}

KivResult CDotNetChannelFactory::SetRoot(IKivUnknown* root) {
  if (root_) return E_UNEXPECTED;
  root_ = root;
  return S_OK;
}

KivResult CDotNetChannelFactory::GetIcon(int32_t, int32_t, IKivUnknown** picture) {
  if (!picture) return E_POINTER;
  *picture = nullptr;
  return E_FAIL;
}

void CDotNetChannelFactory::OnNamesAdded(const std::vector<std::u16string>& names) {
  ComPtr<IKivChannelFactory> self(this);
  (void)FireNotification(&IKivDataFactoryNotifications::OnItemsAdded, static_cast<IKivDataFactory*>(this),
                         kDataKindChannels, names);
}

void CDotNetChannelFactory::OnNamesRemoved(const std::vector<std::u16string>& names) {
  ComPtr<IKivChannelFactory> self(this);
  (void)FireNotification(&IKivDataFactoryNotifications::OnItemsRemoved, static_cast<IKivDataFactory*>(this),
                         kDataKindChannels, names);
}

}  // namespace velmar::managed
