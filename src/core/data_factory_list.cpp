#include "core/data_factory_list.h"

#include <algorithm>

#include "core/data_factory_branding.h"
#include "core/managed_factory_bridge.h"
#include "velmar/class_registry.h"
#include "velmar/data_factory.h"
#include "velmar/text.h"
#include "velmar/velmar.h"

namespace velmar {

namespace {

// Running entries taken out of the active list while a new one is built.
struct WorkingSet {
  std::vector<ActiveDataFactory> entries;

  std::optional<ActiveDataFactory> Take(const DataFactoryRecord& record) {
    auto it = std::find_if(entries.begin(), entries.end(),
                           [&](const auto& e) { return e.record.SameFactory(record); });
    if (it == entries.end()) return std::nullopt;
    ActiveDataFactory taken = std::move(*it);
    entries.erase(it);
    return taken;
  }
};

template <class I>
void GiveRootAs(IKivUnknown* factory, IKivVelmar* root) {
  if (auto face = QueryAs<I>(factory)) (void)face->SetRoot(root);
}

}  // namespace

std::u16string DataFactoryStorageName(uint32_t id) { return u"DataFactory_" + Utf8ToWide(std::to_string(id)); }

DataFactoryRecords CDataFactoryList::ActiveRecords() const {
  DataFactoryRecords records;
  records.reserve(active_.size());
  for (const auto& entry : active_) records.push_back(entry.record);
  return records;
}

bool CDataFactoryList::IsActive(const DataFactoryRecord& record) const {
  return std::any_of(active_.begin(), active_.end(), [&](const auto& e) { return e.record.SameFactory(record); });
}

CDataFactoryList::StorageSlot* CDataFactoryList::SlotOf(const DataFactoryRecord& record) {
  if (record.kind == DataFactoryKind::kNative) {
    auto it = byClass_.find(record.clsid);
    return it == byClass_.end() ? nullptr : &it->second;
  }
  auto it = byName_.find(record.typeName);
  return it == byName_.end() ? nullptr : &it->second;
}

std::optional<std::u16string> CDataFactoryList::StorageNameOf(const DataFactoryRecord& record) const {
  if (auto* slot = const_cast<CDataFactoryList*>(this)->SlotOf(record)) return slot->name;
  return std::nullopt;
}

void CDataFactoryList::RememberStorageName(const DataFactoryRecord& record, std::u16string name) {
  StorageSlot slot{std::move(name), nullptr};
  if (record.kind == DataFactoryKind::kNative) {
    byClass_[record.clsid] = std::move(slot);
  } else {
    byName_[record.typeName] = std::move(slot);
  }
}

IKivUnknown* CDataFactoryList::OpenStorageOf(const DataFactoryRecord& record) const {
  const StorageSlot* slot = const_cast<CDataFactoryList*>(this)->SlotOf(record);
  return slot ? slot->open.Get() : nullptr;
}

void CDataFactoryList::SetOpenStorage(const DataFactoryRecord& record, ComPtr<IKivUnknown> open) {
  if (StorageSlot* slot = SlotOf(record)) slot->open = std::move(open);
}

void CDataFactoryList::ForgetOpenStorages() {
  for (auto& [clsid, slot] : byClass_) slot.open = nullptr;
  for (auto& [type, slot] : byName_) slot.open = nullptr;
}

void CDataFactoryList::EnsureStorageName(const DataFactoryRecord& record) {
  if (SlotOf(record)) return;
  RememberStorageName(record, DataFactoryStorageName(++nextFactoryId_));
}

ComPtr<IKivUnknown> CDataFactoryList::CreateNative(const Guid& clsid, Site& site) {
  ComPtr<IKivUnknown> factory;
  if (Failed(ClassRegistry::Process().CreateInstance(clsid, &factory)) || !factory) return nullptr;
  IKivVelmar* root = site.Root();
  GiveRootAs<IKivChannelFactory>(factory.Get(), root);
  GiveRootAs<IKivEventsFactory>(factory.Get(), root);
  GiveRootAs<IKivMediaChannelFactory>(factory.Get(), root);
  GiveRootAs<IKivDataFactoryRootSite>(factory.Get(), root);
  site.ConnectFactory(factory.Get());
  return factory;
}

void CDataFactoryList::CreateManaged(ActiveDataFactory* entry, Site& site) {
  ManagedFactoryBridge* bridge = CurrentManagedFactoryBridge();
  if (!bridge) return;
  std::vector<uint8_t> state;
  const auto name = StorageNameOf(entry->record);
  const bool stored = name && site.ReadManagedState(*name, &state);
  ManagedFactoryBridge::Made made;
  if (!bridge->Create(entry->record.typeName, site.Root(), stored ? &state : nullptr, site.ToolListener(), entry,
                      &made)) {
    entry->factory = nullptr;
    entry->node = nullptr;
    return;
  }
  // A state that didn't load leaves the tool fresh, and the file must learn it.
  if (made.stateRejected) site.ManagedStateRejected();
}

KivResult CDataFactoryList::Apply(const DataFactoryRecords& wanted, Site& site) {
  const DataFactoryRecords before = ActiveRecords();

  // 1. Everything running moves to the working set; the nodes leave the tree.
  WorkingSet working{std::exchange(active_, {})};
  for (const auto& entry : working.entries) {
    if (entry.node) site.RemoveChildNode(entry.node.Get());
  }

  // 2. The wanted list, in order.
  const DataFactoryBranding& branding = CurrentDataFactoryBranding();
  for (const auto& record : wanted) {
    if (!branding.IsAllowed(record) || IsActive(record)) continue;
    std::optional<ActiveDataFactory> entry = working.Take(record);
    if (!entry) {
      EnsureStorageName(record);  // a managed tool loads its state from it
      ActiveDataFactory made{record, nullptr, nullptr};
      if (record.kind == DataFactoryKind::kNative) {
        made.factory = CreateNative(record.clsid, site);
      } else {
        CreateManaged(&made, site);
      }
      if (made.factory) entry = std::move(made);
    }
    EnsureStorageName(record);
    if (entry) active_.push_back(std::move(*entry));
  }

  // 3. The list and each factory's storage in the settings file.
  KivResult result = S_OK;
  if (DataFactoryListStorage* storage = site.Storage()) {
    if (Failed(storage->Store(*this))) result = E_FAIL;
  }

  // 4. What is left in the working set goes.
  for (auto& entry : working.entries) Release(entry, site);
  working.entries.clear();

  // 5, 6. Dirty, the tree and the tasks.
  if (ActiveRecords() != before) site.MarkDirty();
  for (const auto& entry : active_) {
    if (entry.node) site.AddChildNode(entry.node.Get());
  }
  site.ActiveFactoriesChanged(active_);
  return result;
}

void CDataFactoryList::Release(ActiveDataFactory& entry, Site& site) {
  SetOpenStorage(entry.record, nullptr);  // a new instance of it loads again
  if (entry.record.kind == DataFactoryKind::kManaged && entry.factory) {
    if (ManagedFactoryBridge* bridge = CurrentManagedFactoryBridge()) bridge->Detach(entry.factory.Get());
  }
  if (entry.factory) site.DisconnectFactory(entry.factory.Get());
  if (entry.node) site.RemoveChildNode(entry.node.Get());
  entry.node = nullptr;
  entry.factory = nullptr;
}

void CDataFactoryList::Drop(const DataFactoryRecord& record, Site& site) {
  auto it = std::find_if(active_.begin(), active_.end(), [&](const auto& e) { return e.record.SameFactory(record); });
  if (it == active_.end()) return;
  ActiveDataFactory gone = std::move(*it);
  active_.erase(it);
  if (DataFactoryListStorage* storage = site.Storage()) (void)storage->Store(*this);
  Release(gone, site);
  site.ActiveFactoriesChanged(active_);
}

void CDataFactoryList::ReleaseAll(Site& site) {
  auto all = std::exchange(active_, {});
  for (auto& entry : all) Release(entry, site);
}

}  // namespace velmar
