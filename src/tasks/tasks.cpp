#include "tasks/tasks.h"

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

KivResult CTasks::AddTask(IKivTask** task) {
  if (!task) return E_POINTER;
  *task = nullptr;
  return E_NOTIMPL;
}

KivResult CTasks::RemoveTask(int32_t index) {
  if (!InRange(index)) return DISP_E_BADINDEX;
  return E_NOTIMPL;
}

KivResult CTasks::GetEnumerator(IKivUnknown** enumerator) {
  if (!enumerator) return E_POINTER;
  *enumerator = nullptr;
  return E_NOTIMPL;
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
