// Tasks and the task list. A task is a working view of the host (a
// worksheet or page): it owns its data selections in display order, says
// which one is active, how new selections pick their first span, whether
// real-time selections follow the live end, and which folder it watches for
// new files. The root holds the ordered task list.
//
// Client thread only. Indexes count from 1; a null out pointer gives
// E_POINTER.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "velmar/data_selection.h"
#include "velmar/guid.h"
#include "velmar/notification_family.h"
#include "velmar/types.h"
#include "velmar/unknown.h"
#include "velmar/variant.h"

namespace velmar {

struct IKivPlaybackController;
struct IKivVelmar;

// What IKivTask::Update changes; flags combine.
inline constexpr uint32_t kTaskRemoveSelections = 1;
inline constexpr uint32_t kTaskAddSelections = 2;
inline constexpr uint32_t kTaskSecondSelection = 4;
inline constexpr uint32_t kTaskName = 8;
inline constexpr uint32_t kTaskDescription = 16;
inline constexpr uint32_t kTaskColourSeed = 32;
inline constexpr uint32_t kTaskWatch = 64;

// Update refusals: the second, active or watch selection would be lost.
inline constexpr KivResult KIV_E_SECOND_SELECTION = static_cast<KivResult>(0x8004F006);
inline constexpr KivResult KIV_E_ACTIVE_SELECTION = static_cast<KivResult>(0x8004F007);
inline constexpr KivResult KIV_E_WATCH_SELECTION = static_cast<KivResult>(0x8004F008);

// The task's storage class and the class its selections' storages carry.
inline constexpr Guid CLSID_KivTask = Guid::Literal("{846F3F6A-DA0A-4DB4-8E41-500798DD7B6C}");
inline constexpr Guid CLSID_KivDataSelection = Guid::Literal("{E4602633-8F0F-4E66-9BC5-5B70BC711211}");

using DataSelectionList = std::vector<ComPtr<IKivDataSelection4>>;

struct IKivTask : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{EA41938C-03C3-4F1D-AF1F-BE005E5A8A70}");
  // E_UNEXPECTED when none.
  virtual KivResult GetActiveSelection(IKivDataSelection4** selection) = 0;
  // DISP_E_BADINDEX out of range; the active one again changes nothing.
  virtual KivResult SetActiveSelection(int32_t index) = 0;
  // E_FAIL without a root.
  virtual KivResult GetRoot(IKivVelmar** root) = 0;
  // E_UNEXPECTED when empty.
  virtual KivResult GetName(std::u16string* name) = 0;
  virtual KivResult GetColourSeed(uint32_t* seed) = 0;
  virtual KivResult GetFollowLive(KivBool* follow) = 0;
  // S_FALSE when unchanged.
  virtual KivResult SetFollowLive(KivBool follow) = 0;
  // 1: each new file a new selection; 2: the newest file into one selection.
  virtual KivResult GetWatchMode(uint32_t* mode) = 0;
  virtual KivResult GetWatchEnabled(KivBool* enabled) = 0;
  // E_UNEXPECTED when empty.
  virtual KivResult GetWatchFolder(std::u16string* folder) = 0;
  // E_UNEXPECTED when none.
  virtual KivResult GetWatchSelection(IKivDataSelection4** selection) = 0;
  virtual KivResult GetCurrentTime(KivTime* time) = 0;
  // S_FALSE when unchanged.
  virtual KivResult SetCurrentTime(KivTime time) = 0;
  // E_UNEXPECTED when empty.
  virtual KivResult GetDescription(std::u16string* description) = 0;
  virtual KivResult GetSelections(IKivDataSelections** selections) = 0;
  // E_UNEXPECTED when none.
  virtual KivResult GetSecondSelection(int32_t* index) = 0;
  // Changes what `flags` names (kTask...), all checked before anything
  // changes. `indexes`: an array of indexes to remove. The selections added
  // come back in `added`.
  virtual KivResult Update(uint32_t flags, const Variant* indexes, uint32_t addCount, int32_t newSecond,
                           const std::u16string& newName, const std::u16string& newDescription,
                           uint32_t newColourSeed, const std::u16string& watchFolder, int32_t watchSelection,
                           KivBool watchEnabled, uint32_t watchMode, DataSelectionList* added) = 0;
  // Always true.
  virtual KivResult CanAddSelection(KivBool* can) = 0;
};

struct IKivTask2 : IKivTask {
  static constexpr Guid iid = Guid::Literal("{D8D003D9-FD97-460F-ADFA-1945834AA90C}");
  using Parent = IKivTask;
  // 1 or 3: the finder's default region; 2: the last complete; 4: the whole span.
  virtual KivResult GetDefaultRegionMode(uint32_t* mode) = 0;
  virtual KivResult SetDefaultRegionMode(uint32_t mode) = 0;
};

struct IKivTask3 : IKivTask2 {
  static constexpr Guid iid = Guid::Literal("{C8173509-866A-4D08-A36A-873C5CDCE40A}");
  using Parent = IKivTask2;
  // The reasons for a refresh gathered since the last call; reading clears them.
  virtual KivResult GetRefreshList(std::vector<uint32_t>* reasons) = 0;
  virtual KivResult GetPlaybackController(IKivPlaybackController** controller) = 0;
};

