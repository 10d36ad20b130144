#include "media/clip_routes.h"

#include <gtest/gtest.h>

#include "media/dynamic_timestamp.h"
#include "media/media_channel_player.h"
#include "support/fixtures.h"

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
  ASSERT_EQ(planned.size(), 2u);
  EXPECT_EQ(planned[0].path, u"table.mp4");
  EXPECT_EQ(planned[0].position, 12 * s + 1 * s);  // the clip's place, plus its first frame time
  EXPECT_EQ(planned[0].length, 8 * s);
  ASSERT_TRUE(planned[0].timestamp);
  EXPECT_EQ(planned[0].timestamp->first_frame(), 0u);
  EXPECT_EQ(planned[1].path, u"user.mp4");
  EXPECT_EQ(planned[1].position, 7 * s);
  EXPECT_EQ(planned[1].length, 25 * s);
  EXPECT_FALSE(planned[1].timestamp);
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

TEST(DynamicTimestamp, FramesAndTimesAtTheBoundaries) {
  auto ts = MakeKiv<CDynamicTimestamp>(std::vector<KivTime>{100, 200, 400}, std::vector<KivTime>{}, 7);
  uint32_t frame = 0;
  EXPECT_EQ(ts->TimeToFrame(99, &frame), E_FAIL);
  EXPECT_EQ(ts->TimeToFrame(401, &frame), E_FAIL);
  ASSERT_EQ(ts->TimeToFrame(100, &frame), S_OK);
  EXPECT_EQ(frame, 7u);
  ASSERT_EQ(ts->TimeToFrame(399, &frame), S_OK);
  EXPECT_EQ(frame, 8u);
  ASSERT_EQ(ts->TimeToFrame(400, &frame), S_OK);  // the last time is the last frame, not one beyond
  EXPECT_EQ(frame, 9u);

  KivTime start = 0, end = 0;
  ASSERT_EQ(ts->FrameToTimes(8, &start, &end), S_OK);
  EXPECT_EQ(start, 200);
  EXPECT_EQ(end, 399);
  ASSERT_EQ(ts->FrameToTimes(9, &start, &end), S_OK);  // an instant
  EXPECT_EQ(start, 400);
  EXPECT_EQ(end, 400);
  EXPECT_EQ(ts->FrameToTimes(6, &start, &end), E_FAIL);
  EXPECT_EQ(ts->FrameToTimes(10, &start, &end), E_FAIL);
  EXPECT_EQ(ts->SourceToFrameTimes(401, &start, &end), E_INVALIDARG);
  ASSERT_EQ(ts->GetRange(&end, &start), S_OK);
  EXPECT_EQ(end, 400);
  EXPECT_EQ(start, 300);
  KivTime source = 0;
  ASSERT_EQ(ts->AdjustedToSource(250, &source), S_OK);  // no source list: the time itself
  EXPECT_EQ(source, 250);
}

TEST(DynamicTimestamp, AdjustedToSourceInterpolatesAndTruncates) {
  auto ts = MakeKiv<CDynamicTimestamp>(std::vector<KivTime>{0, 300, 600}, std::vector<KivTime>{1000, 1100, 1500}, 0);
  KivTime source = 0;
  ASSERT_EQ(ts->AdjustedToSource(100, &source), S_OK);
  EXPECT_EQ(source, 1033);  // a third of 100, truncated
  ASSERT_EQ(ts->AdjustedToSource(-5, &source), S_OK);
  EXPECT_EQ(source, 1000);
  ASSERT_EQ(ts->AdjustedToSource(900, &source), S_OK);
  EXPECT_EQ(source, 1500);
  KivTime start = 0, end = 0;
  ASSERT_EQ(ts->SourceToFrameTimes(1200, &start, &end), S_OK);
  EXPECT_EQ(start, 1100);
  EXPECT_EQ(end, 1499);
  EXPECT_EQ(ts->SourceFrame(1499), 1u);
  KivBool enabled = KIV_FALSE;
  auto empty = MakeKiv<CDynamicTimestamp>(std::vector<KivTime>{}, std::vector<KivTime>{}, 0);
  ASSERT_EQ(empty->IsEnabled(&enabled), S_OK);
  EXPECT_EQ(enabled, KIV_FALSE);
  uint32_t frame = 0;
  EXPECT_EQ(empty->TimeToFrame(0, &frame), E_FAIL);
}

}  // namespace
}  // namespace velmar::testing
