// A clip's sound through the player: a clip made here with a 440 Hz tone,
// played at 1x on a clock moved by hand, reaches the audio sink as one
// unbroken stream, the tone while the clip runs and silence in the gap
// after it; the WAV sink writes the same stream as a whole file.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "media/clip_manager.h"
#include "support/temp_dir.h"
#include "velmar/audio_sink.h"
#include "velmar/sample_clip.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

constexpr KivTime kS = kTicksPerSecond;

class Heard final : public KivObject<IKivAudioSink> {
 public:
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

 private:
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
