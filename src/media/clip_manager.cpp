#include "media/clip_manager.h"

#include <algorithm>
#include <chrono>

#include "media/playback_rates.h"
#include "velmar/text.h"

namespace velmar {
namespace {

// Players start together this long after Run, so that each is ready.
constexpr KivTime kStartDelay = 1'000'000;
// A frame's length where no clip says (a gap).
constexpr KivTime kGapFrame = 400'000;
// Further behind the clock than this, the render thread jumps.
constexpr KivTime kMaxLag = kTicksPerSecond / 2;

// Sound goes out in blocks of 10 ms, a whole number of ticks and frames.
constexpr KivTime kAudioBlock = kTicksPerSecond / 100;
constexpr int32_t kAudioBlockFrames = kKivAudioRate / 100;

// The frame size of a blank when no clip gives one.
constexpr int32_t kBlankWidth = 640;
constexpr int32_t kBlankHeight = 360;

}  // namespace

CClipManager::CClipManager(std::shared_ptr<PlayerClock> clock, bool renderThread)
    : renderThread_(renderThread), clock_(std::move(clock)) {}

CClipManager::~CClipManager() { StopRendering(); }

KivResult CClipManager::AddClip(const std::u16string& path, ComPtr<CDynamicTimestamp> timestamp, KivTime position,
                                KivTime length, KivTime start) {
  {
    std::lock_guard lock(stateMutex_);
    if (state_ == kClipPlayerRunning) return VFW_E_WRONG_STATE;
  }
  std::lock_guard lock(renderMutex_);
  const bool first = clips_.empty();
  ClipEntry entry{path, position, length, start, std::move(timestamp), nullptr, {}, nullptr};
  std::string failure;
  if (Failed(clips_.Add(std::move(entry), &failure))) {
    log_ += "Failed to create Clip.\r\n" + failure;
    return E_FAIL;
  }
  const ClipEntry* added = nullptr;
  for (size_t i = 0; i < clips_.size(); ++i) {
    if (clips_.at(i).path == path && clips_.at(i).position == position) added = &clips_.at(i);
  }
  if (first) {
    // The output is set up for the first clip's picture.
    std::string format = added->decoder->pixel_format();
    std::transform(format.begin(), format.end(), format.begin(), [](unsigned char c) { return std::toupper(c); });
    log_ += "Media type: " + format + ".\r\n";
    if (!added->decoder->has_audio()) log_ += "No audio found.\r\n";
    black_.assign(static_cast<size_t>(added->decoder->width()) * added->decoder->height() * 3, 0);
  }
  log_ += added->log;
  return S_OK;
}

KivTime CClipManager::TimeNow() const {
  std::lock_guard lock(stateMutex_);
  return CurrentTime();
}

KivTime CClipManager::Limit() const { return range_ >= 0 ? range_ : clips_.end(); }

KivTime CClipManager::CurrentTime() const {
  if (state_ == kClipPlayerStopped) return 0;
  KivTime t = pausedAt_;
  if (state_ == kClipPlayerRunning) {
    const KivTime elapsed = std::max<KivTime>(clock_->Now() - anchorClock_, 0);
    t = anchorTime_ + static_cast<KivTime>(static_cast<double>(elapsed) * factor_);
  }
  return std::clamp<KivTime>(t, 0, std::max<KivTime>(Limit(), 0));
}

void CClipManager::DeliverBlank(KivTime time) {
  if (shownBlank_) return;
  const size_t size = black_.empty() ? static_cast<size_t>(kBlankWidth) * kBlankHeight * 3 : black_.size();
  if (black_.size() != size) black_.assign(size, 0);
  const bool sized = clips_.empty();
  const int32_t width = sized ? kBlankWidth : clips_.at(0).decoder->width();
  const int32_t height = sized ? kBlankHeight : clips_.at(0).decoder->height();
  shownBlank_ = true;
  shownClip_ = nullptr;
  if (sink_) sink_->OnVideoFrame(this, {width, height, width * 3, black_.data(), time, KIV_TRUE});
}

void CClipManager::Present(KivTime time) {
  std::lock_guard lock(renderMutex_);
  shownAt_ = time;
  ClipSpot spot = clips_.Locate(time);
  if (!spot.clip) return DeliverBlank(time);
  // A file that went or broke blanks its clip and leaves the others playing.
  if (!spot.clip->decoder->FileStillThere() || Failed(spot.clip->decoder->FrameAt(spot.fileTime, &frame_))) {
    return DeliverBlank(time);
  }
  if (!shownBlank_ && shownClip_ == spot.clip && shownFileTime_ == frame_.time) return;
  shownClip_ = spot.clip;
  shownFileTime_ = frame_.time;
  shownBlank_ = false;
  if (sink_) {
    sink_->OnVideoFrame(this, {frame_.width, frame_.height, frame_.width * 3, frame_.rgb.data(), time, KIV_FALSE});
  }
}

void CClipManager::PresentNow() {
  KivTime now = 0;
  double factor = 0.0;
  {
    std::lock_guard lock(stateMutex_);
    now = CurrentTime();
    factor = state_ == kClipPlayerRunning ? factor_ : 0.0;
  }
  Present(now);
  PumpAudio(now, factor);
}

bool CClipManager::ReadAudio(KivTime time, int16_t* out) {
  ClipSpot spot = clips_.Locate(time);
  // A clip's last picture stands at its end; its sound ends there.
  ClipEntry* clip = spot.clip && time < spot.clip->position + spot.clip->length ? spot.clip : nullptr;
  // Distance-adjusted pictures run at the other outing's pace: no sound fits them.
  if (!clip || !clip->audio || (clip->timestamp && clip->timestamp->has_source()) ||
      !clip->decoder->FileStillThere()) {
    audioClip_ = nullptr;
    return false;
  }
  // Within one clip the sound runs on; entering one it starts at the picture.
  const KivTime fileTime = clip == audioClip_ ? audioFileTime_ : spot.fileTime;
  clip->audio->Read(fileTime, kAudioBlockFrames, out);
  audioClip_ = clip;
  audioFileTime_ = fileTime + kAudioBlock;
  return true;
}

void CClipManager::PumpAudio(KivTime now, double factor) {
  std::lock_guard lock(renderMutex_);
  // Any rate but 1x forwards is silent; the sound starts again from the picture.
  if (!audioSink_ || factor != 1.0 || audioAt_ < 0 || now < audioAt_ || now - audioAt_ > kMaxLag) {
    audioAt_ = factor == 1.0 ? now : -1;
    audioClip_ = nullptr;
    return;
  }
  audioBlock_.resize(static_cast<size_t>(kAudioBlockFrames) * kKivAudioChannels);
  while (now - audioAt_ >= kAudioBlock) {
    const bool sound = ReadAudio(audioAt_, audioBlock_.data());
    if (!sound) std::fill(audioBlock_.begin(), audioBlock_.end(), int16_t{0});
    audioSink_->OnAudio(this, {audioBlock_.data(), kAudioBlockFrames, audioAt_, ToKivBool(!sound)});
    audioAt_ += kAudioBlock;
  }
}

void CClipManager::RenderLoop(std::stop_token stop) {
  std::mutex idle;
  while (!stop.stop_requested()) {
    KivTime now = 0;
    double factor = 1.0;
    {
      std::lock_guard lock(stateMutex_);
      now = CurrentTime();
      factor = factor_;
    }
    KivTime target = now;
    KivTime last = 0;
    {
      std::lock_guard lock(renderMutex_);
      last = shownAt_;
    }
    // Every frame in order while the clock is ahead of the next one.
    const int32_t direction = factor < 0 ? -1 : 1;
    if (std::abs(now - last) <= kMaxLag) {
      KivTime next = 0;
      {
        std::lock_guard lock(renderMutex_);
        next = clips_.StepFrom(last, direction, kGapFrame);
      }
      if ((next - last) * direction > 0 && (now - next) * direction >= 0) target = next;
    }
    Present(target);
    PumpAudio(now, factor);
    if (target == now) {
      std::unique_lock lock(idle);
      wake_.wait_for(lock, stop, std::chrono::milliseconds(2), [] { return false; });
    }
  }
}

void CClipManager::StopRendering() {
  if (render_.joinable()) {
    render_.request_stop();
    render_.join();
  }
}

template <class F>
KivResult CClipManager::ForEachSlave(F&& f) {
  const std::vector<ComPtr<IKivClipPlayer>> slaves = slaves_;
  for (const auto& slave : slaves) {
    if (KivResult r = f(slave.Get()); Failed(r)) return r;
  }
  return S_OK;
}

KivResult CClipManager::Run() {
  if (clips_.empty()) return VFW_E_WRONG_STATE;
  std::shared_ptr<PlayerClock> clock;
  {
    std::lock_guard lock(stateMutex_);
    if (state_ == kClipPlayerRunning) return S_OK;
    clock = clock_;
  }
  // One clock for all: the slaves take this player's.
  (void)ForEachSlave([&](IKivClipPlayer* s) {
    if (auto clocked = QueryAs<IKivClockedPlayer>(s)) clocked->UseClock(clock);
    return S_OK;
  });
  if (KivResult r = Pause(); Failed(r)) return r;
  const KivTime startAt = clock->Now() + kStartDelay;
  if (KivResult r = RunAt(startAt); Failed(r)) return r;
  return ForEachSlave([&](IKivClipPlayer* s) {
    auto clocked = QueryAs<IKivClockedPlayer>(s);
    return clocked ? clocked->RunAt(startAt) : s->Run();
  });
}

KivResult CClipManager::RunAt(KivTime clockTime) {
  {
    std::lock_guard lock(stateMutex_);
    if (state_ == kClipPlayerRunning) return S_OK;
    anchorClock_ = clockTime;
    anchorTime_ = state_ == kClipPlayerStopped ? 0 : pausedAt_;
    state_ = kClipPlayerRunning;
  }
  {
    std::lock_guard lock(renderMutex_);
    audioAt_ = -1;  // the sound starts at the picture, not where it stopped
  }
  if (renderThread_) render_ = std::jthread([this](std::stop_token stop) { RenderLoop(stop); });
  return S_OK;
}

void CClipManager::PauseSelf() {
  StopRendering();
  std::lock_guard lock(stateMutex_);
  pausedAt_ = CurrentTime();
  state_ = kClipPlayerPaused;
}

KivResult CClipManager::Pause() {
  if (clips_.empty()) return VFW_E_WRONG_STATE;
  PauseSelf();
  return ForEachSlave([](IKivClipPlayer* s) { return s->Pause(); });
}

KivResult CClipManager::Stop() {
  StopRendering();
  {
    std::lock_guard lock(stateMutex_);
    state_ = kClipPlayerStopped;
    pausedAt_ = 0;
  }
  return ForEachSlave([](IKivClipPlayer* s) { return s->Stop(); });
}

KivResult CClipManager::Step(int32_t frames) {
  if (clips_.empty()) return VFW_E_WRONG_STATE;
  PauseSelf();
  KivTime to = 0;
  {
    std::lock_guard render(renderMutex_);
    std::lock_guard lock(stateMutex_);
    to = std::clamp<KivTime>(clips_.StepFrom(pausedAt_, frames, kGapFrame), 0, std::max<KivTime>(Limit(), 0));
    pausedAt_ = to;
  }
  Present(to);
  return S_OK;
}

KivResult CClipManager::GetState(uint32_t wait, uint32_t* state) {
  (void)wait;
  if (!state) return E_POINTER;
  std::lock_guard lock(stateMutex_);
  *state = state_;
  return S_OK;
}

KivResult CClipManager::GetRates(IKivPlaybackRates** rates) {
  if (!rates) return E_POINTER;
  auto all = MakeKiv<CPlaybackRates>(std::vector<int32_t>(std::begin(kAllRateCodes), std::end(kAllRateCodes)));
  return GiveOut(static_cast<IKivPlaybackRates*>(all.Get()), rates);
}

KivResult CClipManager::SetRate(int32_t code) {
  const std::optional<double> factor = RateFactor(code);
  if (!factor) return E_FAIL;
  {
    std::lock_guard lock(stateMutex_);
    if (state_ == kClipPlayerRunning) {
      anchorTime_ = CurrentTime();
      anchorClock_ = std::max(clock_->Now(), anchorClock_);
    }
    factor_ = *factor;
    rate_ = code;
  }
  return ForEachSlave([code](IKivClipPlayer* s) { return s->SetRate(code); });
}

KivResult CClipManager::SetRange(KivTime start, KivTime duration) {
  if (start != 0 || duration < 0) return E_INVALIDARG;
  std::lock_guard lock(stateMutex_);
  range_ = duration;
  return S_OK;
}

KivResult CClipManager::AddSlave(IKivClipPlayer* slave) {
  if (!slave) return E_INVALIDARG;
  slaves_.emplace_back(slave);
  return S_OK;
}

KivResult CClipManager::RemoveSlave(IKivClipPlayer* slave) {
  auto gone = std::remove_if(slaves_.begin(), slaves_.end(), [&](const auto& s) { return s.Get() == slave; });
  if (gone == slaves_.end()) return E_FAIL;
  slaves_.erase(gone, slaves_.end());
  return S_OK;
}

KivResult CClipManager::GetTime(KivTime* time) {
  if (!time) return E_POINTER;
  if (clips_.empty()) return VFW_E_WRONG_STATE;
  *time = TimeNow();
  return S_OK;
}

KivResult CClipManager::SetTime(KivTime time) {
  if (clips_.empty()) return VFW_E_WRONG_STATE;
  uint32_t was = kClipPlayerStopped;
  (void)GetState(0, &was);
  PauseSelf();
  KivTime to = 0;
  {
    std::lock_guard lock(stateMutex_);
    to = std::clamp<KivTime>(time, 0, std::max<KivTime>(Limit(), 0));
    pausedAt_ = to;
  }
  Present(to);
  if (KivResult r = ForEachSlave([time](IKivClipPlayer* s) { return s->SetTime(time); }); Failed(r)) return r;
  return was == kClipPlayerRunning ? Run() : S_OK;
}

KivResult CClipManager::SetFrameSink(IKivVideoFrameSink* sink) {
  std::lock_guard lock(renderMutex_);
  sink_ = sink;
  shownClip_ = nullptr;
  shownBlank_ = false;
  return S_OK;
}

KivResult CClipManager::SetAudioSink(IKivAudioSink* sink) {
  std::lock_guard lock(renderMutex_);
  audioSink_ = sink;
  audioAt_ = -1;
  return S_OK;
}

KivResult CClipManager::GetLog(std::u16string* log) {
  if (!log) return E_POINTER;
  *log = Utf8ToWide(log_);
  return S_OK;
}

void CClipManager::UseClock(std::shared_ptr<PlayerClock> clock) {
  std::lock_guard lock(stateMutex_);
  if (state_ != kClipPlayerRunning) clock_ = std::move(clock);
}

}  // namespace velmar
