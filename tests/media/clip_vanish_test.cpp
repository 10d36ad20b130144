// A clip's file that goes while the player holds it open: the clip blanks
// (an open file would read on after its name is gone), the others play on.
#include <gtest/gtest.h>

#include <filesystem>

#include "media/clip_manager.h"
#include "support/temp_dir.h"
#include "velmar/sample_clip.h"
#include "velmar/text.h"

namespace velmar::testing {
namespace {

constexpr KivTime kS = kTicksPerSecond;

class Shown final : public KivObject<IKivVideoFrameSink> {
 public:
  void OnVideoFrame(IKivClipPlayer*, const KivVideoFrame& frame) override {
    number = KivSampleClipFrameNumber(frame);
    blank = FromKivBool(frame.blank);
  }
  int32_t number = -1;
  bool blank = false;
};

TEST(ClipVanish, ADeletedOrReplacedFileBlanksItsClipAndLeavesTheOthers) {
  TempDir dir;
  const std::filesystem::path first = dir / "first.mp4", second = dir / "second.mp4";
  for (const auto& path : {first, second}) {
    ASSERT_EQ(KivWriteSampleClip(Utf8ToWide(path.string()), {2.0, 160, 96, 25, 1.0}), S_OK);
  }
  auto player = MakeKiv<CClipManager>(SteadyPlayerClock(), false);
  auto sink = MakeKiv<Shown>();
  ASSERT_EQ(player->SetFrameSink(sink.Get()), S_OK);
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

}  // namespace
}  // namespace velmar::testing
