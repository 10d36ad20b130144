// Media channels and clips through a fresh open.
#include "platform/store/media_table.h"

#include <gtest/gtest.h>

#include "platform/store/store_test_helper.h"

namespace velmar::testing {
namespace {

class MediaTableTest : public NewStoreTest {
 protected:
  RecordList<TarnMediaClipRecord> Clips(uint64_t channel, KivTime from = kTimeMin, KivTime to = kTimeMax,
                                        KivResult expected = S_OK) {
    ComPtr<IKivTarnMediaClipRecords> records;
    EXPECT_EQ(List<IKivTarnMedia>()->GetMediaClips(kDefaultWaitLimit, channel, from, to, records.Put()), expected);
    return Hold(std::move(records));
  }
};

TEST_F(MediaTableTest, ChannelsAndClipsRoundTrip) {
  TarnMediaChannelRecord channel{};
  channel.name = u"Onboard";
  channel.reserved16 = 1;
  channel.type = 3;
  channel.reserved24 = 2;
  channel.reserved28 = 2;
  channel.reserved32 = 1;
  channel.fileNumber = 4095;
  std::vector<uint64_t> channels, clips;
  TarnMediaFrame frames[2] = {{0, 0, {}}, {10'000'000, 25, {}}};
  {
    auto handle = Handle();
    auto writer = Writer<IKivTarnMediaWriter>(handle);
    ASSERT_EQ(writer->AddMediaChannels(1, &channel, &channels), S_OK);
    TarnMediaClipRecord c[2] = {};
    c[0].path = u"/video/a.mp4";
    c[0].channelId = channels[0];
    c[0].start = 100;
    c[0].end = 200;
    c[0].frameCount = 2;
    c[0].frames = frames;
    c[1].channelId = channels[0];
    c[1].start = 300;
    c[1].end = 400;
    ASSERT_EQ(writer->AddMediaClips(2, c, &clips), S_OK);
    ASSERT_EQ(writer->SetMediaClipTimes(1, &clips[1], 250, 450), S_OK);
  }
  Reopen();
  auto list = MediaChannels();
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(Str(list[0].name), u"Onboard");
  EXPECT_EQ(list[0].type, 3u);
  EXPECT_EQ(list[0].fileNumber, 4095u);
  EXPECT_EQ(list[0].reserved24, 2u);
  auto all = Clips(channels[0]);
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(Str(all[0].path), u"/video/a.mp4");
  ASSERT_EQ(all[0].frameCount, 2u);
  EXPECT_EQ(all[0].frames[1].time, 10'000'000);
  EXPECT_EQ(all[0].frames[1].frameNumber, 25u);
  EXPECT_EQ(all[1].path, nullptr);
  EXPECT_EQ(all[1].start, 250);
  EXPECT_EQ(all[1].frames, nullptr);
  // Overlap with a window.
  EXPECT_EQ(Clips(channels[0], 210, 240).size(), 0u);
  EXPECT_EQ(Clips(channels[0], 450, 500).size(), 1u);
  Clips(12345, kTimeMin, kTimeMax, E_INVALIDARG);
}

TEST_F(MediaTableTest, RemovingAChannelRemovesItsClips) {
  TarnMediaChannelRecord channel{};
  channel.name = u"Cam";
  std::vector<uint64_t> channels, clips;
  {
    auto handle = Handle();
    auto writer = Writer<IKivTarnMediaWriter>(handle);
    ASSERT_EQ(writer->AddMediaChannels(1, &channel, &channels), S_OK);
    TarnMediaClipRecord clip{};
    clip.channelId = channels[0];
    clip.start = 5;
    clip.end = 1;
    EXPECT_EQ(writer->AddMediaClips(1, &clip, &clips), E_INVALIDARG);
    clip.end = 6;
    clip.channelId = 999;
    EXPECT_EQ(writer->AddMediaClips(1, &clip, &clips), E_INVALIDARG);
    clip.channelId = channels[0];
    ASSERT_EQ(writer->AddMediaClips(1, &clip, &clips), S_OK);
    ASSERT_EQ(writer->RemoveMediaChannels(1, channels.data()), S_OK);
    EXPECT_EQ(writer->SetMediaClipTimes(1, clips.data(), 0, 1), E_INVALIDARG);
  }
  Reopen();
  EXPECT_TRUE(MediaChannels().empty());
}

}  // namespace
}  // namespace velmar::testing
