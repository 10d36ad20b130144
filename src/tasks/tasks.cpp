#include "tasks/tasks.h"

#include "core/stream_values.h"
#include "tasks/task.h"
#include "tasks/task_properties.h"
#include "velmar/enumerator.h"
#include "velmar/text.h"

namespace velmar {

KivResult CTasks::GetCount(int32_t* count) {
  if (!count) return E_POINTER;
  *count = static_cast<int32_t>(tasks_.size());
  return S_OK;
}

KivResult CTasks::GetItem(int32_t index, IKivTask** task) {
  if (!task) return E_POINTER;
  *task = nullptr;
  if (!InRange(index)) return DISP_E_BADINDEX;
  return tasks_[static_cast<size_t>(index - 1)]->GetTask(task);
}

KivResult CTasks::EnsureStorage() {
  if (storage_) return S_OK;
  // Until the root hands the list its storage in the settings file, the
  // tasks keep theirs in memory.
  if (KivResult r = StgCreateMemoryStorage(storage_.Put()); Failed(r)) return r;
  if (KivResult r = storage_->CreateStream(u"Task List", STGM_READWRITE | STGM_SHARE_EXCLUSIVE, list_.Put()); Failed(r))
    return r;
  return WriteList();
}

KivResult CTasks::WriteList() {
  if (!list_) return S_OK;
  NameListStream list{written_, names_};
  return WriteNameList(list_.Get(), list);
}

KivResult CTasks::AddTask(IKivTask** task) {
  if (!task) return E_POINTER;
  *task = nullptr;
  if (KivResult r = EnsureStorage(); Failed(r)) return r;
  ComPtr<CTask> made;
  if (KivResult r = CreateTask(&made); Failed(r)) return r;
  made->SetRoot(root_);
  const std::u16string name = u"Task_" + Utf8ToWide(std::to_string(written_ + 1));
  ComPtr<IKivStorage> storage;
  constexpr uint32_t kMode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_CREATE;
  if (KivResult r = storage_->CreateStorage(name, kMode, storage.Put()); Failed(r)) return r;
  if (KivResult r = WriteClassStg(storage.Get(), CLSID_KivTask); Failed(r)) return r;
  if (KivResult r = made->InitNew(storage.Get()); Failed(r)) {
    (void)storage_->DestroyElement(name);
    return r;
  }
  ++written_;
  names_.push_back(name);
  if (KivResult r = Append(made.Get()); Failed(r)) return r;
  if (KivResult r = WriteList(); Failed(r)) return r;
  return made->GetTask(task);
}

KivResult CTasks::RemoveTask(int32_t index) {
  if (!InRange(index)) return DISP_E_BADINDEX;
  const size_t at = static_cast<size_t>(index - 1);
  ComPtr<IKivTaskListMember> gone = tasks_[at];
  tasks_.erase(tasks_.begin() + static_cast<std::ptrdiff_t>(at));
  (void)gone->Close();
  if (at < names_.size()) {
    const std::u16string name = names_[at];
    names_.erase(names_.begin() + static_cast<std::ptrdiff_t>(at));
    if (storage_) (void)storage_->DestroyElement(name);
  }
  return WriteList();
}

KivResult CTasks::GetEnumerator(IKivUnknown** enumerator) {
  if (!enumerator) return E_POINTER;
  *enumerator = nullptr;
  std::vector<ComPtr<IKivUnknown>> items;
  for (const auto& member : tasks_) {
    ComPtr<IKivTask> task;
    if (Succeeded(member->GetTask(task.Put()))) items.emplace_back(task.Get());
  }
  return KivMakeEnumerator(std::move(items), enumerator);
}

KivResult CTasks::CanAddTask(KivBool* can) {
  if (!can) return E_POINTER;
  *can = KIV_TRUE;
  return S_OK;
}

KivResult CTasks::SetRoot(IKivVelmar* root) {
  root_ = root;
  return S_OK;
}

KivResult CTasks::CloseAll() {
  // Taken out first: a task's closing notification may reach back into the list.
  auto tasks = std::exchange(tasks_, {});
  for (auto& task : tasks) (void)task->Close();
  return S_OK;
}

KivResult CTasks::SetDataFactoryList(const ActiveDataFactories& factories) {
  factories_ = factories;
  const auto tasks = tasks_;
  for (const auto& task : tasks) (void)task->SetDataFactoryList(factories_);
  return S_OK;
}

KivResult CTasks::FindName(bool channel, const std::u16string& name, KivBool* found) {
  if (!found) return E_POINTER;
  *found = KIV_FALSE;
  for (const auto& task : tasks_) {
    KivBool inTask = KIV_FALSE;
    const KivResult r = channel ? task->FindChannelName(name, &inTask) : task->FindEventName(name, &inTask);
    if (Succeeded(r) && FromKivBool(inTask)) {
      *found = KIV_TRUE;
      break;
    }
  }
  return S_OK;
}

KivResult CTasks::FindChannelName(const std::u16string& name, KivBool* found) { return FindName(true, name, found); }

KivResult CTasks::FindEventName(const std::u16string& name, KivBool* found) { return FindName(false, name, found); }

KivResult CTasks::Append(IKivTaskListMember* task) {
  if (!task) return E_POINTER;
  tasks_.emplace_back(task);
  return task->SetDataFactoryList(factories_);
}

KivResult RegisterTasksClasses(ClassRegistry& registry) {
  ClassRegistry::ClassInfo info;
  info.clsid = CLSID_KivTasks;
  info.display_name = u"Tasks";
  info.create = [](IKivUnknown** out) -> KivResult {
    if (!out) return E_POINTER;
    auto tasks = MakeKiv<CTasks>();
    return GiveOut(tasks->PrimaryUnknown(), out);
  };
  return registry.Register(std::move(info));
}

}  // namespace velmar
