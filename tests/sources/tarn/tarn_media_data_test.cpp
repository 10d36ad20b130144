#include "sources/tarn/tarn_media_data.h"

#include <gtest/gtest.h>

namespace velmar {
namespace {

TEST(TarnMediaDataTest, ChannelsNeedANameAndTheFirstOfANameCounts) {
  TarnMediaChannelRecord records[4] = {};
  records[0] = {7, u"Cam", 1, 2, 2, 2, 1, 0, 42};
  records[1] = {8, u"", 1, 1, 2, 2, 1, 0, 0};
  records[2] = {9, nullptr, 1, 1, 2, 2, 1, 0, 0};
  records[3] = {10, u"Cam", 1, 3, 2, 2, 1, 5, 0};
  TarnMediaChannelMap map = MediaChannelMap(records);
  ASSERT_EQ(map.size(), 1u);
  EXPECT_EQ(map.at(u"Cam").id, 7u);
  EXPECT_EQ(map.at(u"Cam").type, 2u);
  EXPECT_EQ(map.at(u"Cam").last, 42u);
}

TEST(TarnMediaDataTest, ClipsAreTakenAllOrNothing) {
  const TarnMediaFrame frames[1] = {{5, 1, {}}};
  TarnMediaClipRecord good = {1, u"a.mp4", 3, 0, 10, 20, 1, {}, frames};
  std::vector<TarnMediaClip> clips;
  ASSERT_TRUE(TakeMediaClips(std::span(&good, 1), &clips));
  ASSERT_EQ(clips.size(), 1u);
  EXPECT_EQ(clips[0].frames[0].time, 5);
  for (auto spoil : {+[](TarnMediaClipRecord& r) { r.path = u""; }, +[](TarnMediaClipRecord& r) { r.frameCount = 0; },
                     +[](TarnMediaClipRecord& r) { r.frames = nullptr; }, +[](TarnMediaClipRecord& r) { r.end = 9; }}) {
    TarnMediaClipRecord pair[2] = {good, good};
    spoil(pair[1]);
    EXPECT_FALSE(TakeMediaClips(pair, &clips));
    EXPECT_TRUE(clips.empty());
  }
}

}  // namespace
}  // namespace velmar
