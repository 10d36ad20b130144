#include "core/data_factory_store.h"

#include <set>

#include "velmar/persist.h"

namespace velmar {

void CDataFactoryStore::Attach(ComPtr<IKivStorage> storage, ComPtr<IKivStream> list) {
  storage_ = std::move(storage);
  list_ = std::move(list);
}

void CDataFactoryStore::Release() {
  list_ = nullptr;
  storage_ = nullptr;
}

DataFactoryListContent CDataFactoryStore::ContentOf(const CDataFactoryList& list) {
  DataFactoryListContent content;
  content.nextFactoryId = list.NextFactoryId();
  for (const auto& entry : list.Active()) {
    if (auto name = list.StorageNameOf(entry.record)) content.entries.push_back({entry.record, *name});
  }
  return content;
}

KivResult CDataFactoryStore::EnsureElement(const DataFactoryRecord& record, const std::u16string& name) const {
  std::vector<StatStg> elements;
  if (KivResult r = storage_->EnumElements(&elements); Failed(r)) return r;
  for (const auto& e : elements) {
    if (e.name == name) return S_OK;
  }
  if (record.kind == DataFactoryKind::kManaged) {
    ComPtr<IKivStream> stream;
    return storage_->CreateStream(name, kNewElement, stream.Put());
  }
  ComPtr<IKivStorage> sub;
  return CreateClassStorage(storage_.Get(), name.c_str(), CLSID_SettingsNativeFactory, sub.Put());
}

KivResult CDataFactoryStore::Store(CDataFactoryList& list) {
  if (!storage_ || !list_) return E_FAIL;
  const DataFactoryListContent content = ContentOf(list);
  if (Failed(WriteDataFactoryList(list_.Get(), content))) return E_FAIL;
  for (const auto& entry : content.entries) {
    if (Failed(EnsureElement(entry.record, entry.storageName))) return E_FAIL;
  }
  return S_OK;
}

KivResult CDataFactoryStore::SaveFactories(const CDataFactoryList& list, IKivStorage* target) const {
  for (const auto& entry : list.Active()) {
    if (entry.record.kind != DataFactoryKind::kNative) continue;
    const auto name = list.StorageNameOf(entry.record);
    if (!name) continue;
    auto persist = QueryAs<IKivPersistStorage>(entry.factory.Get());
    if (!target) {
      if (!persist) continue;
      ComPtr<IKivStorage> sub;
      if (Failed(storage_->OpenStorage(*name, kElementStream, sub.Put()))) return E_FAIL;
      if (Failed(persist->Save(sub.Get(), KIV_TRUE)) || Failed(sub->Commit(STGC_DEFAULT))) return E_FAIL;
      continue;
    }
    ComPtr<IKivStorage> sub;
    if (Failed(CreateClassStorage(target, name->c_str(), CLSID_SettingsNativeFactory, sub.Put()))) return E_FAIL;
    KivResult r = S_OK;
    if (persist) {
      r = persist->Save(sub.Get(), KIV_FALSE);
    } else {
      ComPtr<IKivStorage> old;
      if (Succeeded(storage_->OpenStorage(*name, kElementStream, old.Put()))) r = old->CopyTo(sub.Get());
    }
    if (Failed(r) || Failed(sub->Commit(STGC_DEFAULT))) return E_FAIL;
  }
  return S_OK;
}

void CDataFactoryStore::RemoveUnknownElements(const CDataFactoryList& list) const {
  std::set<std::u16string> known;
  for (const auto& [clsid, slot] : list.FactoriesByClass()) known.insert(slot.name);
  for (const auto& [type, slot] : list.FactoriesByName()) known.insert(slot.name);
  std::vector<StatStg> elements;
  if (Failed(storage_->EnumElements(&elements))) return;
  for (const auto& e : elements) {
    const bool fixed = e.type == STGTY_STREAM && (e.name == settings_names::kVersion ||
                                                 e.name == settings_names::kDataFactoryList);
    if (!fixed && !known.contains(e.name)) (void)storage_->DestroyElement(e.name);
  }
}

}  // namespace velmar
