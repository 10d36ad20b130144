// The distance-adjusted route on clips made here: two laps driven
// differently, each with its own video, shown against a third lap. At any
// time of the third lap both players must show the frame taken where that
// lap is on the circuit, whatever the speeds.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "media/clip_manager.h"
#include "media/distance_route.h"
#include "media/media_channel_player.h"
#include "support/temp_dir.h"
#include "velmar/sample_clip.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

constexpr KivTime kS = kTicksPerSecond;
constexpr KivTime kFrame = kS / 25;

double Seconds(KivTime t) { return static_cast<double>(t) / kS; }

// A lap's distance in metres as a function of seconds, sampled at 100 Hz over 10 s.
DistanceTrace Trace(const std::function<double(double)>& distance) {
  std::vector<KivTime> times;
  std::vector<double> values;
  for (KivTime t = 0; t <= 10 * kS; t += kS / 100) {
    times.push_back(t);
    values.push_back(distance(Seconds(t)));
  }
  return DistanceTrace(std::move(times), std::move(values));
}

class FrameNumber final : public KivObject<IKivVideoFrameSink> {
 public:
  void OnVideoFrame(IKivClipPlayer*, const KivVideoFrame& frame) override {
    number = KivSampleClipFrameNumber(frame);
  }
  int32_t number = -1;
};

struct Lap {
  std::function<double(double)> distance;
  KivTime spanStart, spanEnd;
};

TEST(DistanceRoute, KeepsTwoLapsVideosAtTheSameCircuitPoint) {
  TempDir dir;
  const std::u16string clip = Utf8ToWide((dir / "onboard.mp4").string());
  ASSERT_EQ(KivWriteSampleClip(clip, {8.0, 160, 96, 25, 1.0}), S_OK);
  // Active lap: fast, then braking; measured from 0.5 s to 6 s.
  const auto activeDistance = [](double t) { return 60 * t - 2 * t * t; };
  const DistanceTrace active = Trace(activeDistance);
  const Lap laps[] = {{[](double t) { return 40 * t; }, 1 * kS, 9 * kS},
                      {[](double t) { return 20 * t + 4 * t * t; }, 1 * kS, 7 * kS}};
  for (const Lap& lap : laps) {
    const DistanceTrace own = Trace(lap.distance);
    DistanceFrame frame;
    const DistanceSpans spans{lap.spanStart, lap.spanEnd, kS / 2, 6 * kS, 0, 10 * kS, 0};
    ASSERT_EQ(PrepareDistanceRoute(&own, &active, spans, &frame), DistancePreparation::kReady);
    // The recorder's table: frame 0 at the outing's start, 25 a second.
    const std::vector<ClipSource> clips{{clip, 0, 8 * kS, {{0, 0, {}}, {8 * kS, 200, {}}}}};
    DistanceRoute route = PlanDistanceRoute(clips, frame, ClipFileExists);
    ASSERT_EQ(route.planned.size(), 1u);
    auto player = MakeKiv<CClipManager>(SteadyPlayerClock(), false);
    auto sink = MakeKiv<FrameNumber>();
    ASSERT_EQ(player->SetFrameSink(sink.Get()), S_OK);
    PlannedClip& p = route.planned.front();
    ASSERT_EQ(player->AddClip(p.path, p.timestamp, p.position, p.length, 0), S_OK) << player->log();
    const double ownStart = lap.distance(Seconds(lap.spanStart));
    for (KivTime at = 0; at < 55 * kS / 10; at += 3 * kS / 10) {
      ASSERT_EQ(player->SetTime(at), S_OK);
      ASSERT_GE(sink->number, 0) << "at " << Seconds(at);
      const double wanted = activeDistance(Seconds(kS / 2 + at)) - activeDistance(0.5);
      const double shown = lap.distance(Seconds(sink->number * kFrame)) - ownStart;
      const double frameTravel = lap.distance(Seconds((sink->number + 1) * kFrame)) - ownStart - shown;
      // The frame shown is the last one taken at or before the distance.
      EXPECT_LE(shown, wanted + 0.01) << "at " << Seconds(at);
      EXPECT_GT(shown + frameTravel + 0.01, wanted) << "at " << Seconds(at);
    }
  }
}

