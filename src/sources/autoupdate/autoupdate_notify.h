// CAutoupdateNotifyStateMachine: the folder watch on the task's thread. Each
// file taken up arrives here as a completed notify job and changes the
// task's selections:
//  - mode 1: the file becomes a new selection, with its own navigator, lap
//    finder and the next free colour of the root's colour table;
//  - mode 2: the file replaces the outing of the selection the watch
//    follows (the same path again: its data is read afresh); with none
//    there, the first file makes one and the watch follows it from then on.
// Each file taken up raises the task's OnWatchTookFile. A file that can't be
// opened as an outing is dropped without a word.
//
// Client thread only. Once its last client goes it is `closed`: a notify job
// still on its way finds nobody to tell.
#pragma once

#include <string>

#include "jobs/state_machine.h"
#include "tasks/task.h"
#include "velmar/outing_factory.h"

namespace velmar {

class CAutoupdateNotifyStateMachine final : public CStateMachineEx {
 public:
  // `task` must outlive the machine's clients.
  explicit CAutoupdateNotifyStateMachine(CTask* task) : task_(task) {}

  // Makes the outing factory and reads its type table.
  [[nodiscard]] KivResult Init();

  void JobCompleted(CJobItem* job) override;
  void OnLastClientRelease() override;

  // What a file taken up does to the task (above).
  void OnNewFile(const std::u16string& name);

 private:
  ~CAutoupdateNotifyStateMachine() override = default;

  // The outing on `path`, through the type table's row for its extension;
  // null when there is no row or the factory refuses.
  ComPtr<IKivOuting> OpenFile(const std::u16string& path);
  // True when a selection was added.
  bool AddSelection(const std::u16string& path);
  void ReplaceOuting(const std::u16string& path, int32_t index);
  void SelectDefaultRegion(IKivDataSelection* selection);
  void FollowNewest(const std::u16string& folder, const std::u16string& path);

  CTask* task_;
  ComPtr<IKivNewOutingFactory> factory_;
  OutingTypeList types_;
  bool closed_ = false;
};

// A new object of one of the regions classes (navigator, finders): from
// the class registry, else built in.
[[nodiscard]] KivResult MakeRegionsObject(const Guid& clsid, ComPtr<IKivUnknown>* out);

}  // namespace velmar
