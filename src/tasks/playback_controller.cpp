#include "tasks/playback_controller.h"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace velmar {
namespace {

constexpr std::chrono::milliseconds kTimerPeriod{100};
// Without a player a step is frames of 0.05 s.
constexpr double kStepSeconds = 0.05;

}  // namespace

CPlaybackController::CPlaybackController(Dispatcher& dispatcher)
    : dispatcher_(dispatcher),
      taskSink_(MakeKiv<CTaskNotifications2Sink<>>()),
      selectionSink_(MakeKiv<CDataSelectionNotifications2Sink<CBaseMultiSourceSink>>()),
      rates_(MakeKiv<CPlaybackRates>()) {
  taskSink_->SetReceiver(static_cast<CTaskNotifications2Receiver*>(this));
  selectionSink_->SetReceiver(static_cast<CDataSelectionNotifications2Receiver*>(this));
  rates_->codes().assign(std::begin(kAllRateCodes), std::end(kAllRateCodes));
}

CPlaybackController::~CPlaybackController() {
  taskSink_->SetReceiver(nullptr);
  selectionSink_->SetReceiver(nullptr);
  if (positionTimer_) dispatcher_.KillTimer(positionTimer_);
  if (syncTimer_) dispatcher_.KillTimer(syncTimer_);
}

void CPlaybackController::Attach(IKivTask* task) {
  task_ = task;
  (void)taskSink_->Connect(task);
  Reconnect();
}

template <class Method, class... Args>
void CPlaybackController::Fire(Method method, Args... args) {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  FireNotification(method, static_cast<IKivPlaybackController*>(this), args...);
}

// --- Helpers ---------------------------------------------------------------------

uint32_t CPlaybackController::TickCount() const {
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(dispatcher_.clock()->Now().time_since_epoch());
  return static_cast<uint32_t>(ms.count());  // wraps at 2^32 ms, as the counter does
}

std::vector<ComPtr<IKivDataSelection4>> CPlaybackController::Selections() const {
  std::vector<ComPtr<IKivDataSelection4>> all;
  ComPtr<IKivDataSelections> list;
  int32_t count = 0;
  if (!task_ || Failed(task_->GetSelections(list.Put())) || Failed(list->GetCount(&count))) return all;
  for (int32_t i = 1; i <= count; ++i) {
    ComPtr<IKivDataSelection4> selection;
    if (Succeeded(list->GetItem(i, selection.Put())) && selection) all.push_back(std::move(selection));
  }
  return all;
}

void CPlaybackController::SetTaskTime(KivTime time) {
  if (task_) (void)task_->SetCurrentTime(time);
}

void CPlaybackController::StartPositionTimer() {
  StopPositionTimer();
  positionTimer_ = dispatcher_.SetTimer(kTimerPeriod, [this] { Tick(); });
}

void CPlaybackController::StopPositionTimer() {
  if (positionTimer_) dispatcher_.KillTimer(positionTimer_);
  positionTimer_ = 0;
}

void CPlaybackController::RestartSyncTimer() {
  if (syncTimer_) dispatcher_.KillTimer(syncTimer_);
  syncTimer_ = dispatcher_.SetTimer(kTimerPeriod, [this] {
    dispatcher_.KillTimer(syncTimer_);
    syncTimer_ = 0;
    Sync();
  });
}

void CPlaybackController::SetState(uint32_t state) {
  state_ = state;
  Fire(&IKivPlaybackControllerNotifications::OnStateChanged);
}

// --- Timers -------------------------------------------------------------------------

void CPlaybackController::Tick() {
  KivTime t = 0;
  if (primaryPlayer_) {
    if (Failed(primaryPlayer_->GetTime(&t))) return;
  } else {
    // Rate code -1 from 10 s gives 9.5 s after 1000 ms by this formula
    // (factor -0.5); the formula is what counts, not a rounder example.
    const uint32_t elapsed = TickCount() - startTick_;
    t = startTime_ + static_cast<KivTime>(elapsed) * static_cast<KivTime>(std::trunc(rateFactor_ * 10000.0));
  }
  if (t >= duration_ || t < 0) {
    t = std::clamp<KivTime>(t, 0, std::max<KivTime>(duration_, 0));
    (void)Pause();
  }
  position_ = t;  // first, so that the task's event for this change is no change
  SetTaskTime(t);
}

