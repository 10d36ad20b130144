// Video in step with the data: frame-accurate seeks in a 10-minute 1280x720
// 25 fps clip with a keyframe every 2 s (made once, kept in the temp
// folder), how many frames a second a player delivers running at 8x, and
// the playback controller's own clock against the manual clock.
//
// Goals: seek p99 <= 100 ms; at 8x at least 8 x 25 frames a second with no
// frame dropped; a position error of 0 ticks after 60 simulated seconds.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <random>
#include <thread>
#include <vector>

#include "media/clip_manager.h"
#include "platform/async/dispatcher.h"
#include "platform/async/job_engine.h"
#include "sources/text/text_outing_source.h"
#include "tasks/playback_controller.h"
#include "tasks/task.h"
#include "velmar/sample.h"
#include "velmar/sample_clip.h"
#include "velmar/text.h"

namespace velmar {
namespace {

constexpr KivTime kS = kTicksPerSecond;
constexpr double kClipSeconds = 600.0;

std::u16string Clip() {
  const auto path = std::filesystem::temp_directory_path() / "velmar_media_bench_600s_720p.mp4";
  if (!std::filesystem::exists(path) &&
      Failed(KivWriteSampleClip(Utf8ToWide(path.string()), {kClipSeconds, 1280, 720, 25, 2.0}))) {
    std::abort();
  }
  return Utf8ToWide(path.string());
}

class Counter final : public KivObject<IKivVideoFrameSink> {
 public:
  void OnVideoFrame(IKivClipPlayer*, const KivVideoFrame& frame) override {
    last = KivSampleClipFrameNumber(frame);
    ++frames;
  }
  std::atomic<int64_t> frames{0};
  std::atomic<int32_t> last{-1};
};

ComPtr<CClipManager> Player(std::shared_ptr<PlayerClock> clock, Counter* sink, bool render) {
  auto player = MakeKiv<CClipManager>(std::move(clock), render);
  if (Failed(player->AddClip(Clip(), nullptr, 0, static_cast<KivTime>(kClipSeconds * kS), 0)) ||
      Failed(player->SetFrameSink(sink))) {
    std::abort();
  }
  return player;
}

// 200 seeks to random times, each until its frame is delivered (and checked).
void BM_SeekRandom(benchmark::State& state) {
  auto sink = MakeKiv<Counter>();
  auto player = Player(std::make_shared<ManualPlayerClock>(), sink.Get(), false);
  std::mt19937 random(7);
  std::vector<double> ms;
  for (auto _ : state) {
    ms.clear();
    for (int i = 0; i < 200; ++i) {
      const KivTime at = std::uniform_int_distribution<KivTime>(0, static_cast<KivTime>(kClipSeconds * kS) - 1)(random);
      const auto t0 = std::chrono::steady_clock::now();
      if (Failed(player->SetTime(at)) || sink->last != at / (kS / 25)) state.SkipWithError("wrong frame");
      ms.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0).count());
    }
  }
  std::sort(ms.begin(), ms.end());
  state.counters["median_ms"] = ms[ms.size() / 2];
  state.counters["p99_ms"] = ms[ms.size() * 99 / 100];
}
BENCHMARK(BM_SeekRandom)->Unit(benchmark::kMillisecond)->Iterations(1);

// A running player at 8x on the steady clock for 5 s of real time.
void BM_PlayAt8x(benchmark::State& state) {
  auto sink = MakeKiv<Counter>();
  auto player = Player(SteadyPlayerClock(), sink.Get(), true);
  for (auto _ : state) {
    (void)player->SetTime(60 * kS);
    (void)player->SetRate(5);
    sink->frames = 0;
    const auto t0 = std::chrono::steady_clock::now();
    (void)player->Run();
    std::this_thread::sleep_for(std::chrono::seconds(5));
    KivTime reached = 0;
    (void)player->GetTime(&reached);
    (void)player->Pause();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    const int64_t shown = sink->frames;
    const int64_t due = (std::min(reached, KivTime{60 * kS} + 8 * 5 * kS) - 60 * kS) / (kS / 25);
    state.counters["frames_per_s"] = static_cast<double>(shown) / seconds;
    state.counters["goal_frames_per_s"] = 8.0 * 25.0;
    state.counters["frames_due"] = static_cast<double>(due);
    state.counters["frames_shown"] = static_cast<double>(shown);
  }
}
BENCHMARK(BM_PlayAt8x)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime();

// The controller's own clock: 60 simulated seconds at each rate code.
void BM_PlaybackClockError(benchmark::State& state) {
  if (Failed(RegisterTextOutingSource())) std::abort();
  ManualClock clock;
  Dispatcher dispatcher(&clock);
  Dispatcher::ScopedCurrent current(dispatcher);
  ComPtr<IKivStorage> storage;
  ComPtr<CTask> task;
  ComPtr<IKivOuting> outing;
  DataSelectionList added;
  const auto path = std::filesystem::temp_directory_path() / "velmar_media_bench.txt";
  if (Failed(KivWriteSampleOuting(Utf8ToWide(path.string()), {10, 10.0, 1})) ||
      Failed(StgCreateMemoryStorage(storage.Put())) || Failed(CreateTask(&task)) ||
      Failed(task->InitNew(storage.Get())) || Failed(OpenTextOuting(Utf8ToWide(path.string()), false, &outing)) ||
      Failed(task->Update(kTaskAddSelections, nullptr, 1, 0, u"", u"", 0, u"", 0, KIV_FALSE, 1, &added)) ||
      Failed(added.front()->Update(kSelectionOuting, outing.Get(), nullptr, 0, 0, 0, KIV_FALSE))) {
    std::abort();
  }
  (void)Async_RunUntilSettled(dispatcher, std::chrono::seconds(60));
  if (Failed(added.front()->Update(kSelectionSpan, nullptr, nullptr, 0, 0, 1000 * kS, KIV_FALSE))) std::abort();
  auto controller = MakeKiv<CPlaybackController>(dispatcher);
  controller->Attach(task.Get());
  KivTime worst = 0;
  for (auto _ : state) {
    for (int32_t code : kAllRateCodes) {
      (void)controller->Pause();
      (void)controller->SetRate(code);
      (void)controller->SetPosition(500 * kS);
      (void)controller->Play();
      dispatcher.RunFor(std::chrono::seconds(60));
      KivTime at = 0;
      (void)controller->GetPosition(&at);
      worst = std::max(worst, std::abs(at - (500 * kS + static_cast<KivTime>(*RateFactor(code) * 60 * kS))));
    }
  }
  state.counters["worst_error_ticks"] = static_cast<double>(worst);
  (void)task->Close();
}
BENCHMARK(BM_PlaybackClockError)->Iterations(1);

}  // namespace
}  // namespace velmar

BENCHMARK_MAIN();
