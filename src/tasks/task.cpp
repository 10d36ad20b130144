#include "tasks/task.h"

#include <algorithm>
#include <new>

#include "regions/regions_classes.h"
#include "velmar/class_registry.h"
#include "velmar/classes.h"
#include "velmar/enumerator.h"
#include "velmar/text.h"

namespace velmar {
namespace {

// The task's selections as a live view; it keeps the task alive.
class CDataSelections final : public KivObject<IKivDataSelections> {
 public:
  using List = std::vector<ComPtr<CDataSelection>>;
  CDataSelections(ComPtr<IKivUnknown> task, const List* list) : task_(std::move(task)), list_(list) {}
  KivResult GetCount(int32_t* count) override {
    if (!count) return E_POINTER;
    *count = static_cast<int32_t>(list_->size());
    return S_OK;
  }
  KivResult GetItem(int32_t index, IKivDataSelection4** selection) override {
    if (!selection) return E_POINTER;
    *selection = nullptr;
    if (index < 1 || static_cast<size_t>(index) > list_->size()) return DISP_E_BADINDEX;
    return GiveOut(static_cast<IKivDataSelection4*>((*list_)[static_cast<size_t>(index) - 1].Get()), selection);
  }
  KivResult GetEnumerator(IKivUnknown** enumerator) override {
    std::vector<ComPtr<IKivUnknown>> items;
    for (const auto& selection : *list_) items.emplace_back(static_cast<IKivDataSelection4*>(selection.Get()));
    return KivMakeEnumerator(std::move(items), enumerator);
  }

