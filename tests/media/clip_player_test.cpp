// The decode pipeline and the clip player on a clip made here: every frame
// carries its number, so a delivered picture says which frame it is.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

#include "frame_sink.h"
#include "media/clip_manager.h"
#include "support/temp_dir.h"
#include "velmar/audio_sink.h"
#include "velmar/sample_clip.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

constexpr KivTime kS = kTicksPerSecond;
constexpr KivTime kFrame = kS / 25;

class ClipPlayerTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    dir_ = new TempDir();
    clip_ = Utf8ToWide((*dir_ / "clip.mp4").string());
    ASSERT_EQ(KivWriteSampleClip(clip_, {4.0, 320, 180, 25, 1.0}), S_OK);
  }
  static void TearDownTestSuite() { delete dir_; }

  static inline TempDir* dir_ = nullptr;
  static inline std::u16string clip_;
};

uint32_t StateOf(CClipManager& player) {
  uint32_t state = 9;
  EXPECT_EQ(player.GetState(0, &state), S_OK);
  return state;
}

TEST_F(ClipPlayerTest, SeeksToTheExactFrameAnywhereInAnyOrder) {
  ClipOpenError why = ClipOpenError::kBroken;
  std::string log;
  auto decoder = ClipDecoder::Open(WideToUtf8(clip_), &why, &log);
  ASSERT_TRUE(decoder) << log;
  EXPECT_EQ(decoder->frame_interval(), kFrame);
  EXPECT_FALSE(decoder->has_audio());
  std::mt19937 random(19);
  DecodedFrame frame;
  for (int i = 0; i < 40; ++i) {
    const KivTime at = std::uniform_int_distribution<KivTime>(0, 4 * kS - 1)(random);
    ASSERT_EQ(decoder->FrameAt(at, &frame), S_OK);
    const KivVideoFrame view{frame.width, frame.height, frame.width * 3, frame.rgb.data(), at, KIV_FALSE};
    EXPECT_EQ(KivSampleClipFrameNumber(view), at / kFrame) << "at " << at;
    EXPECT_EQ(frame.index, at / kFrame);
  }
}

TEST_F(ClipPlayerTest, RefusesFilesThatAreNotVideoAndKeepsTheOthers) {
  const std::string text = (*dir_ / "notes.kvmedia").string();
  std::ofstream(text) << "not a video";
  const std::string truncated = (*dir_ / "cut.mp4").string();
  std::filesystem::copy_file(WideToUtf8(clip_), truncated);
  std::filesystem::resize_file(truncated, 2000);
  ClipOpenError why = ClipOpenError::kNone;
  std::string log;
  EXPECT_FALSE(ClipDecoder::Open(text, &why, &log));
  EXPECT_EQ(why, ClipOpenError::kNotMedia);
  EXPECT_FALSE(ClipDecoder::Open((*dir_ / "missing.mp4").string(), &why, &log));
  EXPECT_EQ(why, ClipOpenError::kBroken);

  ComPtr<LastFrame> sink;
  auto player = PlayerShowing(std::make_shared<ManualPlayerClock>(), &sink);
  EXPECT_EQ(player->AddClip(Utf8ToWide(text), nullptr, 0, kS, 0), E_FAIL);
  EXPECT_EQ(player->AddClip(Utf8ToWide(truncated), nullptr, 0, kS, 0), E_FAIL);
  EXPECT_EQ(player->GetTime(nullptr), E_POINTER);
  KivTime t = 0;
  EXPECT_EQ(player->GetTime(&t), VFW_E_WRONG_STATE);  // nothing to play yet
  ASSERT_EQ(player->AddClip(clip_, nullptr, 0, 4 * kS, 0), S_OK);
  EXPECT_NE(player->log().find("Failed to create Clip.\r\n"), std::string::npos);
  EXPECT_NE(player->log().find("Media type: YUV420P.\r\n"), std::string::npos);
  EXPECT_NE(player->log().find("No audio found.\r\n"), std::string::npos);
  EXPECT_EQ(player->SetTime(2 * kS), S_OK);
  EXPECT_EQ(sink->number, 50);
}

TEST_F(ClipPlayerTest, GapsShowBlankAndStepsMoveByFrames) {
  ComPtr<LastFrame> sink;
  auto player = PlayerShowing(std::make_shared<ManualPlayerClock>(), &sink);
  ASSERT_EQ(player->AddClip(clip_, nullptr, 6 * kS, 4 * kS, 0), S_OK);
  ASSERT_EQ(player->AddClip(clip_, nullptr, 0, 4 * kS, 0), S_OK);  // goes first: positions order the list
  ASSERT_EQ(player->SetRange(0, 10 * kS), S_OK);
  ASSERT_EQ(player->SetTime(5 * kS), S_OK);
  EXPECT_TRUE(sink->blank);
  ASSERT_EQ(player->SetTime(7 * kS), S_OK);
  EXPECT_FALSE(sink->blank);
  EXPECT_EQ(sink->number, 25);
  ASSERT_EQ(player->Step(3), S_OK);
  EXPECT_EQ(sink->number, 28);
  ASSERT_EQ(player->Step(-30), S_OK);  // back across the gap's start into blank frames of 40 ms
  KivTime t = 0;
  ASSERT_EQ(player->GetTime(&t), S_OK);
  EXPECT_EQ(t, 7 * kS + 3 * kFrame - 30 * kFrame);
  EXPECT_EQ(StateOf(*player), kClipPlayerPaused);
}

