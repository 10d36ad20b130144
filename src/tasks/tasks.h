// CTasks: the root's task list. It holds the tasks in order, keeps a back
// reference to the root (not counted), hands every task the root's list of
// data factories and closes them all when the root closes.
//
// Each task lives in a storage "Task_<n>" of the list's storage, named in
// the "Task List" stream; numbers are never reused. Until the root hands the
// list its storage in the settings file, that storage is in memory.
//
// Client thread only.
#pragma once

#include <string>
#include <vector>

#include "core/persist_storage_impl.h"
#include "core/velmar_parts.h"
#include "velmar/class_registry.h"
#include "velmar/persist.h"
#include "velmar/storage.h"
#include "velmar/tasks.h"

namespace velmar {

// What the list needs of each task it holds.
struct IKivTaskListMember : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{508B83D0-2CD5-4886-9EB8-B4752F76EC2A}");
  virtual KivResult GetTask(IKivTask** task) = 0;
  // The task closes: it raises its closing notification and lets go of its selections.
  virtual KivResult Close() = 0;
  virtual KivResult SetDataFactoryList(const ActiveDataFactories& factories) = 0;
  virtual KivResult FindChannelName(const std::u16string& name, KivBool* found) = 0;
  virtual KivResult FindEventName(const std::u16string& name, KivBool* found) = 0;
};

class CTasks final : public KivObject<IKivTasks, IKivTasksInternal, IPersistStorageKivImpl<CTasks>> {
 public:
  KivResult GetCount(int32_t* count) override;
  KivResult GetItem(int32_t index, IKivTask** task) override;
  KivResult AddTask(IKivTask** task) override;
  KivResult RemoveTask(int32_t index) override;
  KivResult GetEnumerator(IKivUnknown** enumerator) override;
  KivResult CanAddTask(KivBool* can) override;

  KivResult SetRoot(IKivVelmar* root) override;
  KivResult CloseAll() override;
  KivResult SetDataFactoryList(const ActiveDataFactories& factories) override;
  KivResult FindChannelName(const std::u16string& name, KivBool* found) override;
  KivResult FindEventName(const std::u16string& name, KivBool* found) override;

  // IKivPersistStorage: the list in the "Tasks" storage of the settings
  // file. InitNew moves the tasks made before into it. Save to another
  // storage copies everything; the tasks keep writing where they were
  // loaded.
  KivResult GetClassId(Guid* clsid) override;
  KivResult IsDirty() override;
  KivResult Save(IKivStorage* storage, KivBool sameAsLoad) override;
  KivResult SaveCompleted(IKivStorage* storage) override;
  KivResult HandsOffStorage() override;

  IKivVelmar* Root() const { return root_; }
  const ActiveDataFactories& DataFactoryList() const { return factories_; }
  // Appends a task made elsewhere (the task's own loading); it takes the
  // current list of data factories.
  KivResult Append(IKivTaskListMember* task);

 private:
  friend class IPersistStorageKivImpl<CTasks>;
  bool HoldsStorage() const { return attached_; }
  [[nodiscard]] KivResult InitNewStorage(IKivStorage* storage);
  [[nodiscard]] KivResult LoadStorage(IKivStorage* storage);
  bool InRange(int32_t index) const { return index >= 1 && static_cast<size_t>(index) <= tasks_.size(); }
  [[nodiscard]] KivResult EnsureStorage();
  [[nodiscard]] KivResult WriteList();
  KivResult FindName(bool channel, const std::u16string& name, KivBool* found);

  IKivVelmar* root_ = nullptr;
  std::vector<ComPtr<IKivTaskListMember>> tasks_;
  ActiveDataFactories factories_;
  ComPtr<IKivStorage> storage_;
  ComPtr<IKivStream> list_;
  bool attached_ = false;  // storage_ is in the settings file, not in memory
  uint32_t written_ = 0;
  std::vector<std::u16string> names_;
};

// Registers CTasks under CLSID_KivTasks.
[[nodiscard]] KivResult RegisterTasksClasses(ClassRegistry& registry);

}  // namespace velmar