 private:
  ComPtr<IKivUnknown> task_;
  const List* list_;
};

KivResult TextOut(const std::u16string& text, std::u16string* out) {
  if (!out) return E_POINTER;
  if (text.empty()) return E_UNEXPECTED;
  *out = text;
  return S_OK;
}

// An index from 1 as the 0-based index it becomes once `removed` (0-based,
// ascending) are gone; -1 when it is among them or was none.
int32_t AfterRemoval(int32_t index, const std::vector<size_t>& removed) {
  if (index < 0) return -1;
  if (std::binary_search(removed.begin(), removed.end(), static_cast<size_t>(index))) return -1;
  const auto below = std::lower_bound(removed.begin(), removed.end(), static_cast<size_t>(index)) - removed.begin();
  return index - static_cast<int32_t>(below);
}

}  // namespace

CTask::CTask() : defaultFinderClass_(CLSID_KivLapFinder) {}

CTask::~CTask() {
  StopWatch();
  CloseSelections();
}

KivResult CreateTask(ComPtr<CTask>* out) {
  if (!out) return E_POINTER;
  try {
    *out = MakeKiv<CTask>();
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

// Reads.

KivResult CTask::GetActiveSelection(IKivDataSelection4** selection) {
  if (!selection) return E_POINTER;
  *selection = nullptr;
  if (activeSelection_ < 0 || static_cast<size_t>(activeSelection_) >= selections_.size()) return E_UNEXPECTED;
  return GiveOut(static_cast<IKivDataSelection4*>(selections_[static_cast<size_t>(activeSelection_)].Get()),
                 selection);
}

KivResult CTask::GetRoot(IKivVelmar** root) {
  if (!root) return E_POINTER;
  *root = nullptr;
  if (!root_) return E_FAIL;
  return GiveOut(root_, root);
}

KivResult CTask::GetName(std::u16string* name) { return TextOut(name_, name); }
KivResult CTask::GetDescription(std::u16string* description) { return TextOut(description_, description); }
KivResult CTask::GetWatchFolder(std::u16string* folder) { return TextOut(watchFolder_, folder); }

KivResult CTask::GetColourSeed(uint32_t* seed) {
  if (!seed) return E_POINTER;
  *seed = colourSeed_;
  return S_OK;
}

KivResult CTask::GetFollowLive(KivBool* follow) {
  if (!follow) return E_POINTER;
  *follow = ToKivBool(followLive_);
  return S_OK;
}

KivResult CTask::GetWatchMode(uint32_t* mode) {
  if (!mode) return E_POINTER;
  *mode = watchMode_;
  return watchMode_ == 0 ? E_UNEXPECTED : S_OK;
}

KivResult CTask::GetWatchEnabled(KivBool* enabled) {
  if (!enabled) return E_POINTER;
  *enabled = ToKivBool(watchEnabled_);
  return S_OK;
}

KivResult CTask::GetWatchSelection(IKivDataSelection4** selection) {
  if (!selection) return E_POINTER;
  *selection = nullptr;
  if (watchSelection_ < 0 || static_cast<size_t>(watchSelection_) >= selections_.size()) return E_UNEXPECTED;
  return GiveOut(static_cast<IKivDataSelection4*>(selections_[static_cast<size_t>(watchSelection_)].Get()),
                 selection);
}

KivResult CTask::GetCurrentTime(KivTime* time) {
  if (!time) return E_POINTER;
  *time = currentTime_;
  return S_OK;
}

KivResult CTask::GetSelections(IKivDataSelections** selections) {
  if (!selections) return E_POINTER;
  // The view keeps the task alive; the task keeps no view, so no cycle forms.
  auto view = MakeKiv<CDataSelections>(ComPtr<IKivUnknown>(PrimaryUnknown()), &selections_);
  return GiveOut(static_cast<IKivDataSelections*>(view.Get()), selections);
}

KivResult CTask::GetSecondSelection(int32_t* index) {
  if (!index) return E_POINTER;
  *index = secondSelection_ + 1;
  return secondSelection_ < 0 ? E_UNEXPECTED : S_OK;
}

KivResult CTask::CanAddSelection(KivBool* can) {
  if (!can) return E_POINTER;
  *can = KIV_TRUE;
  return S_OK;
}

KivResult CTask::GetDefaultRegionMode(uint32_t* mode) {
  if (!mode) return E_POINTER;
  *mode = defaultRegionMode_;
  return S_OK;
}

KivResult CTask::GetDefaultFinderClass(Guid* clsid) {
  if (!clsid) return E_POINTER;
  *clsid = defaultFinderClass_;
  return S_OK;
}

KivResult CTask::GetWatchFollows(KivBool* follows) {
  if (!follows) return E_POINTER;
  *follows = ToKivBool(watchFollows_);
  return S_OK;
}

KivResult CTask::GetPlaybackController(IKivPlaybackController** controller) {
  if (!controller) return E_POINTER;
  *controller = nullptr;
  if (!playback_) {
    playback_ = MakeKiv<CPlaybackController>();
    playback_->Attach(this);
  }
  return GiveOut(static_cast<IKivPlaybackController*>(playback_.Get()), controller);
}

KivResult CTask::GetTask(IKivTask** task) {
  if (!task) return E_POINTER;
  return GiveOut(static_cast<IKivTask*>(this), task);
}

KivResult CTask::GetClassId(Guid* clsid) {
  if (!clsid) return E_POINTER;
  *clsid = CLSID_KivTask;
  return S_OK;
}

// Setters.

KivResult CTask::SetActiveSelection(int32_t index) {
  if (index < 1 || static_cast<size_t>(index) > selections_.size()) return DISP_E_BADINDEX;
  if (index - 1 == activeSelection_) return S_OK;
  const int32_t previous = activeSelection_;
  activeSelection_ = index - 1;
  const KivResult written = WriteHeader();
  MarkDirty();
  Fire(&IKivTaskNotifications::OnActiveSelectionChanged, previous + 1, index);
  return Failed(written) ? E_FAIL : S_OK;
}

KivResult CTask::SetFollowLive(KivBool follow) {
  const bool value = follow == KIV_TRUE;
  if (value == followLive_) return S_FALSE;
  followLive_ = value;
  for (const auto& selection : selections_) {
    ComPtr<IKivOuting> outing;
    if (selection->GetOuting(outing.Put()) != S_OK) continue;
    if (auto live = QueryAs<IKivRealtimeOuting>(outing.Get())) (void)live->SetHistoryMode(ToKivBool(!value));
  }
  const KivResult written = WriteHeader();
  MarkDirty();
  Fire(&IKivTaskNotifications::OnFollowLiveChanged);
  return Failed(written) ? E_FAIL : S_OK;
}

KivResult CTask::SetCurrentTime(KivTime time) {
  if (time == currentTime_) return S_FALSE;
  currentTime_ = time;
  const KivResult written = WriteHeader();
  Fire(&IKivTaskNotifications2::OnCurrentTimeChanged, time);
  return Failed(written) ? E_FAIL : S_OK;
}

KivResult CTask::SetDefaultRegionMode(uint32_t mode) {
  if (mode == defaultRegionMode_) return S_FALSE;
  defaultRegionMode_ = mode;
  const KivResult written = WriteHeader();
  Fire(&IKivTaskNotifications2::OnDefaultRegionModeChanged);
  MarkDirty();
  return Failed(written) ? E_FAIL : S_OK;
}

KivResult CTask::SetDefaultFinderClass(const Guid& clsid) {
  defaultFinderClass_ = clsid;
  const KivResult written = WriteHeader();
  for (const auto& selection : selections_) {
    ComPtr<IKivTimeRegionNavigator> navigator;
    ComPtr<IKivOuting> outing;
    ComPtr<IKivTimeRegionFinder> finder;
    if (Failed(selection->GetNavigator(navigator.Put()))) continue;
    (void)selection->GetOuting(outing.Put());
    if (Succeeded(MakeFinder(clsid, outing.Get(), &finder))) (void)navigator->SetFinder(finder.Get());
  }
  MarkDirty();
  Fire(&IKivTaskNotifications4::OnDefaultFinderClassChanged);
  return Failed(written) ? E_FAIL : S_OK;
}

KivResult CTask::SetWatchFollows(KivBool follows) {
  watchFollows_ = follows == KIV_TRUE;
  const KivResult written = WriteHeader();
  MarkDirty();
  if (watchFollows_ && watchEnabled_) StartWatch();
  Fire(&IKivTaskNotifications5::OnWatchFollowsChanged);
  return Failed(written) ? E_FAIL : S_OK;
}

// Refresh.

void CTask::RequestRefresh(uint32_t reason) {
  const uint32_t before = refreshFlags_;
  refreshFlags_ |= reason;
  if (before != 0) return;
  switch (reason) {
    case 1:
    case kRefreshSelections:
      Fire(&IKivTaskNotifications3::OnRefreshNeeded);
      break;
    case 2:
    case kRefreshOutingEvent: {
      // Only when the list, rebuilt, reads as it did.
      std::vector<uint32_t> rebuilt;
      for (uint32_t bit = 1; bit <= kRefreshSelections; bit <<= 1)
        if (refreshFlags_ & bit) rebuilt.push_back(bit);
      const bool same = rebuilt == refreshList_;
      refreshList_ = std::move(rebuilt);
      if (same) Fire(&IKivTaskNotifications3::OnRefreshNeeded);
      break;
    }
    default:
      refreshFlags_ = 0;
      break;
  }
}

KivResult CTask::GetRefreshList(std::vector<uint32_t>* reasons) {
  if (!reasons) return E_POINTER;
  refreshList_.clear();
  for (uint32_t bit = 1; bit <= kRefreshSelections; bit <<= 1)
    if (refreshFlags_ & bit) refreshList_.push_back(bit);
  *reasons = refreshList_;
  refreshFlags_ = 0;
  return S_OK;
}

// Update.

KivResult CTask::CheckUpdate(uint32_t flags, const Variant* indexes, int32_t newSecond, int32_t watchSelection,
                             DataSelectionList* added, std::vector<size_t>* removed) const {
  if (flags & kTaskRemoveSelections) {
    if (!indexes) return E_POINTER;
    const std::vector<Variant>* list = indexes->AsArray();
    if (!list) return E_INVALIDARG;
    for (const Variant& v : *list) {
      const std::optional<double> index = v.ToDouble();
      if (!index || v.AsArray() || *index < 1 || *index > static_cast<double>(selections_.size()))
        return E_INVALIDARG;
      removed->push_back(static_cast<size_t>(*index) - 1);
    }
    std::sort(removed->begin(), removed->end());
    removed->erase(std::unique(removed->begin(), removed->end()), removed->end());
  }
  const size_t remaining = selections_.size() - removed->size();
  if (AfterRemoval(activeSelection_, *removed) < 0 && activeSelection_ >= 0 && remaining > 0)
    return KIV_E_ACTIVE_SELECTION;
  if ((flags & kTaskSecondSelection) && newSecond >= 1 && AfterRemoval(newSecond - 1, *removed) < 0)
    return KIV_E_SECOND_SELECTION;
  if ((flags & kTaskWatch) && watchSelection >= 1 && AfterRemoval(watchSelection - 1, *removed) < 0)
    return KIV_E_WATCH_SELECTION;
  if ((flags & kTaskAddSelections) && !added) return E_POINTER;
  return S_OK;
}

KivResult CTask::Update(uint32_t flags, const Variant* indexes, uint32_t addCount, int32_t newSecond,
                        const std::u16string& newName, const std::u16string& newDescription,
                        uint32_t newColourSeed, const std::u16string& watchFolder, int32_t watchSelection,
                        KivBool watchEnabled, uint32_t watchMode, DataSelectionList* added) {
  std::vector<size_t> removed;
  if (KivResult r = CheckUpdate(flags, indexes, newSecond, watchSelection, added, &removed); Failed(r)) return r;
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  std::vector<ComPtr<CDataSelection>> made;
  if (flags & kTaskAddSelections) {
    if (KivResult r = AddSelections(addCount, &made); Failed(r)) return r;
  }
  const int32_t oldActive = activeSelection_, oldSecond = secondSelection_;
  const int32_t second = (flags & kTaskSecondSelection) ? (newSecond >= 1 ? newSecond - 1 : -1) : secondSelection_;
  const int32_t watch = (flags & kTaskWatch) ? (watchSelection >= 1 ? watchSelection - 1 : -1) : watchSelection_;
  RemoveSelections(removed);
  activeSelection_ = AfterRemoval(activeSelection_, removed);
  secondSelection_ = AfterRemoval(second, removed);
  watchSelection_ = AfterRemoval(watch, removed);
  if (selections_.empty() && !made.empty()) activeSelection_ = 0;
  for (const auto& selection : made) selections_.push_back(selection);
  if (added) {
    added->clear();
    for (const auto& selection : made) added->emplace_back(static_cast<IKivDataSelection4*>(selection.Get()));
  }
  const bool nameChanged = (flags & kTaskName) && newName != name_;
  const bool descriptionChanged = (flags & kTaskDescription) && newDescription != description_;
  const bool seedChanged = (flags & kTaskColourSeed) && newColourSeed != colourSeed_;
  if (flags & kTaskWatch) {
    // Only a new selection to follow: the running watch goes on, so no file
    // lands between two watches.
    const uint32_t mode = watchMode == 0 ? 1 : watchMode;
    const bool sameWatch = watch_ && watchEnabled == KIV_TRUE && watchFolder == watchFolder_ && mode == watchMode_;
    if (!sameWatch) StopWatch();
    watchFolder_ = watchFolder;
    watchEnabled_ = watchEnabled == KIV_TRUE;
    watchMode_ = mode;
    if (watchEnabled_ && !sameWatch) StartWatch();
  }
  if (nameChanged) name_ = newName;
  if (descriptionChanged) description_ = newDescription;
  if (seedChanged) colourSeed_ = newColourSeed;
  KivResult written = WriteHeader();
  if (Succeeded(written) && (flags & (kTaskRemoveSelections | kTaskAddSelections))) written = WriteSelectionList();
  if (flags & kTaskWatch) Fire(&IKivTaskNotifications::OnWatchChanged);
  if (activeSelection_ != oldActive)
    Fire(&IKivTaskNotifications::OnActiveSelectionChanged, oldActive + 1, activeSelection_ + 1);
  if (secondSelection_ != oldSecond || (flags & kTaskSecondSelection)) {
    IKivDataSelection* s = secondSelection_ >= 0 ? selections_[static_cast<size_t>(secondSelection_)].Get() : nullptr;
    Fire(&IKivTaskNotifications::OnSecondSelectionChanged, s);
  }
  if (nameChanged) Fire(&IKivTaskNotifications::OnNameChanged);
  if (descriptionChanged) Fire(&IKivTaskNotifications::OnDescriptionChanged);
  if (seedChanged) Fire(&IKivTaskNotifications::OnColourSeedChanged);
  if (flags & (kTaskRemoveSelections | kTaskAddSelections)) {
    Fire(&IKivTaskNotifications::OnSelectionsChanged);
    RequestRefresh(kRefreshSelections);
  }
  MarkDirty();
  return Failed(written) ? E_FAIL : S_OK;
}

KivResult CTask::MakeFinder(const Guid& clsid, IKivOuting* outing, ComPtr<IKivTimeRegionFinder>* out) {
  ComPtr<IKivUnknown> made;
  if (Failed(ClassRegistry::Process().CreateInstance(clsid, IKivUnknown::iid, made.PutVoid()))) {
    if (KivResult r = CreateRegionsClass(clsid, made.Put()); Failed(r)) return r;
  }
  *out = made.As<IKivTimeRegionFinder>();
  if (!*out) return E_NOINTERFACE;
  if (outing) (void)(*out)->SetOuting(outing);
  return S_OK;
}

void CTask::RemoveSelections(const std::vector<size_t>& removed) {
  for (auto it = removed.rbegin(); it != removed.rend(); ++it) {
    ComPtr<CDataSelection> gone = selections_[*it];
    selections_.erase(selections_.begin() + static_cast<std::ptrdiff_t>(*it));
    gone->SetOwner(nullptr);
    gone->Close();
    const std::u16string storageName = selectionNames_.names[*it];
    selectionNames_.names.erase(selectionNames_.names.begin() + static_cast<std::ptrdiff_t>(*it));
    (void)gone->HandsOffStorage();
    if (selectionStorage_) (void)selectionStorage_->DestroyElement(storageName);
  }
}

// Folder watch.

void CTask::StartWatch() {
  StopWatch();
  if (closed_ || watchFolder_.empty()) return;
  if (TaskWatchStarter start = GetTaskWatchStarter()) watch_ = start(this);
}

// Closing.

KivResult CTask::Close() {
  if (closed_) return S_FALSE;
  StopWatch();  // before anything else of the task goes
  Fire(&IKivTaskNotifications::OnClosing);
  playback_ = nullptr;  // it let go of the task on the closing event
  CloseSelections();
  return S_OK;
}

void CTask::CloseSelections() {
  closed_ = true;
  for (const auto& selection : selections_) {
    selection->SetOwner(nullptr);
    selection->Close();
  }
  selections_.clear();
  extensions_.clear();
}

KivResult CTask::SetDataFactoryList(const ActiveDataFactories& factories) {
  factories_ = factories;
  // A copy: a selection's clients may change the list while they hear of it.
  const auto selections = selections_;
  for (const auto& selection : selections) selection->SetDataFactories(factories_);
  return S_OK;
}

KivResult CTask::FindChannelName(const std::u16string& name, KivBool* found) {
  if (!found) return E_POINTER;
  *found = KIV_FALSE;
  for (const auto& selection : selections_) {
    NameList names;
    if (Succeeded(static_cast<IKivChannelFactory*>(selection.Get())->GetNames(&names)) &&
        std::any_of(names.begin(), names.end(), [&](const std::u16string& n) { return ChannelDisplayName(n) == name; })) {
      *found = KIV_TRUE;
      break;
    }
  }
  return S_OK;
}

KivResult CTask::FindEventName(const std::u16string& name, KivBool* found) {
  if (!found) return E_POINTER;
  *found = KIV_FALSE;
  for (const auto& selection : selections_) {
    NameList names;
    if (Succeeded(static_cast<IKivEventsFactory*>(selection.Get())->GetNames(&names)) &&
        std::find(names.begin(), names.end(), name) != names.end()) {
      *found = KIV_TRUE;
      break;
    }
  }
  return S_OK;
}

}  // namespace velmar
