// Media channels as the command line reads them: a channel whose clips are
// in, and a frame grabbed from a player.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "loaded_outing.h"
#include "velmar/clip_player.h"
#include "velmar/media.h"

namespace velmar::cli {

// The outing's media channel `name` with its clips read; throws when the
// clips can't be read.
ComPtr<IKivMediaChannel> LoadedMediaChannel(const LoadedOuting& outing, const std::u16string& name);

// Keeps the last frame a player handed over.
class FrameGrab final : public KivObject<IKivVideoFrameSink> {
 public:
  void OnVideoFrame(IKivClipPlayer* player, const KivVideoFrame& frame) override;
  bool has_frame() const { return count_ > 0; }
  uint64_t count() const { return count_; }
  // The kept frame; its pixels live as long as the grab.
  const KivVideoFrame& frame() const { return frame_; }

 private:
  KivVideoFrame frame_;
  std::vector<uint8_t> pixels_;
  uint64_t count_ = 0;
};

}  // namespace velmar::cli
