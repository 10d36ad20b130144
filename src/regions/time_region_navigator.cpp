#include "regions/time_region_navigator.h"

#include <new>

namespace velmar {

CTimeRegionNavigator::CTimeRegionNavigator()
    : finderSink_(MakeKiv<CTimeRegionFinderNotifications2Sink<>>()),
      taskSink_(MakeKiv<CTaskNotificationsSink<>>()),
      selectionSink_(MakeKiv<CDataSelectionNotificationsSink<>>()) {
  finderSink_->SetReceiver(static_cast<CTimeRegionFinderNotifications2Receiver*>(this));
  taskSink_->SetReceiver(static_cast<CTaskNotificationsReceiver*>(this));
  selectionSink_->SetReceiver(static_cast<CDataSelectionNotificationsReceiver*>(this));
}

CTimeRegionNavigator::~CTimeRegionNavigator() {
  if (finder_) finderSink_->Disconnect(finder_.Get());
  DropTask();
  DropSelection();
  finderSink_->SetReceiver(nullptr);
  taskSink_->SetReceiver(nullptr);
  selectionSink_->SetReceiver(nullptr);
}

KivResult CTimeRegionNavigator::GetFinder(IKivTimeRegionFinder** finder) {
  if (!finder) return E_POINTER;
  *finder = nullptr;
  if (!finder_) return E_FAIL;
  return GiveOut(finder_.Get(), finder);
}

KivResult CTimeRegionNavigator::SetFinder(IKivTimeRegionFinder* finder) {
  if (!finder) return E_INVALIDARG;
  if (finder == finder_.Get()) return S_OK;
  const bool hadFinder = static_cast<bool>(finder_);
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  if (finder_) finderSink_->Disconnect(finder_.Get());
  finder_ = finder;
  (void)finderSink_->Connect(finder);
  active_ = false;
  FireNotification(&IKivTimeRegionNavigatorNotifications::OnFinderChanged, this, finder);
  if (selection_ && !hadFinder) ApplyTaskDefault(selection_.Get());
  return S_OK;
}

// Reads.

bool CTimeRegionNavigator::SkipAuxiliary(IKivDataSelection* selection) const {
  KivBool include = KIV_FALSE;
  return Failed(selection->GetIncludeAuxiliary(&include)) || !FromKivBool(include);
}

KivResult CTimeRegionNavigator::Regions(StepRegions* regions) const {
  ComPtr<IKivTimeRegions> view;
  if (!finder_ || Failed(finder_->GetRegions(view.Put()))) return E_FAIL;
  return ReadStepRegions(view.Get(), regions);
}

std::optional<TimeSpan> CTimeRegionNavigator::DefaultSpan(IKivDataSelection* selection) const {
  StepRegions regions;
  if (Failed(Regions(&regions))) return std::nullopt;
  int32_t index = 0;
  const KivResult r = finder_->GetDefaultRegion(&index);
  if (r == KIV_E_NO_REGION) return SpanOfDefault(regions, std::nullopt, SkipAuxiliary(selection));
  if (Failed(r)) return std::nullopt;
  return SpanOfDefault(regions, index, SkipAuxiliary(selection));
}

std::optional<TimeSpan> CTimeRegionNavigator::LastSpan() const {
  StepRegions regions;
  if (Failed(Regions(&regions))) return std::nullopt;
  return SpanOfLast(regions);
}

std::optional<TimeSpan> CTimeRegionNavigator::SpanOfMode(int32_t mode, IKivDataSelection* selection) const {
  StepRegions regions;
  switch (mode) {
    case kDefaultRegion:
      return DefaultSpan(selection);
    case kLastCompleteRegion: {
      ComPtr<IKivTimeRegionFinder2> finder = QueryAs<IKivTimeRegionFinder2>(finder_.Get());
      if (!finder) return LastSpan();
      int32_t index = 0;
      if (Failed(finder->GetLastCompleteRegion(&index)) || Failed(Regions(&regions))) return std::nullopt;
      return SpanOfLastComplete(regions, index, SkipAuxiliary(selection));
    }
    case kWholeSpan:
      if (Failed(Regions(&regions))) return std::nullopt;
      return SpanOfWhole(regions, SkipAuxiliary(selection));
    default:
      return std::nullopt;
  }
}

// Steps.

KivResult CTimeRegionNavigator::Target(RegionStep step, IKivDataSelection* selection,
                                       std::optional<StepTarget>* target) {
  if (!selection) return E_INVALIDARG;
  if (!finder_) return E_UNEXPECTED;
  StepRegions regions;
  TimeSpan from;
  if (Failed(Regions(&regions)) || Failed(selection->GetStartTime(&from.start)) ||
      Failed(selection->GetEndTime(&from.end)))
    return E_FAIL;
  *target = StepTo(step, regions, from, SkipAuxiliary(selection));
  return S_OK;
}

KivResult CTimeRegionNavigator::CanGo(RegionStep step, IKivDataSelection* selection, KivBool* can) {
  if (!selection) return E_INVALIDARG;
  if (!can) return E_POINTER;
  *can = KIV_FALSE;
  if (!finder_) return E_UNEXPECTED;
  if (!navigating_) return S_OK;
  std::optional<StepTarget> target;
  if (Failed(Target(step, selection, &target))) return E_FAIL;
  *can = ToKivBool(target && !target->stays);
  return S_OK;
}

KivResult CTimeRegionNavigator::CanGoPrevious(IKivDataSelection* s, KivBool* c) { return CanGo(RegionStep::kPrevious, s, c); }
KivResult CTimeRegionNavigator::CanGoNext(IKivDataSelection* s, KivBool* c) { return CanGo(RegionStep::kNext, s, c); }
KivResult CTimeRegionNavigator::CanGoFirst(IKivDataSelection* s, KivBool* c) { return CanGo(RegionStep::kFirst, s, c); }
KivResult CTimeRegionNavigator::CanGoLast(IKivDataSelection* s, KivBool* c) { return CanGo(RegionStep::kLast, s, c); }

KivResult CTimeRegionNavigator::Go(RegionStep step, IKivDataSelection* selection) {
  if (!selection) return E_INVALIDARG;
  if (!navigating_) return E_FAIL;
  std::optional<StepTarget> target;
  if (KivResult r = Target(step, selection, &target); Failed(r)) return r;
  if (!target) return E_FAIL;
  if (target->stays) return S_FALSE;
  return Apply(selection, target->span);
}

// Modes.

KivResult CTimeRegionNavigator::SelectDefaultRegion(IKivDataSelection* s) { return Select(kDefaultRegion, s); }
KivResult CTimeRegionNavigator::SelectLastCompleteRegion(IKivDataSelection* s) {
  return Select(kLastCompleteRegion, s);
}
KivResult CTimeRegionNavigator::SelectWholeSpan(IKivDataSelection* s) { return Select(kWholeSpan, s); }

KivResult CTimeRegionNavigator::Select(int32_t mode, IKivDataSelection* selection) {
  if (!selection) return E_INVALIDARG;
  mode_ = mode;
  return ApplyMode(selection);
}

KivResult CTimeRegionNavigator::Apply(IKivDataSelection* selection, TimeSpan span) {
  const KivResult r = selection->Update(kSelectionSpan, nullptr, nullptr, 0, span.start, span.end, KIV_FALSE);
  if (Succeeded(r)) last_ = span;
  return r;
}

KivResult CTimeRegionNavigator::ApplyMode(IKivDataSelection* selection) {
  if (!finder_) return E_UNEXPECTED;
  if (!selection_) HoldSelection(selection);
  KivBool realTime = KIV_FALSE;
  (void)selection->GetRealTime(&realTime);
  realTime_ = FromKivBool(realTime);
  if (realTime_) return ApplyRealTime(selection);
  const std::optional<TimeSpan> span = SpanOfMode(mode_, selection);
  if (span && Succeeded(Apply(selection, *span))) {
    pendingMode_ = false;
    return S_OK;
  }
  // Tried again when the regions change.
  active_ = true;
  pendingMode_ = true;
  return S_OK;
}

KivResult CTimeRegionNavigator::ApplyRealTime(IKivDataSelection* selection) {
  if (!task_) {
    ComPtr<IKivTask> task;
    if (Succeeded(selection->GetTask(task.Put())) && task) HoldTask(task.Get());
    active_ = true;
    navigating_ = !ReadFollowLive();
  }
  const std::optional<TimeSpan> span = navigating_ ? SpanOfMode(mode_, selection) : LastSpan();
  if (span) (void)Apply(selection, *span);
  return S_OK;
}

void CTimeRegionNavigator::ApplyTaskDefault(IKivDataSelection* selection) {
  ComPtr<IKivTask> task;
  uint32_t mode = 1;
  if (Succeeded(selection->GetTask(task.Put())) && task) {
    if (auto task2 = QueryAs<IKivTask2>(task.Get())) (void)task2->GetDefaultRegionMode(&mode);
  }
  switch (mode) {
    case 1:
    case 3: (void)SelectDefaultRegion(selection); break;
    case 2: (void)SelectLastCompleteRegion(selection); break;
    case 4: (void)SelectWholeSpan(selection); break;
    default: break;
  }
}

void CTimeRegionNavigator::AttachSelection(IKivDataSelection* selection) {
  if (selection == selection_.Get()) return;
  DropSelection();
  HoldSelection(selection);
}

void CTimeRegionNavigator::DetachSelection(IKivDataSelection* selection) {
  if (selection != selection_.Get()) return;
  DropTask();
  DropSelection();
}

void CTimeRegionNavigator::AttachSaved(IKivDataSelection* selection, KivTime start, KivTime end) {
  if (selection != selection_.Get()) {
    DropSelection();
    HoldSelection(selection);
  }
  last_ = {start, end};
  active_ = true;
}

// Whom it listens to.

void CTimeRegionNavigator::HoldSelection(IKivDataSelection* selection) {
  selection_ = selection;
  if (selection) (void)selectionSink_->Connect(selection);
}

void CTimeRegionNavigator::DropSelection() {
  if (selection_) selectionSink_->Disconnect(selection_.Get());
  selection_ = nullptr;
}

void CTimeRegionNavigator::HoldTask(IKivTask* task) {
  task_ = task;
  (void)taskSink_->Connect(task);
}

void CTimeRegionNavigator::DropTask() {
  if (task_) taskSink_->Disconnect(task_.Get());
  task_ = nullptr;
}

bool CTimeRegionNavigator::ReadFollowLive() const {
  KivBool follow = KIV_FALSE;
  return task_ && Succeeded(task_->GetFollowLive(&follow)) && FromKivBool(follow);
}

// Events.

void CTimeRegionNavigator::OnRegionsChanged() {
  if (!active_ || !selection_) return;
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  ComPtr<IKivDataSelection> selection = selection_;
  if (realTime_) {
    if (navigating_) return;
    if (const std::optional<TimeSpan> span = LastSpan()) (void)Apply(selection.Get(), *span);
    return;
  }
  StepRegions regions;
  if (Failed(Regions(&regions))) return;
  const std::optional<TimeSpan> whole = SpanOfWhole(regions, SkipAuxiliary(selection.Get()));
  if (!whole) return;
  // The old span still lies inside the data: it stays.
  if (whole->start <= last_.start && whole->end >= last_.end && !pendingMode_) return;
  if (const std::optional<TimeSpan> span = SpanOfMode(mode_, selection.Get());
      span && Succeeded(Apply(selection.Get(), *span)))
    pendingMode_ = false;
}

void CTimeRegionNavigator::OnGlobalTimeChanged() {
  if (!active_ || !selection_) return;
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  ComPtr<IKivDataSelection> selection = selection_;
  // Whatever the default gave, zeros included: the regions moved on the clock.
  (void)Apply(selection.Get(), DefaultSpan(selection.Get()).value_or(TimeSpan{}));
}

void CTimeRegionNavigator::OnFollowLiveChanged(IKivTask*) {
  const bool wasNavigating = navigating_;
  navigating_ = !ReadFollowLive();
  if (wasNavigating && !navigating_ && selection_) {
    ComPtr<IKivUnknown> keep(PrimaryUnknown());
    ComPtr<IKivDataSelection> selection = selection_;
    if (const std::optional<TimeSpan> span = LastSpan()) (void)Apply(selection.Get(), *span);
  }
}

void CTimeRegionNavigator::OnClosing(IKivTask*) { DropTask(); }

void CTimeRegionNavigator::OnOutingChanged(IKivDataSelection* changed) {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  ComPtr<IKivDataSelection> selection(changed);
  active_ = false;
  DropSelection();
  DropTask();
  if (finder_) {
    ComPtr<IKivOuting> outing;
    (void)selection->GetOuting(outing.Put());
    (void)finder_->SetOuting(outing.Get());
  }
  last_ = {kTimeMin, kTimeMax};
  ApplyTaskDefault(selection.Get());
}

KivResult CreateTimeRegionNavigator(IKivUnknown** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  try {
    return GiveOut(MakeKiv<CTimeRegionNavigator>()->PrimaryUnknown(), out);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  }
}

}  // namespace velmar
