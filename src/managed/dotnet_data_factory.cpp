#include "managed/dotnet_data_factory.h"

#include <algorithm>

#include "managed/dotnet_channel.h"
#include "managed/dotnet_event_set.h"
#include "managed/plugin_picture.h"

namespace velmar::managed {
namespace {

// The plug-in's item as the library's; null when the plug-in has none.
template <class Made, class Plugin>
ComPtr<Made> Wrap(const std::u16string& name, std::unique_ptr<Plugin> item) {
  if (!item) return nullptr;
  return MakeKiv<Made>(name, std::move(item));
}

// The last argument picks the form.
ComPtr<IKivChannel> MakeItem(PluginDataFactory& factory, const std::u16string& name, IKivChannel*) {
  return Wrap<CDotNetChannel>(name, factory.Channel(name));
}

ComPtr<IKivEventSet> MakeItem(PluginDataFactory& factory, const std::u16string& name, IKivEventSet*) {
  return Wrap<CDotNetEventSet>(name, factory.EventSet(name));
}

}  // namespace

template <class Factory>
CDotNetDataFactory<Factory>::~CDotNetDataFactory() {
  if (!factory_) return;
  try {
    factory_->Dispose();
  } catch (const PluginError&) {
  }
}

template <class Factory>
ComPtr<CDotNetDataFactory<Factory>> CDotNetDataFactory<Factory>::Create(DotNetToolTypeLibrary& library,
                                                            const std::u16string& typeName, IKivUnknown* root) {
  if (!library.Has(typeName)) return nullptr;
  auto made = MakeKiv<CDotNetDataFactory>();
  try {
    if (!library.backend().IsDataFactory(typeName)) return nullptr;
    made->factory_ = library.backend().CreateDataFactory(typeName, made.Get(), root);
  } catch (const PluginError&) {
    return nullptr;
  }
  if (!made->factory_ || made->factory_->Kind() != Kind::kPlugin) return nullptr;
  made->root_ = root;
  return made;
}

template <class Factory>
bool CDotNetDataFactory<Factory>::SetDataSelection(int32_t task, int32_t selection) {
  try {
    if (task < 1 || task > factory_->TaskCount()) return false;
    if (selection < 1 || selection > factory_->SelectionCount(task)) return false;
    factory_->SetDataSelection(task, selection);
  } catch (const PluginError&) {
    return false;
  }
  return true;
}

template <class Factory>
bool CDotNetDataFactory<Factory>::SetSelectionInputs(IKivUnknown* selection, IKivChannelFactory* inputs) {
  try {
    factory_->SetSelectionInputs(selection, inputs);
  } catch (const PluginError&) {
    return false;
  }
  return true;
}

template <class Factory>
NameList CDotNetDataFactory<Factory>::Keys() {
  try {
    return factory_->Keys();
  } catch (const PluginError&) {
    return {};
  }
}

template <class Factory>
KivResult CDotNetDataFactory<Factory>::GetNames(NameList* names) {
  if (!names) return E_POINTER;
  *names = listed_ = Keys();
  return S_OK;
}

template <class Factory>
KivResult CDotNetDataFactory<Factory>::OnInputsChanged() {
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

template <class Factory>
KivResult CDotNetDataFactory<Factory>::GetItem(const std::u16string& name, Item** item) {
  if (!item) return E_POINTER;
  *item = nullptr;
  ComPtr<Item> made;
  try {
    if (!factory_->Contains(name)) return E_INVALIDARG;
    made = MakeItem(*factory_, name, static_cast<Item*>(nullptr));
  } catch (const PluginError&) {
    return E_FAIL;
  }
  if (!made) return E_INVALIDARG;
  *item = made.Detach();
  return S_OK;
}

template <class Factory>
KivResult CDotNetDataFactory<Factory>::GetParent(IKivUnknown** parent) {
  if (!parent) return E_POINTER;
  *parent = nullptr;
  return parent_ ? parent_.CopyTo(parent) : E_UNEXPECTED;
}

template <class Factory>
KivResult CDotNetDataFactory<Factory>::SetParent(IKivUnknown* parent) {
  if ((parent == nullptr) == (parent_ == nullptr)) return E_INVALIDARG;
  parent_ = parent;
  return S_OK;
}

template <class Factory>
KivResult CDotNetDataFactory<Factory>::GetRoot(IKivUnknown** root) {
  if (!root) return E_POINTER;
  return root_.CopyTo(root);
}

template <class Factory>
KivResult CDotNetDataFactory<Factory>::SetRoot(IKivUnknown* root) {
  if (root_) return E_UNEXPECTED;
  root_ = root;
  return S_OK;
}

template <class Factory>
KivResult CDotNetDataFactory<Factory>::GetIcon(int32_t index, int32_t, IKivUnknown** picture) {
  if (!picture) return E_POINTER;
  *picture = nullptr;
  if (listed_.empty()) listed_ = Keys();
  if (index < 1 || static_cast<size_t>(index) > listed_.size()) return E_INVALIDARG;
  const std::u16string& name = listed_[static_cast<size_t>(index - 1)];
  auto it = icons_.find(name);
  if (it == icons_.end()) {
    SharedPluginPicture source;
    try {
      source = factory_->Icon(name);
    } catch (const PluginError&) {
      return E_FAIL;
    }
    it = icons_.emplace(name, source ? MakeIcon(*source) : nullptr).first;
  }
  if (!it->second) return S_FALSE;
  ComPtr<IKivUnknown> out(static_cast<IKivUnknown*>(it->second.Get()));
  *picture = out.Detach();
  return S_OK;
}

template <class Factory>
void CDotNetDataFactory<Factory>::OnNamesAdded(const std::vector<std::u16string>& names) {
  ComPtr<Factory> self(this);
  (void)this->FireNotification(&IKivDataFactoryNotifications::OnItemsAdded, static_cast<IKivDataFactory*>(this),
                         Kind::kData, names);
}

template <class Factory>
void CDotNetDataFactory<Factory>::OnNamesRemoved(const std::vector<std::u16string>& names) {
  ComPtr<Factory> self(this);
  (void)this->FireNotification(&IKivDataFactoryNotifications::OnItemsRemoved, static_cast<IKivDataFactory*>(this),
                         Kind::kData, names);
}

template class CDotNetDataFactory<IKivChannelFactory>;
template class CDotNetDataFactory<IKivEventsFactory>;

}  // namespace velmar::managed
