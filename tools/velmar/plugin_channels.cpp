#include "plugin_channels.h"

#include <iostream>

#include "output.h"
#include "velmar/plugin_tools.h"
#include "velmar/selection_sources.h"
#include "velmar/tasks.h"

namespace velmar::cli {
namespace {

bool Same(IKivUnknown* a, IKivUnknown* b) { return QueryAs<IKivUnknown>(a).Get() == QueryAs<IKivUnknown>(b).Get(); }

// The selection's task and place in it, from 1; {0, 0} when not found.
std::pair<int32_t, int32_t> IndexesOf(IKivVelmar* root, IKivDataSelection4* selection) {
  ComPtr<IKivTasks> tasks;
  int32_t taskCount = 0;
  if (Failed(root->GetTasks(tasks.Put())) || Failed(tasks->GetCount(&taskCount))) return {0, 0};
  for (int32_t t = 1; t <= taskCount; ++t) {
    ComPtr<IKivTask> task;
    ComPtr<IKivDataSelections> selections;
    int32_t count = 0;
    if (Failed(tasks->GetItem(t, task.Put())) || Failed(task->GetSelections(selections.Put())) ||
        Failed(selections->GetCount(&count)))
      continue;
    for (int32_t s = 1; s <= count; ++s) {
      ComPtr<IKivDataSelection4> item;
      if (Succeeded(selections->GetItem(s, item.Put())) && Same(item.Get(), selection)) return {t, s};
    }
  }
  return {0, 0};
}

}  // namespace

void AttachPluginChannels(IKivVelmar* root, IKivDataSelection4* selection) {
  std::vector<KivPluginType> types;
  if (Failed(KivFindPluginTypes(&types))) return;
  auto sources = QueryAs<IKivDataSelectionSources>(selection);
  if (!sources) return;
  const auto [task, index] = IndexesOf(root, selection);
  for (const KivPluginType& type : types) {
    if (type.kind != kKivPluginChannelFactory) continue;
    ComPtr<IKivChannelFactory> factory;
    if (Failed(KivCreatePluginChannelFactory(type.type_name, root, factory.Put()))) {
      std::cerr << "velmar: plug-in \"" << Utf8(type.type_name) << "\" could not be made\n";
      continue;
    }
    (void)KivSetPluginDataSelection(factory.Get(), task, index);
    (void)sources->AddChannelSource(factory.Get());
  }
}

}  // namespace velmar::cli
