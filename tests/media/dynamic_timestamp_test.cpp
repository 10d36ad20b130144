#include "media/dynamic_timestamp.h"

#include <gtest/gtest.h>

namespace velmar::testing {
namespace {

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
