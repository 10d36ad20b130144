// The sound of a clip player: while it runs forwards at 1x, a player hands
// the clips' audio (and silence in gaps, or for a clip without sound) to
// the host's IKivAudioSink as 16-bit PCM, 48 kHz stereo, in the order of its
// timeline. At other rates, paused or stepping it is silent, as a video
// player's sound is. The calls come on the player's render thread.
//
// A host with a sound device writes a sink that queues the blocks to the
// device; KivCreateWavAudioSink is a sink that writes them to a WAV file.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/clip_player.h"

namespace velmar {

inline constexpr int32_t kKivAudioRate = 48000;
inline constexpr int32_t kKivAudioChannels = 2;

// `frames` frames of interleaved samples, valid only during the call.
struct KivAudioBlock {
  const int16_t* samples = nullptr;
  int32_t frames = 0;
  KivTime position = 0;       // the first frame's place on the player's timeline
  KivBool silence = KIV_FALSE;  // no clip with sound covers the block
};

struct IKivAudioSink : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{5B0D3F6E-7C41-4E7A-9D2B-3A8E61C4F7D2}");
  virtual void OnAudio(IKivClipPlayer* player, const KivAudioBlock& block) = 0;
};

// On the windowless players of this library.
struct IKivAudioClipPlayer : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{A4C2E9B1-58D3-4F06-B7E1-0C9D2F6A83B5}");
  // Null stops the sound.
  virtual KivResult SetAudioSink(IKivAudioSink* sink) = 0;
};

// A sink that writes every block to a 16-bit PCM WAV file at `path`; the
// file's sizes are brought up to date after each block, so the file is
// whole whenever it is read. E_FAIL when the file can't be made.
[[nodiscard]] KivResult KivCreateWavAudioSink(const std::u16string& path, IKivAudioSink** sink);

}  // namespace velmar
