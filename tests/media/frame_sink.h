// A video sink that keeps the last picture's frame number (clips made by
// KivWriteSampleClip carry it in their pixels) and whether it was blank.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "media/clip_manager.h"
#include "velmar/clip_player.h"
#include "velmar/sample_clip.h"

namespace velmar::testing {

class LastFrame final : public KivObject<IKivVideoFrameSink> {
 public:
  void OnVideoFrame(IKivClipPlayer*, const KivVideoFrame& frame) override {
    number = KivSampleClipFrameNumber(frame);
    blank = FromKivBool(frame.blank);
  }
  int32_t number = -1;
  bool blank = false;
};

// A player on `clock` that shows its pictures to a new *sink.
inline ComPtr<CClipManager> PlayerShowing(std::shared_ptr<PlayerClock> clock, ComPtr<LastFrame>* sink) {
  auto player = MakeKiv<CClipManager>(std::move(clock), false);
  *sink = MakeKiv<LastFrame>();
  EXPECT_EQ(player->SetFrameSink(sink->Get()), S_OK);
  return player;
}

}  // namespace velmar::testing
