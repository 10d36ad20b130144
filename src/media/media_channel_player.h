// What a media channel does with its clips: build a clip player over a span
// (the plain route), and the diagnostic text that explains what would play.
//
// IKivSpanMediaChannel is how a data selection's proxy asks the outing's
// channel for a player over the selection's span.
//
// Client thread.
#pragma once

#include <string>
#include <vector>

#include "media/clip_manager.h"
#include "media/clip_routes.h"
#include "media/distance_route.h"

namespace velmar {

// What the distance route is asked over: the own selection's span and
// distance channel, the active selection's. A null trace: that selection
// has no distance channel.
struct DistanceRequest {
  KivTime ownStart = 0, ownEnd = 0;
  KivTime activeStart = 0, activeEnd = 0;
  const DistanceTrace* own = nullptr;
  const DistanceTrace* active = nullptr;
};

struct IKivSpanMediaChannel : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{EF206780-C529-4514-A4F1-A5215ACC1F26}");
  // A player over [spanStart, spanEnd] of outing time.
  virtual KivResult CreatePlayerOver(KivTime spanStart, KivTime spanEnd, KivBool adjustForDistance,
                                     IKivClipPlayer** player) = 0;
  virtual KivResult DiagnosticsOver(KivTime spanStart, KivTime spanEnd, KivBool adjustForDistance,
                                    std::u16string* text) = 0;
  // The same on the distance route: a player over the active span.
  virtual KivResult CreatePlayerByDistance(const DistanceRequest& request, IKivClipPlayer** player) = 0;
  virtual KivResult DiagnosticsByDistance(const DistanceRequest& request, std::u16string* text) = 0;
};

// A clip's file is there (an empty path never is).
bool ClipFileExists(const std::u16string& path);

// The diagnostic lines, by number.
std::u16string MediaText(int number);

// Builds a player of the clips over the span. E_FAIL (with the log) when no
// clip could be added. `log` gets the player's build log either way.
KivResult BuildClipPlayer(const std::vector<ClipSource>& clips, KivTime timeOffset, KivTime spanStart,
                          KivTime spanEnd, bool adjustForDistance, ComPtr<CClipManager>* player, std::string* log);

// Builds a player of clips already placed on a timeline `spanLength` long.
KivResult BuildPlannedPlayer(std::vector<PlannedClip> planned, KivTime spanLength, bool adjustForDistance,
                             ComPtr<CClipManager>* player, std::string* log);

// A clip without a frame table gets one from its file's frame rate (frame n
// at n frame times after the clip's start), so that the distance route can
// place each of its frames; a file that can't be opened keeps none.
void GiveFrameTables(std::vector<ClipSource>* clips);

// A player of the first clip, whole, from its start, paused: the preview.
KivResult BuildPreviewPlayer(const ClipSource& clip, ComPtr<CClipManager>* player);

// What the channel knows, for its diagnostics.
struct MediaChannelFacts {
  enum class Clips { kLoaded, kFailed, kMissing };
  Clips clips = Clips::kMissing;
  bool addedByUser = false;
  KivTime timeOffset = 0;
  KivTime spanStart = 0;
  KivTime spanEnd = 0;
  std::u16string lastLog;
  // The distance route ran: how its preparation went and, when ready, what
  // it made of each clip (the spans are then the active selection's).
  bool byDistance = false;
  DistancePreparation preparation = DistancePreparation::kReady;
  DistanceRoute route;
};

std::u16string MediaDiagnostics(const MediaChannelFacts& facts, const std::vector<ClipSource>& clips);

}  // namespace velmar
