#include "media/clip_routes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <tuple>

#include "frame_sink.h"
#include "media/clip_manager.h"
#include "media/distance_route.h"
#include "media/dynamic_timestamp.h"
#include "media/media_channel_player.h"
#include "support/fixtures.h"
#include "support/temp_dir.h"
#include "velmar/sample_clip.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

class FrameTimeCases : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: a clip (start, frame records [time, number]), its start in
// outing time and a span; the frame times inside and the first frame.
TEST_P(FrameTimeCases, WalksTheFrameTableInsideTheSpan) {
  const nlohmann::json c = ReadFixture(GetParam());
  ClipSource clip{u"clip.mp4", c["clipStart"].get<KivTime>(), 0, {}};
  for (const auto& f : c["frames"]) clip.frames.push_back({f[0].get<KivTime>(), f[1].get<uint32_t>(), {}});
  const FrameTimes got = FrameTimesInRegion(clip, c["base"], c["spanStart"], c["spanEnd"]);
  EXPECT_EQ(got.times, c["times"].get<std::vector<KivTime>>());
  EXPECT_EQ(got.firstFrame, c["firstFrame"].get<uint32_t>());
}

INSTANTIATE_TEST_SUITE_P(Cases, FrameTimeCases, FixtureCases("media/frame_times"), FixtureName);

TEST(PlainRoute, PlacesClipsOnTheSpanAndSkipsThoseOutside) {
  const KivTime s = kTicksPerSecond;
  std::vector<ClipSource> clips = {
      {u"before.mp4", 0, 5 * s, {}},
      {u"table.mp4", 20 * s, 30 * s, {{21 * s, 0, {}}, {29 * s, 200, {}}}},
      {u"", 12 * s, 14 * s, {}},  // no path: not played
      {u"user.mp4", 15 * s, 40 * s, {{0, 0, {}}}},  // one record of zeros: no table
      {u"after.mp4", 61 * s, 70 * s, {}},
  };
  // The outing's offset of 2 s moves every clip; the span is 10 s to 60 s.
  const auto planned = PlainRoute(clips, 2 * s, 10 * s, 60 * s);
  using Placed = std::tuple<std::string, KivTime, KivTime, int64_t>;  // the table's first frame, -1 for none
  std::vector<Placed> got;
  for (const PlannedClip& p : planned) {
    got.emplace_back(WideToUtf8(p.path), p.position, p.length, p.timestamp ? int64_t{p.timestamp->first_frame()} : -1);
  }
  // table.mp4 stands at its place plus its first frame time; user.mp4 has no table.
  EXPECT_EQ(got, (std::vector<Placed>{{"table.mp4", 13 * s, 8 * s, 0}, {"user.mp4", 7 * s, 25 * s, -1}}));
}

TEST(MediaDiagnostics, NamesBadFrameTablesMissingFilesAndTheClipsInTheSpan) {
  const KivTime s = kTicksPerSecond;
  std::vector<ClipSource> clips = {
      {u"/nonexistent/0001000.kvmedia", 0, 10 * s, {{0, 0, {}}, {5 * s, 100, {}}, {4 * s, 90, {}}}},
      {u"", 20 * s, 30 * s, {}},
      {u"/nonexistent/later.mp4", 200 * s, 210 * s, {}},
  };
  MediaChannelFacts facts;
  facts.clips = MediaChannelFacts::Clips::kLoaded;
  facts.spanStart = 0;
  facts.spanEnd = 100 * s;
  facts.lastLog = u"Using FFmpeg decoder \"h264\".\r\n";
  const std::u16string text = MediaDiagnostics(facts, clips);
  EXPECT_NE(text.find(u"The frame time information for clip 1 is invalid at time 00:00:04"), std::u16string::npos);
  EXPECT_NE(text.find(u"The frame index information for clip 1 is invalid at time 00:00:04"), std::u16string::npos);
  EXPECT_NE(text.find(u"2 clip(s) will be displayed in the current time region (00:00:00"), std::u16string::npos);
  EXPECT_NE(text.find(u"Missing video file: /nonexistent/0001000.kvmedia\r\n"), std::u16string::npos);
  EXPECT_NE(text.find(u"Missing video file: Unknown\r\n"), std::u16string::npos);
  EXPECT_EQ(text.find(u"later.mp4"), std::u16string::npos) << "outside the span";
  EXPECT_TRUE(text.ends_with(facts.lastLog));
  facts.clips = MediaChannelFacts::Clips::kFailed;
  EXPECT_NE(MediaDiagnostics(facts, {}).find(u"No data available for this Media Channel.\r\n"), std::u16string::npos);
}

class TimestampCases : public ::testing::TestWithParam<std::filesystem::path> {};

// Each file: a frame table (adjusted times, source times, first frame) and
// calls [name, argument, answer]; an answer that is a text is the code of
// a refusal.
TEST_P(TimestampCases, AnswersEachCall) {
  const nlohmann::json c = ReadFixture(GetParam());
  auto ts = MakeKiv<CDynamicTimestamp>(c["adjusted"].get<std::vector<KivTime>>(),
                                       c["source"].get<std::vector<KivTime>>(), c["first"].get<uint32_t>());
  for (const nlohmann::json& call : c["calls"]) {
    const std::string name = call[0];
    const KivTime at = call[1].is_null() ? 0 : call[1].get<KivTime>();
    KivTime a = 0, b = 0;
    uint32_t frame = 0;
    KivBool enabled = KIV_TRUE;
    KivResult r = S_OK;
    nlohmann::json got = {a, b};
    if (name == "time_to_frame") r = ts->TimeToFrame(at, &frame), got = frame;
    if (name == "frame_to_times") r = ts->FrameToTimes(static_cast<int32_t>(at), &a, &b);
    if (name == "source_to_frame_times") r = ts->SourceToFrameTimes(at, &a, &b);
    if (name == "range") r = ts->GetRange(&a, &b);  // the end and the length
    if (name == "adjusted_to_source") r = ts->AdjustedToSource(at, &a), got = a;
    if (name == "source_frame") got = ts->SourceFrame(at);
    if (name == "enabled") r = ts->IsEnabled(&enabled), got = FromKivBool(enabled);
    if (got.is_array()) got = {a, b};
    char code[9];
    std::snprintf(code, sizeof code, "%08x", static_cast<uint32_t>(r));
    EXPECT_EQ(r == S_OK ? got : nlohmann::json(code), call[2]) << call;
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, TimestampCases, FixtureCases("media/timestamps"), FixtureName);

// The distance-adjusted route on clips made here: two laps driven
// differently, each with its own video, shown against a third lap. At any
// time of the third lap both players must show the frame taken where that
// lap is on the circuit, whatever the speeds.
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
    ComPtr<LastFrame> sink;
    auto player = PlayerShowing(SteadyPlayerClock(), &sink);
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
