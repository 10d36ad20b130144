// Clip players: one continuous video made of a media channel's clips, on a
// timeline that starts at 0 (the start of the span it was made for). A
// player has no window here: each frame it shows is handed to the host's
// IKivVideoFrameSink, and between clips it shows a blank (black) frame.
//
// A player is made by a media channel (velmar/media.h), handed to a task's
// playback controller (velmar/playback.h), and lives on the client thread;
// while it runs, its frames reach the sink on the player's own render
// thread.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

// Player states (IKivClipPlayer::GetState).
inline constexpr uint32_t kClipPlayerStopped = 0;
inline constexpr uint32_t kClipPlayerPaused = 1;
inline constexpr uint32_t kClipPlayerRunning = 2;

// The playback rate codes on offer; 1..5 are 0.5x, 1x, 2x, 4x, 8x forwards
// and -1..-5 the same backwards.
struct IKivPlaybackRates : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{CCF0022F-88A3-4369-AF4A-D09FD3175B6D}");
  virtual KivResult GetCount(uint32_t* count) = 0;
  // `index` from 1; DISP_E_BADINDEX out of range.
  virtual KivResult GetItem(uint32_t index, int32_t* code) = 0;
};

struct IKivClipPlayer : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{DC176447-12AB-4F3C-B7F7-221C9913B1CB}");
  virtual KivResult Run() = 0;
  virtual KivResult Pause() = 0;
  // Moves by whole frames of the clip under the position (negative: back).
  virtual KivResult Step(int32_t frames) = 0;
  // `wait` in ms is accepted and ignored: state changes here are immediate.
  virtual KivResult GetState(uint32_t wait, uint32_t* state) = 0;
  virtual KivResult GetRates(IKivPlaybackRates** rates) = 0;
  virtual KivResult SetRate(int32_t code) = 0;
  // The timeline the player is held to: `start` (0) and its length.
  virtual KivResult SetRange(KivTime start, KivTime duration) = 0;
  virtual KivResult Stop() = 0;
  // Slaves share the player's clock and follow its Run, Pause and SetTime.
  virtual KivResult AddSlave(IKivClipPlayer* slave) = 0;
  virtual KivResult RemoveSlave(IKivClipPlayer* slave) = 0;
  virtual KivResult GetTime(KivTime* time) = 0;
  virtual KivResult SetTime(KivTime time) = 0;
};

// One decoded picture, packed RGB24 rows of `stride` bytes. Valid only
// during the sink's call.
struct KivVideoFrame {
  int32_t width = 0;
  int32_t height = 0;
  int32_t stride = 0;
  const uint8_t* pixels = nullptr;
  KivTime position = 0;  // on the player's timeline
  KivBool blank = KIV_FALSE;  // no clip covers the position
};

struct IKivVideoFrameSink : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{E5F19E9C-0311-4768-96CB-588D40168036}");
  virtual void OnVideoFrame(IKivClipPlayer* player, const KivVideoFrame& frame) = 0;
};

// Offered beside IKivClipPlayer by a windowless player.
struct IKivWindowlessClipPlayer : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{2EFF555F-46B2-46EA-869A-1EB36C415C09}");
  // Where frames go; null stops them.
  virtual KivResult SetFrameSink(IKivVideoFrameSink* sink) = 0;
  // The text of the choices made in building the player.
  virtual KivResult GetLog(std::u16string* log) = 0;
};

// Writes `frame` as a PNG file (FFmpeg's encoder). E_INVALIDARG for an empty
// frame, E_FAIL when the file can't be written.
[[nodiscard]] KivResult KivWriteVideoFramePng(const KivVideoFrame& frame, const std::u16string& path);

}  // namespace velmar