void CPlaybackController::Sync() {
  KivTime t = 0;
  if (!task_ || Failed(task_->GetCurrentTime(&t))) return;
  if (primaryPlayer_) {
    uint32_t state = kClipPlayerStopped;
    (void)primaryPlayer_->GetState(0, &state);
    if (state != kClipPlayerPaused) (void)primaryPlayer_->Pause();
    if (Succeeded(primaryPlayer_->SetTime(t))) position_ = t;
    if (state == kClipPlayerRunning) (void)primaryPlayer_->Run();
    return;
  }
  position_ = t;
  if (state_ == kPlaybackPlaying) {
    startTime_ = t;
    startTick_ = TickCount();
  }
}

// --- Operations ------------------------------------------------------------------------

KivResult CPlaybackController::Play() {
  if (state_ == kPlaybackPlaying) return S_FALSE;
  KivTime t = 0;
  if (!task_ || Failed(task_->GetCurrentTime(&t)) || t > duration_) return E_FAIL;
  if (primaryPlayer_) {
    if (KivResult r = primaryPlayer_->SetTime(t); Failed(r)) return r;
    if (KivResult r = primaryPlayer_->Run(); Failed(r)) return r;
  }
  startTime_ = t;
  startTick_ = TickCount();
  StartPositionTimer();
  SetState(kPlaybackPlaying);
  return S_OK;
}

KivResult CPlaybackController::PauseInternal(bool readBack) {
  if (primaryPlayer_) {
    if (KivResult r = primaryPlayer_->Pause(); Failed(r)) return r;
    KivTime t = 0;
    if (readBack && Succeeded(primaryPlayer_->GetTime(&t))) {
      position_ = t;
      SetTaskTime(t);
    }
  }
  StopPositionTimer();
  SetState(kPlaybackPaused);
  if (!readBack) Sync();
  return S_OK;
}

KivResult CPlaybackController::Pause() {
  if (state_ == kPlaybackStopped) return E_UNEXPECTED;
  if (state_ == kPlaybackPaused) return S_FALSE;
  return PauseInternal(true);
}

KivResult CPlaybackController::SetPosition(KivTime t) {
  if (t < 0 || t > duration_) return E_INVALIDARG;
  if (t == position_) return S_OK;
  if (!primaryPlayer_) {
    position_ = t;
    SetTaskTime(t);
    if (state_ == kPlaybackPlaying) {
      startTime_ = t;
      startTick_ = TickCount();
    }
    return S_OK;
  }
  uint32_t state = kClipPlayerStopped;
  (void)primaryPlayer_->GetState(0, &state);
  if (state != kClipPlayerPaused) {
    if (KivResult r = primaryPlayer_->Pause(); Failed(r)) return r;
  }
  if (KivResult r = primaryPlayer_->SetTime(t); Failed(r)) return r;
  position_ = t;
  SetTaskTime(t);
  return state == kClipPlayerRunning ? primaryPlayer_->Run() : S_OK;
}

KivResult CPlaybackController::Step(int32_t frames) {
  if (primaryPlayer_) {
    if (state_ == kPlaybackPlaying) StopPositionTimer();
    if (KivResult r = primaryPlayer_->Step(frames); Failed(r)) return r;
    KivTime t = 0;
    if (KivResult r = primaryPlayer_->GetTime(&t); Failed(r)) return r;
    SetTaskTime(t);
    position_ = t;
    if (state_ != kPlaybackPaused) SetState(kPlaybackPaused);
    return S_OK;
  }
  if (state_ != kPlaybackStopped) {
    if (KivResult r = Pause(); Failed(r)) return r;
  }
  const KivTime delta = static_cast<KivTime>(std::round(frames * kStepSeconds * static_cast<double>(kTicksPerSecond)));
  const KivTime t = std::clamp<KivTime>(position_ + delta, 0, std::max<KivTime>(duration_, 0));
  SetTaskTime(t);
  position_ = t;
  return S_OK;
}

KivResult CPlaybackController::GetPosition(KivTime* position) {
  if (!position) return E_POINTER;
  if (primaryPlayer_) return primaryPlayer_->GetTime(position);
  *position = position_;
  return S_OK;
}

KivResult CPlaybackController::GetDuration(KivTime* duration) {
  if (!duration) return E_POINTER;
  *duration = duration_;
  return S_OK;
}

KivResult CPlaybackController::GetState(uint32_t* state) {
  if (!state) return E_POINTER;
  *state = state_;
  return S_OK;
}

