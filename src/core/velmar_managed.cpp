// The root's managed (plug-in) entries: their saved states in the settings
// file and the review after load.
#include <algorithm>

#include "core/velmar.h"

namespace velmar {

bool CVelmar::ReadManagedState(const std::u16string& storageName, std::vector<uint8_t>* bytes) {
  return dataFactoryStorage_ && factoryStore_.ReadToolState(storageName, bytes);
}

void CVelmar::ManagedStateRejected() {
  if (loading_) {
    staleAfterLoad_ = true;
  } else {
    MarkDirty();
  }
}

// The tool's stream is rewritten at once, so the file holds the state even
// if the host saves nothing else.
void CVelmar::OnManagedToolChanged(const std::u16string& typeName) {
  const auto& active = dataFactories_.Active();
  const auto it = std::find_if(active.begin(), active.end(), [&](const ActiveDataFactory& e) {
    return e.record.kind == DataFactoryKind::kManaged && e.record.typeName == typeName;
  });
  if (it == active.end()) return;
  if (dataFactoryStorage_) (void)factoryStore_.WriteToolState(dataFactories_, *it, nullptr);
  MarkDirty();
}

// An entry is consistent when it was made and it has a stored state exactly
// when it persists. Any other is dropped, and the file must be written again.
void CVelmar::ReviewManagedEntries(const DataFactoryListContent& content) {
  ManagedFactoryBridge* bridge = CurrentManagedFactoryBridge();
  std::vector<std::u16string> consistent;
  for (const auto& stored : content.entries) {
    if (stored.record.kind != DataFactoryKind::kManaged) continue;
    const auto& active = dataFactories_.Active();
    const auto it = std::find_if(active.begin(), active.end(),
                                 [&](const ActiveDataFactory& e) { return e.record.SameFactory(stored.record); });
    std::vector<uint8_t> state;
    const bool hasState = factoryStore_.ReadToolState(stored.storageName, &state);
    const bool made = bridge && it != active.end() && it->factory;
    if (made && hasState == bridge->Persists(it->factory.Get())) {
      consistent.push_back(stored.record.typeName);
      continue;
    }
    staleAfterLoad_ = true;
    if (it != active.end()) dataFactories_.Drop(stored.record, *this);
  }
  if (reviewTools_ && bridge) bridge->ReviewTools(consistent);
}

}  // namespace velmar
