#include "core/data_factory_store.h"

#include <algorithm>
#include <set>

#include "core/managed_factory_bridge.h"
#include "core/stream_values.h"
#include "velmar/persist.h"

namespace velmar {

// Longest saved state of a managed tool that is read back.
inline constexpr uint64_t kMaxToolStateBytes = 64u << 20;

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

bool CDataFactoryStore::HasElement(const std::u16string& name) const {
  std::vector<StatStg> elements;
  if (Failed(storage_->EnumElements(&elements))) return false;
  return std::any_of(elements.begin(), elements.end(), [&](const StatStg& e) { return e.name == name; });
}

// A managed tool's stream, or a native factory's sub-storage. A native
// factory that persists is given it once: Load when the file has it, else
// InitNew on a new one; it stays open while the factory runs.
KivResult CDataFactoryStore::GiveStorage(CDataFactoryList& list, const ActiveDataFactory& entry,
                                         const std::u16string& name) const {
  const bool exists = HasElement(name);
  if (entry.record.kind == DataFactoryKind::kManaged) {
    ComPtr<IKivStream> stream;
    return exists ? S_OK : storage_->CreateStream(name, kNewElement, stream.Put());
  }
  if (list.OpenStorageOf(entry.record)) return S_OK;
  ComPtr<IKivStorage> sub;
  const KivResult opened = exists ? storage_->OpenStorage(name, kElementStream, sub.Put())
                                  : CreateClassStorage(storage_.Get(), name.c_str(), CLSID_SettingsNativeFactory,
                                                       sub.Put());
  if (Failed(opened)) return opened;
  auto persist = QueryAs<IKivPersistStorage>(entry.factory.Get());
  if (!persist) return S_OK;
  if (KivResult r = exists ? persist->Load(sub.Get()) : persist->InitNew(sub.Get()); Failed(r)) return r;
  list.SetOpenStorage(entry.record, std::move(sub));
  return S_OK;
}

KivResult CDataFactoryStore::Store(CDataFactoryList& list) {
  if (!storage_ || !list_) return E_FAIL;
  const DataFactoryListContent content = ContentOf(list);
  if (Failed(WriteDataFactoryList(list_.Get(), content))) return E_FAIL;
  for (const auto& entry : list.Active()) {
    const auto name = list.StorageNameOf(entry.record);
    if (name && Failed(GiveStorage(list, entry, *name))) return E_FAIL;
  }
  return S_OK;
}

void CDataFactoryStore::HandsOff(CDataFactoryList& list) {
  for (const auto& entry : list.Active()) {
    if (auto persist = QueryAs<IKivPersistStorage>(entry.factory.Get())) (void)persist->HandsOffStorage();
  }
  list.ForgetOpenStorages();
}

KivResult CDataFactoryStore::Reopen(CDataFactoryList& list) const {
  for (const auto& entry : list.Active()) {
    const auto name = list.StorageNameOf(entry.record);
    auto persist = QueryAs<IKivPersistStorage>(entry.factory.Get());
    if (!name || !persist || entry.record.kind != DataFactoryKind::kNative) continue;
    ComPtr<IKivStorage> sub;
    if (KivResult r = storage_->OpenStorage(*name, kElementStream, sub.Put()); Failed(r)) return r;
    if (KivResult r = persist->SaveCompleted(sub.Get()); Failed(r)) return r;
    list.SetOpenStorage(entry.record, std::move(sub));
  }
  return S_OK;
}

bool CDataFactoryStore::ReadToolState(const std::u16string& name, std::vector<uint8_t>* bytes) const {
  ComPtr<IKivStream> stream;
  StatStg stat;
  if (!storage_ || Failed(storage_->OpenStream(name, kElementStream, stream.Put())) || Failed(stream->Stat(&stat)) ||
      stat.size == 0 || stat.size > kMaxToolStateBytes)
    return false;
  bytes->resize(static_cast<size_t>(stat.size));
  return Succeeded(ReadStreamBytes(stream.Get(), bytes->data(), static_cast<uint32_t>(bytes->size())));
}

// A tool that saves nothing leaves its stream empty, so that the review
// after load finds it consistent.
KivResult CDataFactoryStore::WriteToolState(const CDataFactoryList& list, const ActiveDataFactory& entry,
                                            IKivStorage* target) const {
  ManagedFactoryBridge* bridge = CurrentManagedFactoryBridge();
  const auto name = list.StorageNameOf(entry.record);
  IKivStorage* into = target ? target : storage_.Get();
  if (!bridge || !name || !into || !entry.factory) return S_OK;
  std::vector<uint8_t> bytes;
  if (!bridge->Save(entry.factory.Get(), &bytes)) bytes.clear();
  if (bytes.size() > kMaxToolStateBytes) return E_FAIL;
  ComPtr<IKivStream> stream;
  if (KivResult r = into->CreateStream(*name, kNewElement, stream.Put()); Failed(r)) return r;
  if (KivResult r = WriteStreamBytes(stream.Get(), bytes.data(), static_cast<uint32_t>(bytes.size())); Failed(r))
    return r;
  return stream->Commit(STGC_DEFAULT);
}

KivResult CDataFactoryStore::SaveFactories(const CDataFactoryList& list, IKivStorage* target) const {
  for (const auto& entry : list.Active()) {
    if (entry.record.kind == DataFactoryKind::kManaged) {
      if (Failed(WriteToolState(list, entry, target))) return E_FAIL;
      continue;
    }
    const auto name = list.StorageNameOf(entry.record);
    if (!name) continue;
    auto persist = QueryAs<IKivPersistStorage>(entry.factory.Get());
    if (!target) {
      if (!persist) continue;
      auto sub = QueryAs<IKivStorage>(list.OpenStorageOf(entry.record));
      if (!sub && Failed(storage_->OpenStorage(*name, kElementStream, sub.Put()))) return E_FAIL;
      if (Failed(persist->Save(sub.Get(), KIV_TRUE)) || Failed(sub->Commit(STGC_DEFAULT))) return E_FAIL;
      continue;
    }
    ComPtr<IKivStorage> sub;
    if (Failed(CreateClassStorage(target, name->c_str(), CLSID_SettingsNativeFactory, sub.Put()))) return E_FAIL;
    KivResult r = S_OK;
    if (persist) {
      r = persist->Save(sub.Get(), KIV_FALSE);
    } else {
      auto old = QueryAs<IKivStorage>(list.OpenStorageOf(entry.record));
      if (old || Succeeded(storage_->OpenStorage(*name, kElementStream, old.Put()))) r = old->CopyTo(sub.Get());
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