KivResult CPlaybackController::GetCanPlay(KivBool* canPlay) {
  if (!canPlay) return E_POINTER;
  *canPlay = ToKivBool(canPlay_);
  return S_OK;
}

KivResult CPlaybackController::GetRates(IKivPlaybackRates** rates) {
  if (!rates) return E_POINTER;
  return GiveOut(static_cast<IKivPlaybackRates*>(rates_.Get()), rates);
}

KivResult CPlaybackController::GetRate(int32_t* code) {
  if (!code) return E_POINTER;
  *code = rate_;
  return S_OK;
}

KivResult CPlaybackController::SetRate(int32_t code) {
  if (code == rate_) return S_OK;
  const std::vector<int32_t>& offered = rates_->codes();
  if (std::find(offered.begin(), offered.end(), code) == offered.end()) return E_FAIL;
  rateFactor_ = RateFactor(code).value_or(rateFactor_);
  if (state_ == kPlaybackPlaying) {
    startTime_ = position_;
    startTick_ = TickCount();
    StartPositionTimer();
  }
  if (primaryPlayer_) {
    if (KivResult r = primaryPlayer_->SetRate(code); Failed(r)) return r;
  }
  rate_ = code;
  Fire(&IKivPlaybackControllerNotifications::OnRateChanged, code);
  return S_OK;
}

// --- Players ------------------------------------------------------------------------------

KivResult CPlaybackController::AddClipPlayer(IKivClipPlayer* player) {
  if (!player) return E_INVALIDARG;
  const bool playAgain = state_ == kPlaybackPlaying;
  if (playAgain) {
    if (KivResult r = Pause(); Failed(r)) return r;
  }
  const KivTime range = std::max<KivTime>(duration_, 0);
  if (primaryPlayer_) {
    if (KivResult r = player->SetRange(0, range); Failed(r)) return r;
    otherPlayers_.emplace_back(player);
    if (KivResult r = primaryPlayer_->AddSlave(player); Failed(r)) return r;
  } else {
    primaryPlayer_ = player;
    if (KivResult r = player->SetRange(0, range); Failed(r)) return r;
  }
  Sync();
  RebuildRates();
  return playAgain ? Play() : S_OK;
}

KivResult CPlaybackController::RemoveClipPlayer(IKivClipPlayer* player) {
  if (!player) return E_INVALIDARG;
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  bool wasRunning = false;
  if (primaryPlayer_) {
    uint32_t state = kClipPlayerStopped;
    (void)primaryPlayer_->GetState(0, &state);
    if (state != kClipPlayerPaused) (void)primaryPlayer_->Pause();
    wasRunning = state == kClipPlayerRunning;
  }
  KivResult result = S_OK;
  if (player == primaryPlayer_.Get()) {
    (void)primaryPlayer_->Stop();
    primaryPlayer_ = nullptr;
    if (!otherPlayers_.empty()) {
      primaryPlayer_ = otherPlayers_.front();
      otherPlayers_.erase(otherPlayers_.begin());
      (void)primaryPlayer_->Stop();
      for (const auto& other : otherPlayers_) (void)primaryPlayer_->AddSlave(other.Get());
    }
  } else {
    auto found = std::find_if(otherPlayers_.begin(), otherPlayers_.end(), [&](const auto& p) { return p.Get() == player; });
    if (found == otherPlayers_.end()) {
      result = E_FAIL;
    } else {
      if (primaryPlayer_) (void)primaryPlayer_->RemoveSlave(player);
      std::erase_if(otherPlayers_, [&](const auto& p) { return p.Get() == player; });
    }
  }
  if (!primaryPlayer_ && state_ == kPlaybackPlaying) {
    StopPositionTimer();
    SetState(kPlaybackPaused);
  }
  if (Succeeded(result) && wasRunning && primaryPlayer_) result = primaryPlayer_->Run();
  RebuildRates();
  return result;
}

// --- Recomputing -------------------------------------------------------------------------------

