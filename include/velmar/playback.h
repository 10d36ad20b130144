// Playback of a task: its controller (IKivTask3::GetPlaybackController)
// moves the task's current time through the active selection's span at a
// rate, as a tape deck would, and keeps clip players (velmar/clip_player.h)
// in step with it. Without a player the controller is its own clock; with
// one, the first player added leads and the others follow it.
//
// The position is ticks from the start of the active span, 0 to its length.
// The controller's timers run on the client thread (KivClientThread): a host
// must run its loop for playback to move.
#pragma once

#include <cstdint>

#include "velmar/clip_player.h"
#include "velmar/notification_family.h"

namespace velmar {

// Controller states.
inline constexpr uint32_t kPlaybackPlaying = 0;
inline constexpr uint32_t kPlaybackStopped = 1;
inline constexpr uint32_t kPlaybackPaused = 2;

struct IKivPlaybackController : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{58EDD83A-46EA-4E66-9B45-FD1D8ECEC33A}");
  // S_FALSE when playing already; E_FAIL when the task's time lies past the span.
  virtual KivResult Play() = 0;
  // E_UNEXPECTED while stopped; S_FALSE when paused already.
  virtual KivResult Pause() = 0;
  // E_INVALIDARG outside 0 to the duration.
  virtual KivResult SetPosition(KivTime position) = 0;
  // Frames of the leading player; without one, frames of 0.05 s.
  virtual KivResult Step(int32_t frames) = 0;
  virtual KivResult GetPosition(KivTime* position) = 0;
  virtual KivResult GetDuration(KivTime* duration) = 0;
  virtual KivResult AddClipPlayer(IKivClipPlayer* player) = 0;
  virtual KivResult RemoveClipPlayer(IKivClipPlayer* player) = 0;
  virtual KivResult GetState(uint32_t* state) = 0;
  virtual KivResult GetCanPlay(KivBool* canPlay) = 0;
  virtual KivResult GetRates(IKivPlaybackRates** rates) = 0;
  // E_FAIL for a code not on offer.
  virtual KivResult SetRate(int32_t code) = 0;
  virtual KivResult GetRate(int32_t* code) = 0;
};

#define KIV_PLAYBACK_CONTROLLER_NOTIFICATIONS_1(X)                                                         \
  X(OnStateChanged, (IKivPlaybackController * controller), (controller))                                   \
  X(OnDurationChanged, (IKivPlaybackController * controller, KivTime duration), (controller, duration))    \
  X(OnRateChanged, (IKivPlaybackController * controller, int32_t code), (controller, code))                \
  X(OnRatesChanged, (IKivPlaybackController * controller, IKivPlaybackRates * rates), (controller, rates)) \
  X(OnCanPlayChanged, (IKivPlaybackController * controller, KivBool canPlay), (controller, canPlay))

KIV_NOTIFICATION_FAMILY(PlaybackControllerNotifications, "{6A170AB7-8A65-4E02-B1EA-7C7A65E762DC}",
                        KIV_PLAYBACK_CONTROLLER_NOTIFICATIONS_1)

#undef KIV_PLAYBACK_CONTROLLER_NOTIFICATIONS_1

}  // namespace velmar
