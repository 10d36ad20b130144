// The media channel edits of a `.trn` outing, each seen through a fresh
// open of the file, and the player its channel makes of a real clip.
#include <gtest/gtest.h>

#include <filesystem>

#include "sources/tarn/tarn_media_steps.h"
#include "tarn_outing_helper.h"
#include "velmar/lap_markers.h"
#include "velmar/sample_clip.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

class LastFrame final : public KivObject<IKivVideoFrameSink> {
 public:
  void OnVideoFrame(IKivClipPlayer*, const KivVideoFrame& frame) override { number = KivSampleClipFrameNumber(frame); }
  int32_t number = -2;
};

class TarnMediaEditTest : public TarnOutingTest {
 protected:
  void SetUp() override {
    path_ = Write(SampleDataSet());
    clip_ = Utf8ToWide((dir_ / "onboard.mp4").string());
    ASSERT_EQ(KivWriteSampleClip(clip_, {2.0, 64, 48, 25, 1.0}), S_OK);
    Reopen();
  }
  // The facets hold the outing: they go first, so its close jobs run here.
  void Close() override {
    editor_ = nullptr;
    txn_ = nullptr;
    TarnOutingTest::Close();
  }
  void TearDown() override {
    Close();
    TarnOutingTest::TearDown();
  }
  void Reopen() {
    TarnOutingTest::Reopen();
    editor_ = Facet<IKivMediaChannelFactory2>();
    txn_ = Facet<IKivTransaction>();
  }
  // Runs `edit` in one transaction; its messages and progress.
  template <class Edit>
  Lines Commit(Edit edit) {
    return TarnOutingTest::Commit(edit, {"TransactionMessage", "TransactionProgress"});
  }
  NameList Names() {
    NameList names;
    (void)Listed<IKivMediaChannelFactory>(&names);
    return names;
  }
  ComPtr<IKivMediaChannel> Loaded(const std::u16string& name) {
    (void)Names();
    ComPtr<IKivMediaChannel> channel;
    EXPECT_EQ(Facet<IKivMediaChannelFactory>()->GetItem(name, channel.Put()), S_OK);
    uint32_t status = 0;
    (void)channel->GetStatus(&status);
    EXPECT_TRUE(Settle());
    EXPECT_EQ(channel->GetStatus(&status), S_OK);
    EXPECT_EQ(status, 1u);
    return channel;
  }
  KivTime ClipStart(const std::u16string& name) {
    KivTime start = -1;
    EXPECT_EQ(QueryAs<IKivOffsetMediaChannel>(Loaded(name).Get())->GetClipStart(&start), S_OK);
    return start;
  }
  std::u16string Folder() const { return Utf8ToWide((dir_ / "media").string()); }

  std::u16string clip_;
  ComPtr<IKivMediaChannelFactory2> editor_;
  ComPtr<IKivTransaction> txn_;
};

TEST_F(TarnMediaEditTest, AddModifyRemoveRoundTripThroughTheFile) {
  Lines log = Commit([&] { return editor_->AddMediaChannel(u"Onboard", clip_, Folder(), 10 * kS, 12 * kS, KIV_FALSE); });
  EXPECT_EQ(log.front(), "TransactionProgress:10/100");
  EXPECT_NE(std::find(log.begin(), log.end(), "TransactionProgress:90/100"), log.end());
  EXPECT_TRUE(std::filesystem::exists(dir_ / "media" / "0001000.kvmedia"));
  const auto copy = dir_ / "rear.mp4";
  std::filesystem::copy_file(WideToUtf8(clip_), copy);
  (void)Commit([&] {
    return editor_->AddMediaChannel(u"Rear", Utf8ToWide(copy.string()), Folder(), 0, 2 * kS, KIV_TRUE);
  });
  EXPECT_TRUE(std::filesystem::exists(dir_ / "media" / "0002000.kvmedia"));
  EXPECT_FALSE(std::filesystem::exists(copy)) << "moved, not copied";
  log = Commit([&] { return editor_->AddMediaChannel(u"Onboard", clip_, Folder(), 0, kS, KIV_FALSE); });
  EXPECT_EQ(log.back(), "TransactionMessage:Failed to add Media Channel \"Onboard\" - duplicate Media Channel found");
  EXPECT_EQ(editor_->AddMediaChannel(u"X", u"", Folder(), 0, kS, KIV_FALSE), E_INVALIDARG);

  Reopen();
  EXPECT_EQ(Names(), (NameList{u"Onboard", u"Rear"}));
  EXPECT_EQ(ClipStart(u"Onboard"), 10 * kS);
  (void)Commit([&] { return editor_->ModifyMediaChannel(u"Onboard", 20 * kS, 22 * kS); });
  (void)Commit([&] { return editor_->RemoveMediaChannel(u"Rear"); });
  log = Commit([&] { return editor_->RemoveMediaChannel(u"Nope"); });
  EXPECT_EQ(log.back(), "TransactionMessage:Failed to remove Media Channel \"Nope\" - Media Channel not found");

  Reopen();
  EXPECT_EQ(Names(), (NameList{u"Onboard"}));
  EXPECT_EQ(ClipStart(u"Onboard"), 20 * kS);
  EXPECT_TRUE(std::filesystem::exists(dir_ / "media" / "0002000.kvmedia")) << "a removed channel's file stays";
}