void CPlaybackController::RebuildRates() {
  std::vector<int32_t> codes(std::begin(kAllRateCodes), std::end(kAllRateCodes));
  // Only what every player offers, in the leading player's order.
  auto offeredBy = [](IKivClipPlayer* player) {
    ComPtr<IKivPlaybackRates> offered;
    return Succeeded(player->GetRates(offered.Put())) ? RateCodes(offered.Get()) : std::vector<int32_t>{};
  };
  auto keepIn = [](const std::vector<int32_t>& order, const std::vector<int32_t>& allowed) {
    std::vector<int32_t> kept;
    for (int32_t code : order) {
      if (std::find(allowed.begin(), allowed.end(), code) != allowed.end()) kept.push_back(code);
    }
    return kept;
  };
  if (primaryPlayer_) {
    codes = keepIn(offeredBy(primaryPlayer_.Get()), codes);
    for (size_t i = 0; i < otherPlayers_.size() && !codes.empty(); ++i) {
      codes = keepIn(codes, offeredBy(otherPlayers_[i].Get()));
    }
  }
  rates_->codes() = codes;
  RecomputeCanPlay();
  if (!codes.empty() && std::find(codes.begin(), codes.end(), rate_) == codes.end()) {
    if (Succeeded(SetRate(codes.front())) && primaryPlayer_) (void)primaryPlayer_->SetRate(rate_);
  }
  Fire(&IKivPlaybackControllerNotifications::OnRatesChanged, static_cast<IKivPlaybackRates*>(rates_.Get()));
}

void CPlaybackController::RecomputeCanPlay() {
  bool anyPlain = false, anyRealTime = false;
  for (const auto& selection : Selections()) {
    KivBool flag = KIV_TRUE, realTime = KIV_FALSE;
    if (Succeeded(selection->GetClientFlag(&flag)) && !FromKivBool(flag)) anyPlain = true;
    if (Succeeded(selection->GetRealTime(&realTime)) && FromKivBool(realTime)) anyRealTime = true;
  }
  const bool canPlay = anyPlain && !anyRealTime && !rates_->codes().empty();
  if (canPlay == canPlay_) return;
  if (state_ != kPlaybackStopped && Failed(Pause())) return;
  canPlay_ = canPlay;
  Fire(&IKivPlaybackControllerNotifications::OnCanPlayChanged, ToKivBool(canPlay));
}

void CPlaybackController::RecomputeDuration() {
  const KivTime old = duration_;
  ComPtr<IKivDataSelection4> active;
  KivTime start = 0, end = 0;
  if (task_ && Succeeded(task_->GetActiveSelection(active.Put())) && active && Succeeded(active->GetStartTime(&start)) &&
      Succeeded(active->GetEndTime(&end))) {
    duration_ = end - start;
  } else {
    duration_ = 0;
  }
  if (duration_ == 0 && state_ == kPlaybackPlaying && Failed(Pause())) return;
  if (duration_ == old) return;
  if (primaryPlayer_) (void)primaryPlayer_->SetRange(0, std::max<KivTime>(duration_, 0));
  Fire(&IKivPlaybackControllerNotifications::OnDurationChanged, duration_);
}

void CPlaybackController::Reconnect() {
  selectionSink_->DisconnectAll();
  for (const auto& selection : Selections()) (void)selectionSink_->Connect(selection.Get());
  RecomputeCanPlay();
  RecomputeDuration();
}

// --- Task events ----------------------------------------------------------------------------------

void CPlaybackController::OnActiveSelectionChanged(IKivTask*, int32_t, int32_t) {
  RecomputeCanPlay();
  RecomputeDuration();
}

void CPlaybackController::OnSelectionsChanged(IKivTask*) { Reconnect(); }

void CPlaybackController::OnClosing(IKivTask*) { Shutdown(); }

void CPlaybackController::OnCurrentTimeChanged(IKivTask*, KivTime time) {
  if (time == position_) return;
  position_ = time;
  bool running = state_ == kPlaybackPlaying;
  if (primaryPlayer_) {
    uint32_t state = kClipPlayerStopped;
    running = Succeeded(primaryPlayer_->GetState(0, &state)) && state == kClipPlayerRunning;
  }
  if (running) {
    (void)PauseInternal(false);
  } else if (state_ != kPlaybackPlaying) {
    RestartSyncTimer();
  }
}

void CPlaybackController::Shutdown() {
  ComPtr<IKivUnknown> keep(PrimaryUnknown());
  if (state_ == kPlaybackPlaying) (void)Pause();
  if (task_) taskSink_->Disconnect(task_.Get());
  task_ = nullptr;
  selectionSink_->DisconnectAll();
  StopPositionTimer();
  if (syncTimer_) dispatcher_.KillTimer(syncTimer_);
  syncTimer_ = 0;
  if (primaryPlayer_) (void)primaryPlayer_->Stop();
  primaryPlayer_ = nullptr;
  otherPlayers_.clear();
  rates_->codes().clear();
}

}  // namespace velmar
