// A plug-in data factory as the library's channel or events factory: its
// keys are the names, its items come as CDotNetChannel or CDotNetEventSet,
// and the names it adds or removes reach the factory's sinks. A plug-in that
// raises gives no names.
//
// Client thread only.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "core/notifications_impl.h"
#include "managed/plugin_seam.h"
#include "managed/tool_type_library.h"
#include "velmar/data_factory.h"
#include "velmar/events.h"
#include "velmar/object_node.h"
#include "velmar/outing_notifications.h"
#include "velmar/selection_data_factory.h"

namespace velmar::managed {

// What differs between the channel and the events form.
template <class Factory>
struct DotNetFactoryKind;
template <>
struct DotNetFactoryKind<IKivChannelFactory> {
  using Item = IKivChannel;
  static constexpr PluginFactoryKind kPlugin = PluginFactoryKind::kChannels;
  static constexpr uint32_t kData = kDataKindChannels;
};
template <>
struct DotNetFactoryKind<IKivEventsFactory> {
  using Item = IKivEventSet;
  static constexpr PluginFactoryKind kPlugin = PluginFactoryKind::kEvents;
  static constexpr uint32_t kData = kDataKindEvents;
};

template <class Factory>
class CDotNetDataFactory final
    : public KivObject<Factory, IKivSelectionInputsSink,
                       IKivNotificationsImpl<CDotNetDataFactory<Factory>, IKivDataFactoryNotifications>>,
      private PluginDataFactoryListener {
  using Kind = DotNetFactoryKind<Factory>;
  using Item = typename Kind::Item;

 public:
  ~CDotNetDataFactory() override;
  // The factory of that plug-in type; null when it can't be made or offers
  // items of the other kind.
  static ComPtr<CDotNetDataFactory> Create(DotNetToolTypeLibrary& library, const std::u16string& typeName,
                                              IKivUnknown* root);

  // Points the plug-in at a selection; false (and nothing changes) for an
  // index out of range.
  bool SetDataSelection(int32_t task, int32_t selection);
  // Points the plug-in at one selection, read through its inputs; false
  // when the plug-in raised.
  bool SetSelectionInputs(IKivUnknown* selection, IKivChannelFactory* inputs);

  // IKivDataFactory
  KivResult GetNames(NameList* names) override;
  KivResult GetParent(IKivUnknown** parent) override;
  KivResult SetParent(IKivUnknown* parent) override;
  KivResult GetRoot(IKivUnknown** root) override;
  KivResult SetRoot(IKivUnknown* root) override;
  // The 16 by 16 icon of the `index`th name (from 1) as last listed, made
  // once from the plug-in's picture; `size` is not looked at. S_FALSE and
  // null when the plug-in gives none.
  KivResult GetIcon(int32_t index, int32_t size, IKivUnknown** picture) override;
  KivResult GetItem(const std::u16string& name, Item** item) override;

  // IKivSelectionInputsSink: the plug-in's keys may follow the selection's
  // data, so they are read again and what changed since the last listing is
  // told.
  KivResult OnInputsChanged() override;

 private:
  void OnNamesAdded(const std::vector<std::u16string>& names) override;
  void OnNamesRemoved(const std::vector<std::u16string>& names) override;

  NameList Keys();

  std::unique_ptr<PluginDataFactory> factory_;
  NameList listed_;  // the names last given out
  std::map<std::u16string, ComPtr<IKivPicture>> icons_;  // by name, once made
  ComPtr<IKivUnknown> parent_;
  ComPtr<IKivUnknown> root_;
};

using CDotNetChannelFactory = CDotNetDataFactory<IKivChannelFactory>;
using CDotNetEventsFactory = CDotNetDataFactory<IKivEventsFactory>;
extern template class CDotNetDataFactory<IKivChannelFactory>;
extern template class CDotNetDataFactory<IKivEventsFactory>;

}  // namespace velmar::managed