TEST(DistanceRoute, SkipsClipsWithoutFileOrDistanceAndNamesThem) {
  const DistanceTrace own = Trace([](double t) { return t < 3 ? -1 : 10 * t; });
  const DistanceTrace active = Trace([](double t) { return 10 * t; });
  std::vector<ClipSource> clips{{u"", 0, kS, {}},
                                {u"/nonexistent/0001000.kvmedia", kS, 2 * kS, {}},
                                {u"here.mp4", -30 * kS, -20 * kS, {{-30 * kS, 0, {}}, {-20 * kS, 250, {}}}},
                                {u"late.mp4", 9 * kS, 10 * kS, {{9 * kS, 0, {}}, {10 * kS, 25, {}}}}};
  const auto exists = [](const std::u16string& path) { return path.ends_with(u".mp4"); };
  DistanceFrame frame;
  DistanceSpans spans{3 * kS, 5 * kS, 1 * kS, 2 * kS, -100 * kS, 100 * kS, 0};
  ASSERT_EQ(PrepareDistanceRoute(&own, &active, spans, &frame), DistancePreparation::kReady);
  const DistanceRoute route = PlanDistanceRoute(clips, frame, exists);
  using Fate = DistanceRoute::Fate;
  EXPECT_EQ(route.fates, (std::vector<Fate>{Fate::kNoFile, Fate::kNoFile, Fate::kNoDistance, Fate::kOutside}));
  EXPECT_TRUE(route.distanceMissing);

  MediaChannelFacts facts;
  facts.clips = MediaChannelFacts::Clips::kLoaded;
  facts.byDistance = true;
  facts.route = route;
  const std::u16string text = MediaDiagnostics(facts, clips);
  EXPECT_NE(text.find(u"Missing video file: Unknown\r\nMissing video file: /nonexistent/0001000.kvmedia\r\n"),
            std::u16string::npos);
  EXPECT_NE(text.find(u"The Distance Channel was unable to supply distance data for all clips.\r\n"
                      u"0 clip(s) will be displayed with distance adjustment.\r\n"),
            std::u16string::npos);
  facts.preparation = PrepareDistanceRoute(&own, nullptr, spans, &frame);
  EXPECT_NE(MediaDiagnostics(facts, clips).find(u"no data for whole of the active Outing.\r\n"), std::u16string::npos);
  facts.preparation = PrepareDistanceRoute(nullptr, &active, spans, &frame);
  EXPECT_NE(MediaDiagnostics(facts, clips).find(u"for the whole of the control's Outing.\r\n"), std::u16string::npos);
}

TEST(DistanceRoute, ReversingNeverMakesAdjustedTimesFall) {
  // The own lap backs up between 2 s and 3 s.
  const DistanceTrace own = Trace([](double t) { return t < 2 ? 10 * t : t < 3 ? 20 - 5 * (t - 2) : 15 + 10 * (t - 3); });
  const DistanceTrace active = Trace([](double t) { return 10 * t; });
  DistanceFrame frame;
  DistanceSpans spans{0, 8 * kS, 0, 8 * kS, 0, 10 * kS, 0};
  ASSERT_EQ(PrepareDistanceRoute(&own, &active, spans, &frame), DistancePreparation::kReady);
  const std::vector<ClipSource> clips{{u"a.mp4", 0, 8 * kS, {{0, 0, {}}, {8 * kS, 200, {}}}}};
  const DistanceRoute route = PlanDistanceRoute(clips, frame, [](const std::u16string&) { return true; });
  ASSERT_EQ(route.planned.size(), 1u);
  const CDynamicTimestamp& ts = *route.planned.front().timestamp;
  KivTime previous = -1;
  for (uint32_t f = ts.first_frame(); f <= ts.last_frame(); ++f) {
    KivTime start = 0, end = 0;
    ASSERT_EQ(ts.FrameToTimes(static_cast<int32_t>(f), &start, &end), S_OK);
    EXPECT_GE(start, previous) << "frame " << f;
    previous = start;
  }
  // 19 m is first passed at 1.9 s (frame 47); 22 m only after the car
  // has backed up and come again, at 3.7 s (frame 92).
  for (auto [at, wanted] : {std::pair{19 * kS / 10, 47u}, std::pair{22 * kS / 10, 92u}}) {
    KivTime source = 0;
    ASSERT_EQ(ts.AdjustedToSource(ts.first_time() + at, &source), S_OK);
    EXPECT_EQ(ts.SourceFrame(source), wanted);
  }
}

}  // namespace
}  // namespace velmar::testing
