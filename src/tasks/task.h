// CTask: a working view of the host (a worksheet or page). It owns its data
// selections in display order, says which is active and which is second,
// how a new selection picks its first span and with which finder class,
// whether real-time selections follow the live end, which folder it
// watches, and carries named extensions of its clients.
//
// Update checks everything before it changes anything: a refused call
// leaves the task as it was. Every change is written to the task's storage
// as it happens; storage names of selections and extensions are numbered
// by counters that only grow.
//
// Client thread only.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "core/notifications_impl.h"
#include "tasks/data_selection.h"
#include "tasks/playback_controller.h"
#include "tasks/task_properties.h"
#include "tasks/task_watch.h"
#include "tasks/tasks.h"

namespace velmar {

class CTask final
    : public KivObject<IKivTask5, IKivTaskExtensionFactory, IKivPersistStorage, IKivTaskListMember,
                       IKivNotificationsImpl<CTask, IKivTaskNotifications5>>,
      private ISelectionOwner {
 public:
  CTask();

  // The list that holds the task, for its root; null when it lets go.
  void SetRoot(IKivVelmar* root) { root_ = root; }

  // IKivTask..5
  KivResult GetActiveSelection(IKivDataSelection4** selection) override;
  KivResult SetActiveSelection(int32_t index) override;
  KivResult GetRoot(IKivVelmar** root) override;
  KivResult GetName(std::u16string* name) override;
  KivResult GetColourSeed(uint32_t* seed) override;
  KivResult GetFollowLive(KivBool* follow) override;
  KivResult SetFollowLive(KivBool follow) override;
  KivResult GetWatchMode(uint32_t* mode) override;
  KivResult GetWatchEnabled(KivBool* enabled) override;
  KivResult GetWatchFolder(std::u16string* folder) override;
  KivResult GetWatchSelection(IKivDataSelection4** selection) override;
  KivResult GetCurrentTime(KivTime* time) override;
  KivResult SetCurrentTime(KivTime time) override;
  KivResult GetDescription(std::u16string* description) override;
  KivResult GetSelections(IKivDataSelections** selections) override;
  KivResult GetSecondSelection(int32_t* index) override;
  KivResult Update(uint32_t flags, const Variant* indexes, uint32_t addCount, int32_t newSecond,
                   const std::u16string& newName, const std::u16string& newDescription, uint32_t newColourSeed,
                   const std::u16string& watchFolder, int32_t watchSelection, KivBool watchEnabled,
                   uint32_t watchMode, DataSelectionList* added) override;
  KivResult CanAddSelection(KivBool* can) override;
  KivResult GetDefaultRegionMode(uint32_t* mode) override;
  KivResult SetDefaultRegionMode(uint32_t mode) override;
  KivResult GetRefreshList(std::vector<uint32_t>* reasons) override;
  KivResult GetPlaybackController(IKivPlaybackController** controller) override;
  KivResult GetDefaultFinderClass(Guid* clsid) override;
  KivResult SetDefaultFinderClass(const Guid& clsid) override;
  KivResult GetWatchFollows(KivBool* follows) override;
  KivResult SetWatchFollows(KivBool follows) override;

  // IKivTaskExtensionFactory
  KivResult GetExtensionNames(std::vector<std::u16string>* names) override;
  KivResult GetExtension(const std::u16string& name, IKivUnknown** extension) override;
  KivResult AddExtension(const std::u16string& name, IKivUnknown* extension) override;
  KivResult RemoveExtension(const std::u16string& name) override;

  // IKivPersistStorage
  KivResult GetClassId(Guid* clsid) override;
  KivResult IsDirty() override { return dirty_ ? S_OK : S_FALSE; }
  KivResult InitNew(IKivStorage* storage) override;
  KivResult Load(IKivStorage* storage) override;
  KivResult Save(IKivStorage* storage, KivBool sameAsLoad) override;
  KivResult SaveCompleted(IKivStorage* storage) override;
  KivResult HandsOffStorage() override;
  // Lets go of every stream and storage held in the file.
  void ReleaseParts();

  // IKivTaskListMember
  KivResult GetTask(IKivTask** task) override;
  KivResult Close() override;
  KivResult SetDataFactoryList(const ActiveDataFactories& factories) override;
  KivResult FindChannelName(const std::u16string& name, KivBool* found) override;
  KivResult FindEventName(const std::u16string& name, KivBool* found) override;

  // Raised by the task's selections and, for the watch, by the folder watch.
  void RequestRefresh(uint32_t reason) override;
  size_t selection_count() const { return selections_.size(); }
  // The running folder watch; null when none runs.
  const ITaskWatch* watch() const { return watch_.get(); }
  // The folder watch took up `path` (its selections are already changed).
  void WatchTookFile(const std::u16string& path) { Fire(&IKivTaskNotifications3::OnWatchTookFile, path); }
  const std::vector<std::u16string>& selection_storage_names() const { return selectionNames_.names; }

 private:
  struct Extension {
    ComPtr<IKivUnknown> object;
    std::u16string storageName;
    Guid clsid;
  };

  ~CTask() override;

  // ISelectionOwner
  IKivTask* Task() override { return this; }
  IKivVelmar* Root() override { return root_; }
  void SelectionDirty() override { MarkDirty(); }
  const ActiveDataFactories& DataFactories() override { return factories_; }

  TaskProperties Properties() const;
  [[nodiscard]] KivResult WriteHeader();
  void MarkDirty() { dirty_ = true; }
  [[nodiscard]] KivResult CheckUpdate(uint32_t flags, const Variant* indexes, int32_t newSecond,
                                      int32_t watchSelection, DataSelectionList* added,
                                      std::vector<size_t>* removed) const;
  [[nodiscard]] KivResult AddSelections(uint32_t count, std::vector<ComPtr<CDataSelection>>* made);
  [[nodiscard]] KivResult MakeFinder(const Guid& clsid, IKivOuting* outing, ComPtr<IKivTimeRegionFinder>* out);
  void RemoveSelections(const std::vector<size_t>& removed);
  // Lets go of every selection and extension; no event (the destructor's part of Close).
  void CloseSelections();
  [[nodiscard]] KivResult WriteSelectionList();
  [[nodiscard]] KivResult WriteExtensionList();
  [[nodiscard]] KivResult OpenParts(IKivStorage* storage, bool create);
  [[nodiscard]] KivResult LoadSelections();
  [[nodiscard]] KivResult LoadExtensions();
  void ReadRegistryDefault();
  // Stops a running folder watch, then starts one on the folder set, if any.
  void StartWatch();
  void StopWatch() { watch_.reset(); }

  template <class Method, class... Args>
  void Fire(Method method, Args... args) {
    ComPtr<IKivUnknown> keep(PrimaryUnknown());
    FireNotification(method, static_cast<IKivTask*>(this), args...);
  }

  IKivVelmar* root_ = nullptr;
  // Made on first demand; it holds the task until the task closes.
  ComPtr<CPlaybackController> playback_;
  // The folder watch while it runs; it stops before any watch setting changes.
  std::unique_ptr<ITaskWatch> watch_;
  std::u16string name_, description_, watchFolder_;
  std::vector<ComPtr<CDataSelection>> selections_;
  int32_t activeSelection_ = -1, secondSelection_ = -1, watchSelection_ = -1;
  bool watchEnabled_ = false, watchFollows_ = false, followLive_ = false;
  uint32_t watchMode_ = 1, colourSeed_ = 255, defaultRegionMode_ = 3;
  uint32_t hostRegionDefault_ = 0;  // the registry's "Default" for new finders; 0 when not set
  KivTime currentTime_ = 0;
  Guid defaultFinderClass_;
  std::map<std::u16string, Extension> extensions_;
  ActiveDataFactories factories_;  // the root's, which join every selection
  uint32_t refreshFlags_ = 0;
  std::vector<uint32_t> refreshList_;
  bool dirty_ = true, closed_ = false;
  ComPtr<IKivStorage> storage_, selectionStorage_, extensionStorage_;
  ComPtr<IKivStream> version_, properties_, selectionList_, extensionList_;
  NameListStream selectionNames_, extensionNames_;
};

[[nodiscard]] KivResult CreateTask(ComPtr<CTask>* out);

}  // namespace velmar