TEST_F(ClipPlayerTest, AFrameTableChoosesTheFileFrameAndStepsAlongIt) {
  ComPtr<LastFrame> sink;
  auto player = PlayerShowing(std::make_shared<ManualPlayerClock>(), &sink);
  // Frames 50, 51 and 52 of the file stand 1 s apart on the timeline.
  auto table = MakeKiv<CDynamicTimestamp>(std::vector<KivTime>{3 * kS, 4 * kS, 5 * kS}, std::vector<KivTime>{}, 50);
  ASSERT_EQ(player->AddClip(clip_, table, 2 * kS, 2 * kS, 0), S_OK);
  EXPECT_EQ(player->log().find("Time adjustment is not enabled."), std::string::npos);
  ASSERT_EQ(player->SetTime(2 * kS), S_OK);
  EXPECT_EQ(sink->number, 50);
  ASSERT_EQ(player->SetTime(3 * kS + kS / 2), S_OK);
  EXPECT_EQ(sink->number, 51);
  ASSERT_EQ(player->Step(1), S_OK);
  EXPECT_EQ(sink->number, 52);
  KivTime t = 0;
  ASSERT_EQ(player->GetTime(&t), S_OK);
  EXPECT_EQ(t, 4 * kS);
  ASSERT_EQ(player->Stop(), S_OK);
  EXPECT_EQ(StateOf(*player), kClipPlayerStopped);
}

TEST_F(ClipPlayerTest, PrimaryAndSlaveRunOnOneClockWithinAFrame) {
  auto clock = std::make_shared<ManualPlayerClock>();
  auto own = std::make_shared<ManualPlayerClock>();
  own->Advance(123 * kS);  // the slave's clock is elsewhere until Run
  ComPtr<LastFrame> primarySink, slaveSink;
  auto primary = PlayerShowing(clock, &primarySink);
  auto slave = PlayerShowing(own, &slaveSink);
  ASSERT_EQ(primary->AddClip(clip_, nullptr, 0, 4 * kS, 0), S_OK);
  ASSERT_EQ(slave->AddClip(clip_, nullptr, 0, 4 * kS, 0), S_OK);
  ASSERT_EQ(primary->AddSlave(slave.Get()), S_OK);
  ASSERT_EQ(primary->SetTime(kS), S_OK);
  ASSERT_EQ(primary->SetRate(3), S_OK);  // 2x, passed on
  ASSERT_EQ(primary->Run(), S_OK);
  clock->Advance(1'000'000 + kS / 2);  // the common start, then half a second
  KivTime a = 0, b = 0;
  ASSERT_EQ(primary->GetTime(&a), S_OK);
  ASSERT_EQ(slave->GetTime(&b), S_OK);
  EXPECT_EQ(a, 2 * kS);
  EXPECT_LT(std::abs(a - b), kFrame);
  primary->PresentNow();
  slave->PresentNow();
  EXPECT_EQ(primarySink->number, slaveSink->number);
  ASSERT_EQ(primary->Pause(), S_OK);
  clock->Advance(kS);
  ASSERT_EQ(slave->GetTime(&b), S_OK);
  EXPECT_EQ(b, 2 * kS);  // paused together
  ASSERT_EQ(primary->RemoveSlave(slave.Get()), S_OK);
  EXPECT_EQ(primary->RemoveSlave(slave.Get()), E_FAIL);
}

// A clip's file that goes while the player holds it open: the clip blanks
// (an open file would read on after its name is gone), the others play on.

