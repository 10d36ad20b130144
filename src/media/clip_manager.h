// CClipManager: the clip player. It turns the clips a media channel gives
// into one video on a timeline from 0, shows the frame of any time asked
// (frame-accurate, see ClipDecoder), and plays at a rate by a clock that it
// shares with its slaves, so that several players stay in step. Gaps
// between clips show a blank (black) frame.
//
// Frames go to the host's sink (IKivWindowlessClipPlayer::SetFrameSink):
// SetTime and Step deliver theirs on the calling thread, a running player
// on its render thread. While running, the render thread hands over every
// frame in order and drops frames only when it falls more than half a
// second behind the clock. The sink must not call the player back.
//
// Threads: the interface belongs to the client thread; the render thread
// reads the clock state and the clips under the player's locks.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "media/clip_list.h"
#include "media/player_clock.h"
#include "velmar/audio_sink.h"
#include "velmar/clip_player.h"

namespace velmar {

// What a primary player asks of its slaves (players of this library only).
struct IKivClockedPlayer : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{F60DF26E-592A-4B66-8375-5C6649487B38}");
  virtual void UseClock(std::shared_ptr<PlayerClock> clock) = 0;
  // Runs from the paused position once the clock reaches `clockTime`.
  virtual KivResult RunAt(KivTime clockTime) = 0;
};

// The player's state code for a wrong call (no clips, or running).
inline constexpr KivResult VFW_E_WRONG_STATE = Code(0x80040227);

class CClipManager final
    : public KivObject<IKivClipPlayer, IKivWindowlessClipPlayer, IKivClockedPlayer, IKivAudioClipPlayer> {
 public:
  // `renderThread` false: nothing plays by itself, PresentNow does it (tests).
  explicit CClipManager(std::shared_ptr<PlayerClock> clock = SteadyPlayerClock(), bool renderThread = true);

  // A clip at `position` on the timeline, `length` long, from `start` in its
  // file; `timestamp` its frame table, or null. VFW_E_WRONG_STATE while
  // running; E_FAIL when the file can't be opened (the log says why).
  KivResult AddClip(const std::u16string& path, ComPtr<CDynamicTimestamp> timestamp, KivTime position,
                    KivTime length, KivTime start);
  void SetAdjustForDistance(bool adjust) { adjustForDistance_ = adjust; }
  bool adjust_for_distance() const { return adjustForDistance_; }
  const std::string& log() const { return log_; }
  size_t clip_count() const { return clips_.size(); }

  // Shows the frame of the current time now, and hands the sound up to it
  // (what the render thread does).
  void PresentNow();

  // IKivClipPlayer
  KivResult Run() override;
  KivResult Pause() override;
  KivResult Step(int32_t frames) override;
  KivResult GetState(uint32_t wait, uint32_t* state) override;
  KivResult GetRates(IKivPlaybackRates** rates) override;
  KivResult SetRate(int32_t code) override;
  KivResult SetRange(KivTime start, KivTime duration) override;
  KivResult Stop() override;
  KivResult AddSlave(IKivClipPlayer* slave) override;
  KivResult RemoveSlave(IKivClipPlayer* slave) override;
  KivResult GetTime(KivTime* time) override;
  KivResult SetTime(KivTime time) override;

  // IKivWindowlessClipPlayer
  KivResult SetFrameSink(IKivVideoFrameSink* sink) override;
  KivResult GetLog(std::u16string* log) override;

  // IKivAudioClipPlayer
  KivResult SetAudioSink(IKivAudioSink* sink) override;

  // IKivClockedPlayer
  void UseClock(std::shared_ptr<PlayerClock> clock) override;
  KivResult RunAt(KivTime clockTime) override;

 protected:
  ~CClipManager() override;

 private:
  KivTime CurrentTime() const;  // REQUIRES: stateMutex_ held
  KivTime Limit() const;        // REQUIRES: stateMutex_ held
  KivTime TimeNow() const;
  // Shows the frame at `time` unless it is the one shown last.
  void Present(KivTime time);
  void DeliverBlank(KivTime time);
  // Hands the sound from where it stopped up to `now` when running at 1x.
  void PumpAudio(KivTime now, double factor);
  // One block of sound from `time`; false for silence.
  bool ReadAudio(KivTime time, int16_t* out);
  void RenderLoop(std::stop_token stop);
  void StopRendering();
  void PauseSelf();
  template <class F>
  KivResult ForEachSlave(F&& f);

  const bool renderThread_;
  bool adjustForDistance_ = false;
  std::string log_;
  std::vector<ComPtr<IKivClipPlayer>> slaves_;

  mutable std::mutex stateMutex_;
  std::shared_ptr<PlayerClock> clock_;
  uint32_t state_ = kClipPlayerStopped;
  KivTime pausedAt_ = 0;
  KivTime anchorClock_ = 0;
  KivTime anchorTime_ = 0;
  double factor_ = 1.0;
  int32_t rate_ = 2;
  KivTime range_ = -1;  // none set

  std::mutex renderMutex_;  // the clips, their decoders and what was shown
  CClipList clips_;
  ComPtr<IKivVideoFrameSink> sink_;
  DecodedFrame frame_;
  const ClipEntry* shownClip_ = nullptr;
  KivTime shownFileTime_ = -1;
  bool shownBlank_ = false;
  KivTime shownAt_ = 0;
  std::vector<uint8_t> black_;
  ComPtr<IKivAudioSink> audioSink_;
  KivTime audioAt_ = -1;           // where the sound stopped; -1 starts it at the picture
  const ClipEntry* audioClip_ = nullptr;  // the clip the last block came from
  KivTime audioFileTime_ = 0;      // and where in its file it ended
  std::vector<int16_t> audioBlock_;

  std::condition_variable_any wake_;
  std::jthread render_;
};

}  // namespace velmar