TEST_F(TarnMediaEditTest, FileNumbersRunOutAfter4095) {
  EXPECT_EQ(MediaFileName(1), "0001000.kvmedia");
  EXPECT_EQ(MediaFileName(0x1A), "001A000.kvmedia");
  EXPECT_EQ(MediaFileName(kMaxMediaFileNumber), "0FFF000.kvmedia");
  Close();
  WriteThroughStore<IKivTarnMediaWriter>(path_, [](IKivTarnMediaWriter& w) {
    std::vector<std::u16string> names;
    std::vector<TarnMediaChannelRecord> records(kMaxMediaFileNumber);
    for (uint32_t n = 1; n <= kMaxMediaFileNumber; ++n) names.push_back(u"m" + Utf8ToWide(std::to_string(n)));
    for (uint32_t n = 1; n <= kMaxMediaFileNumber; ++n) {
      records[n - 1] = {0, names[n - 1].c_str(), 1, kMediaChannelAddedByUser, 2, 2, 1, n, 0};
    }
    std::vector<uint64_t> ids;
    ASSERT_EQ(w.AddMediaChannels(kMaxMediaFileNumber, records.data(), &ids), S_OK);
  });
  Reopen();
  const Lines log =
      Commit([&] { return editor_->AddMediaChannel(u"Full", clip_, Folder(), 0, kS, KIV_FALSE); });
  EXPECT_EQ(log.back(), "TransactionMessage:Failed to add Media Channel \"Full\"");
}

TEST_F(TarnMediaEditTest, TheChannelPlaysItsClipAtOutingTime) {
  (void)Commit([&] { return editor_->AddMediaChannel(u"Onboard", clip_, Folder(), 30 * kS, 32 * kS, KIV_FALSE); });
  auto channel = QueryAs<IKivMediaChannel2>(Loaded(u"Onboard").Get());
  ASSERT_TRUE(channel);
  ComPtr<IKivClipPlayer> player;
  ASSERT_EQ(channel->CreateWindowlessClipPlayer(KIV_FALSE, player.Put()), S_OK);
  auto sink = MakeKiv<LastFrame>();
  ASSERT_EQ(QueryAs<IKivWindowlessClipPlayer>(player.Get())->SetFrameSink(sink.Get()), S_OK);
  // The player's timeline starts with the outing's span.
  KivTime start = 0;
  ASSERT_EQ(Facet<IKivLapMarkers>()->GetOutingStart(&start), S_OK);
  ASSERT_EQ(player->SetTime(31 * kS + 8 * kS / 25 - start), S_OK);
  EXPECT_EQ(sink->number, 25 + 8);
  ASSERT_EQ(player->SetTime(29 * kS - start), S_OK);
  EXPECT_EQ(sink->number, -1) << "before the clip: blank";
  std::u16string text;
  ASSERT_EQ(QueryAs<IKivMediaChannelDiagnostic>(channel.Get())->GetDiagnostics(KIV_FALSE, &text), S_OK);
  EXPECT_NE(text.find(u"1 clip(s) will be displayed in the current time region"), std::u16string::npos);
  EXPECT_NE(text.find(u"Clip 1 occurs between"), std::u16string::npos);
  EXPECT_NE(text.find(u"Using FFmpeg decoder"), std::u16string::npos) << "the last build's log";
}

}  // namespace
}  // namespace velmar::testing
