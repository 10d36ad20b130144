// CTimeRegionNavigator: what the first / previous / next / last buttons of a
// host talk to. It holds one finder and moves a data selection's span over
// that finder's regions, one region or a run of regions at a time; it picks
// the span a selection starts with (the task's default region mode) and
// decides what the span does when the regions change.
//
// Until it is active (a mode that could not be applied, the first real-time
// apply, or a saved span attached), events of the finder and the task leave
// the span alone: a selection that got its first span without trouble keeps
// it. A real-time selection follows the newest region while its task
// follows the live end, and cannot be navigated then.
//
// Client thread only.
#pragma once

#include <cstdint>

#include "core/notifications_impl.h"
#include "regions/region_steps.h"
#include "velmar/data_selection.h"
#include "velmar/tasks.h"

namespace velmar {

class CTimeRegionNavigator final
    : public KivObject<IKivTimeRegionNavigator2,
                       IKivNotificationsImpl<CTimeRegionNavigator, IKivTimeRegionNavigatorNotifications>>,
      private CTimeRegionFinderNotifications2Receiver,
      private CTaskNotificationsReceiver,
      private CDataSelectionNotificationsReceiver {
 public:
  enum Mode : int32_t { kDefaultRegion = 0, kLastCompleteRegion = 1, kWholeSpan = 2 };

  CTimeRegionNavigator();

  KivResult GetFinder(IKivTimeRegionFinder** finder) override;
  KivResult SetFinder(IKivTimeRegionFinder* finder) override;
  KivResult CanGoPrevious(IKivDataSelection* selection, KivBool* can) override;
  KivResult CanGoNext(IKivDataSelection* selection, KivBool* can) override;
  KivResult CanGoFirst(IKivDataSelection* selection, KivBool* can) override;
  KivResult CanGoLast(IKivDataSelection* selection, KivBool* can) override;
  KivResult GoFirst(IKivDataSelection* selection) override { return Go(RegionStep::kFirst, selection); }
  KivResult GoLast(IKivDataSelection* selection) override { return Go(RegionStep::kLast, selection); }
  KivResult GoNext(IKivDataSelection* selection) override { return Go(RegionStep::kNext, selection); }
  KivResult GoPrevious(IKivDataSelection* selection) override { return Go(RegionStep::kPrevious, selection); }
  KivResult SelectDefaultRegion(IKivDataSelection* selection) override;
  KivResult SelectLastCompleteRegion(IKivDataSelection* selection) override;
  KivResult SelectWholeSpan(IKivDataSelection* selection) override;

  // The selection that took this navigator: from now it hears the
  // selection's outing changes (and hands the new outing to its finder).
  void AttachSelection(IKivDataSelection* selection);
  // The selection lets go of this navigator (it closes, or took another).
  void DetachSelection(IKivDataSelection* selection);
  // A loaded selection's saved span: kept as the span last applied, nothing
  // applied now, and the navigator becomes active.
  void AttachSaved(IKivDataSelection* selection, KivTime start, KivTime end);

  bool active() const { return active_; }
  bool navigating() const { return navigating_; }
  int32_t mode() const { return mode_; }

 private:
  ~CTimeRegionNavigator() override;

  // The step's target from the selection's span, or none; E_... for the
  // call's own failures (no finder, a failed read).
  KivResult Target(RegionStep step, IKivDataSelection* selection, std::optional<StepTarget>* target);
  KivResult CanGo(RegionStep step, IKivDataSelection* selection, KivBool* can);
  KivResult Go(RegionStep step, IKivDataSelection* selection);
  KivResult Select(int32_t mode, IKivDataSelection* selection);

  bool SkipAuxiliary(IKivDataSelection* selection) const;
  KivResult Regions(StepRegions* regions) const;
  std::optional<TimeSpan> SpanOfMode(int32_t mode, IKivDataSelection* selection) const;
  std::optional<TimeSpan> DefaultSpan(IKivDataSelection* selection) const;
  std::optional<TimeSpan> LastSpan() const;
  KivResult Apply(IKivDataSelection* selection, TimeSpan span);
  KivResult ApplyMode(IKivDataSelection* selection);
  KivResult ApplyRealTime(IKivDataSelection* selection);
  void ApplyTaskDefault(IKivDataSelection* selection);

  void HoldSelection(IKivDataSelection* selection);
  void DropSelection();
  void HoldTask(IKivTask* task);
  void DropTask();
  bool ReadFollowLive() const;

  // CTimeRegionFinderNotifications2Receiver
  void OnRegionsChanged() override;
  void OnGlobalTimeChanged() override;
  // CTaskNotificationsReceiver
  void OnFollowLiveChanged(IKivTask* task) override;
  void OnClosing(IKivTask* task) override;
  // CDataSelectionNotificationsReceiver
  void OnOutingChanged(IKivDataSelection* selection) override;

  ComPtr<IKivTimeRegionFinder> finder_;
  ComPtr<IKivDataSelection> selection_;
  ComPtr<IKivTask> task_;
  bool navigating_ = true;
  bool realTime_ = false;
  bool active_ = false;
  bool pendingMode_ = false;
  TimeSpan last_{kTimeMin, kTimeMax};
  int32_t mode_ = kDefaultRegion;
  ComPtr<CTimeRegionFinderNotifications2Sink<>> finderSink_;
  ComPtr<CTaskNotificationsSink<>> taskSink_;
  ComPtr<CDataSelectionNotificationsSink<>> selectionSink_;
};

[[nodiscard]] KivResult CreateTimeRegionNavigator(IKivUnknown** out);

}  // namespace velmar
