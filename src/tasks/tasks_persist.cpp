// CTasks: the list's persistence in the settings file.
#include "core/stream_values.h"
#include "tasks/task.h"
#include "tasks/task_properties.h"
#include "tasks/tasks.h"

namespace velmar {

namespace {

constexpr uint32_t kMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
constexpr char16_t kListStream[] = u"Task List";

}  // namespace

KivResult CTasks::GetClassId(Guid* clsid) {
  if (!clsid) return E_POINTER;
  *clsid = CLSID_KivTasks;
  return S_OK;
}

KivResult CTasks::IsDirty() {
  for (const auto& member : tasks_) {
    auto persist = QueryAs<IKivPersistStorage>(member.Get());
    if (persist && persist->IsDirty() == S_OK) return S_OK;
  }
  return S_FALSE;
}

KivResult CTasks::InitNewStorage(IKivStorage* storage) {
  if (storage_) {
    // Tasks made before the file came: their storages move into it.
    list_ = nullptr;
    if (KivResult r = storage_->CopyTo(storage); Failed(r)) return r;
  }
  ComPtr<IKivStream> list;
  if (KivResult r = storage->CreateStream(kListStream, kMode | STGM_CREATE, list.Put()); Failed(r)) return r;
  storage_ = storage;
  list_ = std::move(list);
  attached_ = true;
  return WriteList();
}

KivResult CTasks::LoadStorage(IKivStorage* storage) {
  if (!tasks_.empty()) return E_UNEXPECTED;
  ComPtr<IKivStream> list;
  if (KivResult r = storage->OpenStream(kListStream, kMode, list.Put()); Failed(r)) return r;
  NameListStream names;
  if (KivResult r = ReadNameList(list.Get(), &names); Failed(r)) return r;
  for (const std::u16string& name : names.names) {
    ComPtr<IKivStorage> sub;
    if (KivResult r = storage->OpenStorage(name, kMode, sub.Put()); Failed(r)) return r;
    ComPtr<CTask> task;
    if (KivResult r = CreateTask(&task); Failed(r)) return r;
    task->SetRoot(root_);
    if (KivResult r = task->Load(sub.Get()); Failed(r)) {
      (void)task->Close();
      return r;
    }
    if (KivResult r = Append(task.Get()); Failed(r)) return r;
  }
  storage_ = storage;
  list_ = std::move(list);
  written_ = names.written;
  names_ = std::move(names.names);
  attached_ = true;
  return S_OK;
}

KivResult CTasks::Save(IKivStorage* storage, KivBool sameAsLoad) {
  if (!storage) return E_POINTER;
  if (!storage_) return E_UNEXPECTED;
  // Tasks write every change as it happens: the same file only commits.
  if (FromKivBool(sameAsLoad) && storage == storage_.Get()) return storage_->Commit(STGC_DEFAULT);
  return storage_->CopyTo(storage);
}

// Each task is handed the sub-storage of its own name: after a save to
// another file, every later edit goes there.
KivResult CTasks::SaveCompleted(IKivStorage* storage) {
  if (storage && storage == storage_.Get()) return S_OK;
  if (storage) {
    list_ = nullptr;
    storage_ = storage;
    attached_ = true;
    if (KivResult r = storage_->OpenStream(kListStream, kMode, list_.Put()); Failed(r)) return r;
  }
  for (size_t i = 0; i < tasks_.size() && i < names_.size(); ++i) {
    auto persist = QueryAs<IKivPersistStorage>(tasks_[i].Get());
    if (!persist) continue;
    ComPtr<IKivStorage> sub;
    if (storage) {
      if (KivResult r = storage->OpenStorage(names_[i], kMode, sub.Put()); Failed(r)) return r;
    }
    if (KivResult r = persist->SaveCompleted(sub.Get()); Failed(r)) return r;
  }
  return S_OK;
}

KivResult CTasks::HandsOffStorage() {
  for (const auto& task : tasks_) {
    if (auto persist = QueryAs<IKivPersistStorage>(task.Get())) (void)persist->HandsOffStorage();
  }
  list_ = nullptr;
  storage_ = nullptr;
  attached_ = false;
  return S_OK;
}

}  // namespace velmar