struct IKivTask4 : IKivTask3 {
  static constexpr Guid iid = Guid::Literal("{EA32D156-0A68-4D8A-90FC-74AC45BFEFBC}");
  using Parent = IKivTask3;
  // The finder class new selections get (the lap finder's by default).
  virtual KivResult GetDefaultFinderClass(Guid* clsid) = 0;
  virtual KivResult SetDefaultFinderClass(const Guid& clsid) = 0;
};

struct IKivTask5 : IKivTask4 {
  static constexpr Guid iid = Guid::Literal("{292B7118-79BA-400E-A821-C5498E29BE95}");
  using Parent = IKivTask4;
  virtual KivResult GetWatchFollows(KivBool* follows) = 0;
  virtual KivResult SetWatchFollows(KivBool follows) = 0;
};

// Named objects a client hangs on a task; stored with it.
struct IKivTaskExtensionFactory : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{1B050B34-2783-43D9-99CB-923FF7998D4E}");
  virtual KivResult GetExtensionNames(std::vector<std::u16string>* names) = 0;
  // E_INVALIDARG when not found.
  virtual KivResult GetExtension(const std::u16string& name, IKivUnknown** extension) = 0;
  // E_INVALIDARG for an object that cannot be stored.
  virtual KivResult AddExtension(const std::u16string& name, IKivUnknown* extension) = 0;
  virtual KivResult RemoveExtension(const std::u16string& name) = 0;
};

#define KIV_TASK_NOTIFICATIONS_1(X)                                                                   \
  X(OnActiveSelectionChanged, (IKivTask* task, int32_t previous, int32_t current), (task, previous, current)) \
  X(OnSecondSelectionChanged, (IKivTask* task, IKivDataSelection* selection), (task, selection))      \
  X(OnSelectionsChanged, (IKivTask* task), (task))                                                    \
  X(OnNameChanged, (IKivTask* task), (task))                                                          \
  X(OnColourSeedChanged, (IKivTask* task), (task))                                                    \
  X(OnDescriptionChanged, (IKivTask* task), (task))                                                   \
  X(OnWatchChanged, (IKivTask* task), (task))                                                         \
  X(OnFollowLiveChanged, (IKivTask* task), (task))                                                    \
  X(OnClosing, (IKivTask* task), (task))
#define KIV_TASK_NOTIFICATIONS_2(X)                                                                   \
  X(OnCurrentTimeChanged, (IKivTask* task, KivTime time), (task, time))                               \
  X(OnDefaultRegionModeChanged, (IKivTask* task), (task))
#define KIV_TASK_NOTIFICATIONS_3(X)                                                                   \
  X(OnRefreshNeeded, (IKivTask* task), (task))                                                        \
  X(OnWatchTookFile, (IKivTask* task, const std::u16string& path), (task, path))
#define KIV_TASK_NOTIFICATIONS_4(X) X(OnDefaultFinderClassChanged, (IKivTask* task), (task))
#define KIV_TASK_NOTIFICATIONS_5(X) X(OnWatchFollowsChanged, (IKivTask* task), (task))

KIV_NOTIFICATION_FAMILY(TaskNotifications, "{8DC7F82F-0323-4324-AC08-89C9125A0967}", KIV_TASK_NOTIFICATIONS_1)
KIV_NOTIFICATION_GENERATION(TaskNotifications, 2, , "{D1981E0A-83E0-40B5-BB82-6F097C19FDA6}", KIV_TASK_NOTIFICATIONS_2)
KIV_NOTIFICATION_GENERATION(TaskNotifications, 3, 2, "{22E84EC0-9F3D-432A-815E-31F0C8434A42}", KIV_TASK_NOTIFICATIONS_3)
KIV_NOTIFICATION_GENERATION(TaskNotifications, 4, 3, "{61EE53D4-E0CE-4084-A25B-7F9685E5E96A}", KIV_TASK_NOTIFICATIONS_4)
KIV_NOTIFICATION_GENERATION(TaskNotifications, 5, 4, "{B673B4AF-A3CC-4830-880B-87FB6C5FBE11}", KIV_TASK_NOTIFICATIONS_5)

// Indexes count from 1; DISP_E_BADINDEX out of range.
struct IKivTasks : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{5D40AB2C-C766-42C6-BF5D-AB0AA6856E5D}");
  virtual KivResult GetCount(int32_t* count) = 0;
  virtual KivResult GetItem(int32_t index, IKivTask** task) = 0;
  virtual KivResult AddTask(IKivTask** task) = 0;
  virtual KivResult RemoveTask(int32_t index) = 0;
  // An enumerator over the tasks, in list order.
  virtual KivResult GetEnumerator(IKivUnknown** enumerator) = 0;
  // Always true.
  virtual KivResult CanAddTask(KivBool* can) = 0;
};

}  // namespace velmar
