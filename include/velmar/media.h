// Media channels: named sequences of video clips that belong to a native
// store outing. The outing's media channel factory (IKivMediaChannelFactory)
// lists them; a channel's clips are read the first time a client asks for
// its status, and it is pending (3) until they are in: then available (1),
// or not available (2) when the store's clips can't be used.
//
// A channel read through a data selection plays the selection's span; read
// from the outing itself, the outing's whole span (first to last lap
// marker).
#pragma once

#include <string>

#include "velmar/channel.h"
#include "velmar/clip_player.h"

namespace velmar {

// Type of a media channel that a user added from a video file; any other
// type came with the car's recording.
inline constexpr uint32_t kMediaChannelAddedByUser = 3;

struct IKivMediaChannel : IKivData {
  static constexpr Guid iid = Guid::Literal("{9216E61C-6A69-4A6B-9254-56B213187717}");
  using Parent = IKivData;
  // A player of the clips over the span. `window` is accepted for the
  // platform's sake and not used: frames go to the player's frame sink.
  // E_FAIL when not loaded or no clip falls in the span; KIV_E_PENDING
  // while there are no clips.
  virtual KivResult CreateClipPlayer(void* window, KivBool adjustForDistance, IKivClipPlayer** player) = 0;
};

struct IKivMediaChannel2 : IKivMediaChannel {
  static constexpr Guid iid = Guid::Literal("{F9641F3C-30F9-4953-A995-BAC4282B1D5E}");
  using Parent = IKivMediaChannel;
  virtual KivResult CreateWindowlessClipPlayer(KivBool adjustForDistance, IKivClipPlayer** player) = 0;
};

struct IKivMediaChannelDiagnostic : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{B14B3C0C-1B4B-4B1F-8520-80D65F10E4E5}");
  virtual KivResult GetDiagnostics(KivBool adjustForDistance, std::u16string* text) = 0;
};

// On a channel a user added (type 3) only. Each gives E_FAIL when the
// channel isn't loaded, has no clips, or the file can't be read.
struct IKivOffsetMediaChannel : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{D76E43E1-B789-4524-9376-C832B6D87AD5}");
  // The first clip, whole, paused at its start, ready to be stepped.
  virtual KivResult CreatePreviewPlayer(void* window, IKivClipPlayer** player) = 0;
  virtual KivResult GetFileDuration(KivTime* duration) = 0;
  virtual KivResult GetClipStart(KivTime* start) = 0;
};

// The media edits of a native store outing, each a step of the outing's
// transaction (IKivTransaction): the outcome comes as its messages. The
// progress of an add (10 to 90 percent) comes as OnTransactionProgress with
// a total of 100.
struct IKivMediaChannelFactory2 : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{D3918AD5-D3F8-439F-AF5B-0BBF0856ABDA}");
  // Copies (or moves) `sourceFile` into `folder` as "%1X%03X%03X.kvmedia"
  // with the lowest free file number, and adds a channel of type 3 with one
  // clip from `start` to `end`. E_INVALIDARG for a missing text.
  virtual KivResult AddMediaChannel(const std::u16string& name, const std::u16string& sourceFile,
                                    const std::u16string& folder, KivTime start, KivTime end, KivBool move) = 0;
  virtual KivResult ModifyMediaChannel(const std::u16string& name, KivTime start, KivTime end) = 0;
  // The channel goes from the data set; its file stays on disk.
  virtual KivResult RemoveMediaChannel(const std::u16string& name) = 0;
};

}  // namespace velmar
