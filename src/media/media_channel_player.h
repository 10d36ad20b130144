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

namespace velmar {

struct IKivSpanMediaChannel : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{EF206780-C529-4514-A4F1-A5215ACC1F26}");
  // A player over [spanStart, spanEnd] of outing time.
  virtual KivResult CreatePlayerOver(KivTime spanStart, KivTime spanEnd, KivBool adjustForDistance,
                                     IKivClipPlayer** player) = 0;
  virtual KivResult DiagnosticsOver(KivTime spanStart, KivTime spanEnd, KivBool adjustForDistance,
                                    std::u16string* text) = 0;
};

// The diagnostic lines, by number.
std::u16string MediaText(int number);

// Builds a player of the clips over the span. E_FAIL (with the log) when no
// clip could be added. `log` gets the player's build log either way.
KivResult BuildClipPlayer(const std::vector<ClipSource>& clips, KivTime timeOffset, KivTime spanStart,
                          KivTime spanEnd, bool adjustForDistance, ComPtr<CClipManager>* player, std::string* log);

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
};

std::u16string MediaDiagnostics(const MediaChannelFacts& facts, const std::vector<ClipSource>& clips);

}  // namespace velmar
