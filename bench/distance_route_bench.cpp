// The distance route's planning cost: an hour of onboard video at 25 fps
// (90,000 frames) laid onto another outing by distance, both distance
// channels at 100 Hz. Each frame asks both outings once; the route must
// stay well under the time a user waits for a player.
#include <benchmark/benchmark.h>

#include <cmath>

#include "media/distance_route.h"

namespace velmar {
namespace {

constexpr KivTime kS = kTicksPerSecond;

DistanceTrace Trace(double speed, double wobble) {
  std::vector<KivTime> times;
  std::vector<double> values;
  double d = 0;
  for (KivTime t = 0; t <= 3700 * kS; t += kS / 100) {
    times.push_back(t);
    values.push_back(d);
    d += (speed + wobble * std::sin(static_cast<double>(t) / kS / 7.0)) / 100.0;
  }
  return DistanceTrace(std::move(times), std::move(values));
}

void BM_PlanAnHourByDistance(benchmark::State& state) {
  const DistanceTrace own = Trace(60, 20), active = Trace(62, 15);
  const std::vector<ClipSource> clips{{u"onboard.mp4", 0, 3600 * kS, {{0, 0, {}}, {3600 * kS, 90000, {}}}}};
  const DistanceSpans spans{0, 3600 * kS, 0, 3500 * kS, 0, 3700 * kS, 0};
  DistanceFrame frame;
  if (PrepareDistanceRoute(&own, &active, spans, &frame) != DistancePreparation::kReady) state.SkipWithError("no route");
  size_t frames = 0;
  for (auto _ : state) {
    DistanceRoute route = PlanDistanceRoute(clips, frame, [](const std::u16string&) { return true; });
    frames += route.planned.empty() ? 0 : route.planned.front().timestamp->last_frame() + 1;
    benchmark::DoNotOptimize(route);
  }
  state.counters["frames/s"] = benchmark::Counter(static_cast<double>(frames), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_PlanAnHourByDistance)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace velmar

BENCHMARK_MAIN();
