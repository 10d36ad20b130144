// CPlaybackController: a task's playback. It moves the task's current time
// through the active selection's span at a rate code (±1..±5) and keeps
// clip players in step: the first player added leads (primaryPlayer), the
// others follow it as its slaves. Without a player the controller is its own
// clock, worked out from the dispatcher's millisecond count at every tick,
// so late timers lose no time.
//
// Two timers of the client thread's dispatcher carry it: the position timer
// (100 ms, repeating, Tick) and the sync timer (100 ms, once, Sync), which
// brings the players to the task's time after a burst of cursor moves.
//
// The task makes it on first demand and gives it the task (Attach); the
// controller holds the task until the task closes (OnClosing), which ends
// the loop of references between them.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <vector>

#include "core/notifications_impl.h"
#include "media/playback_rates.h"
#include "platform/async/dispatcher.h"
#include "velmar/data_selection.h"
#include "velmar/playback.h"
#include "velmar/tasks.h"

namespace velmar {

class CPlaybackController final
    : public KivObject<IKivPlaybackController,
                       IKivNotificationsImpl<CPlaybackController, IKivPlaybackControllerNotifications>>,
      private CTaskNotifications2Receiver,
      private CDataSelectionNotifications2Receiver {
 public:
  // The timers go to `dispatcher` (the calling thread's by default).
  explicit CPlaybackController(Dispatcher& dispatcher = Dispatcher::ForThisThread());

  // Binds to the task: its events, its selections, canPlay and duration.
  void Attach(IKivTask* task);

  // IKivPlaybackController
  KivResult Play() override;
  KivResult Pause() override;
  KivResult SetPosition(KivTime position) override;
  KivResult Step(int32_t frames) override;
  KivResult GetPosition(KivTime* position) override;
  KivResult GetDuration(KivTime* duration) override;
  KivResult AddClipPlayer(IKivClipPlayer* player) override;
  KivResult RemoveClipPlayer(IKivClipPlayer* player) override;
  KivResult GetState(uint32_t* state) override;
  KivResult GetCanPlay(KivBool* canPlay) override;
  KivResult GetRates(IKivPlaybackRates** rates) override;
  KivResult SetRate(int32_t code) override;
  KivResult GetRate(int32_t* code) override;

  // The timers' work; public for the tests that drive them.
  void Tick();
  void Sync();

 protected:
  ~CPlaybackController() override;

 private:
  // CTaskNotifications2Receiver
  void OnActiveSelectionChanged(IKivTask*, int32_t, int32_t) override;
  void OnSelectionsChanged(IKivTask*) override;
  void OnClosing(IKivTask*) override;
  void OnCurrentTimeChanged(IKivTask*, KivTime time) override;
  // CDataSelectionNotifications2Receiver
  void OnOutingChanged(IKivDataSelection*) override { RecomputeDuration(); }
  void OnSpanChanged(IKivDataSelection*) override { RecomputeDuration(); }
  void OnOutingChangeFinished(IKivDataSelection*) override { Reconnect(); }
  void OnClientFlagChanged(IKivDataSelection*) override { Reconnect(); }

  uint32_t TickCount() const;
  std::vector<ComPtr<IKivDataSelection4>> Selections() const;
  // Pause with or without reading the leading player's time back.
  KivResult PauseInternal(bool readBack);
  void SetTaskTime(KivTime time);
  void StartPositionTimer();
  void StopPositionTimer();
  void RestartSyncTimer();
  void SetState(uint32_t state);
  void RebuildRates();
  void RecomputeCanPlay();
  void RecomputeDuration();
  // Connects to every selection anew, then canPlay and duration.
  void Reconnect();
  void Shutdown();
  template <class Method, class... Args>
  void Fire(Method method, Args... args);

  Dispatcher& dispatcher_;
  ComPtr<IKivTask> task_;
  ComPtr<CTaskNotifications2Sink<>> taskSink_;
  ComPtr<CDataSelectionNotifications2Sink<CBaseMultiSourceSink>> selectionSink_;
  Dispatcher::TimerId positionTimer_ = 0;
  Dispatcher::TimerId syncTimer_ = 0;
  uint32_t state_ = kPlaybackStopped;
  KivTime duration_ = kTimeMin;
  KivTime position_ = 0;
  uint32_t startTick_ = 0;
  KivTime startTime_ = kTimeMin;
  ComPtr<IKivClipPlayer> primaryPlayer_;
  std::vector<ComPtr<IKivClipPlayer>> otherPlayers_;
  int32_t rate_ = 2;
  ComPtr<CPlaybackRates> rates_;
  double rateFactor_ = 1.0;
  bool canPlay_ = false;
};

}  // namespace velmar