TEST(ClipVanish, ADeletedOrReplacedFileBlanksItsClipAndLeavesTheOthers) {
  TempDir dir;
  const std::filesystem::path first = dir / "first.mp4", second = dir / "second.mp4";
  for (const auto& path : {first, second}) {
    ASSERT_EQ(KivWriteSampleClip(Utf8ToWide(path.string()), {2.0, 160, 96, 25, 1.0}), S_OK);
  }
  ComPtr<LastFrame> sink;
  auto player = PlayerShowing(SteadyPlayerClock(), &sink);
  ASSERT_EQ(player->AddClip(Utf8ToWide(first.string()), nullptr, 0, 2 * kS, 0), S_OK);
  ASSERT_EQ(player->AddClip(Utf8ToWide(second.string()), nullptr, 3 * kS, 2 * kS, 0), S_OK);
  ASSERT_EQ(player->SetTime(kS / 2), S_OK);
  EXPECT_EQ(sink->number, 12);

  std::filesystem::remove(first);
  ASSERT_EQ(player->SetTime(kS), S_OK);
  EXPECT_TRUE(sink->blank) << "the deleted clip keeps showing";
  ASSERT_EQ(player->SetTime(4 * kS), S_OK);
  EXPECT_FALSE(sink->blank);
  EXPECT_EQ(sink->number, 25);

  // Another file put in its place is not the clip that was opened.
  std::filesystem::copy_file(second, first);
  ASSERT_EQ(player->SetTime(kS / 4), S_OK);
  EXPECT_TRUE(sink->blank);
}

// A clip's sound through the player: a clip made here with a 440 Hz tone,
// played at 1x on a clock moved by hand, reaches the audio sink as one
// unbroken stream, the tone while the clip runs and silence in the gap
// after it; the WAV sink writes the same stream as a whole file.

struct Heard final : public KivObject<IKivAudioSink> {
  explicit Heard(ComPtr<IKivAudioSink> next) : next_(std::move(next)) {}
  void OnAudio(IKivClipPlayer* player, const KivAudioBlock& block) override {
    EXPECT_EQ(block.position, end) << "a hole or an overlap in the sound";
    end = block.position + block.frames * kS / kKivAudioRate;
    auto& into = FromKivBool(block.silence) ? silent : sound;
    into.insert(into.end(), block.samples, block.samples + block.frames * kKivAudioChannels);
    next_->OnAudio(player, block);
  }
  KivTime end = 0;
  std::vector<int16_t> sound, silent;
  ComPtr<IKivAudioSink> next_;
};

TEST(ClipAudio, PlaysTheClipsToneThenSilenceWithoutAHole) {
  TempDir dir;
  const std::u16string clip = Utf8ToWide((dir / "tone.mp4").string());
  ASSERT_EQ(KivWriteSampleClip(clip, {2.0, 160, 96, 25, 1.0, 440.0}), S_OK);
  const std::string wav = (dir / "heard.wav").string();
  ComPtr<IKivAudioSink> file;
  ASSERT_EQ(KivCreateWavAudioSink(Utf8ToWide(wav), file.Put()), S_OK);
  auto heard = MakeKiv<Heard>(file);

  auto clock = std::make_shared<ManualPlayerClock>();
  auto player = MakeKiv<CClipManager>(clock, false);
  ASSERT_EQ(player->AddClip(clip, nullptr, 0, 2 * kS, 0), S_OK);
  EXPECT_EQ(player->log().find("No audio found."), std::string::npos) << player->log();
  ASSERT_EQ(player->SetRange(0, 3 * kS), S_OK);
  ASSERT_EQ(player->SetAudioSink(heard.Get()), S_OK);
  ASSERT_EQ(player->Run(), S_OK);
  clock->Advance(1'000'000);  // the players' common start
  player->PresentNow();
  for (int step = 0; step < 25; ++step) {
    clock->Advance(kS / 10);
    player->PresentNow();
  }
  EXPECT_EQ(heard->end, 25 * kS / 10);
  // Two seconds of tone, half a second of gap.
  EXPECT_EQ(heard->sound.size(), static_cast<size_t>(2 * kKivAudioRate * kKivAudioChannels));
  EXPECT_EQ(heard->silent.size(), static_cast<size_t>(kKivAudioRate / 2 * kKivAudioChannels));
  // The pitch by its rising zero crossings over the middle second (left side).
  int crossings = 0;
  for (size_t i = kKivAudioRate / 2; i < 3 * kKivAudioRate / 2; ++i) {
    crossings += heard->sound[2 * (i - 1)] < 0 && heard->sound[2 * i] >= 0;
  }
  EXPECT_NEAR(crossings, 440, 2);

  ASSERT_EQ(player->Pause(), S_OK);
  heard = nullptr;
  ASSERT_EQ(player->SetAudioSink(nullptr), S_OK);
  file = nullptr;
  std::ifstream in(wav, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  const size_t data = 25 * kKivAudioRate / 10 * kKivAudioChannels * 2;
  ASSERT_EQ(bytes.size(), 44 + data);
  EXPECT_EQ(bytes.substr(0, 4), "RIFF");
  EXPECT_EQ(bytes.substr(8, 8), "WAVEfmt ");
  EXPECT_EQ(static_cast<uint8_t>(bytes[40]) | static_cast<uint8_t>(bytes[41]) << 8 |
                static_cast<uint32_t>(static_cast<uint8_t>(bytes[42])) << 16,
            data);
}

}  // namespace
}  // namespace velmar::testing
