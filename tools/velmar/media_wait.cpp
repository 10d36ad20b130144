#include "media_wait.h"

#include "host_error.h"
#include "item_wait.h"

namespace velmar::cli {

ComPtr<IKivMediaChannel> LoadedMediaChannel(const LoadedOuting& outing, const std::u16string& name) {
  ComPtr<IKivMediaChannel> channel = outing.MediaChannel(name);
  uint32_t status = 0;
  const KivResult r = ReadWhenReady(outing.session(), channel.Get(), outing.file(), [&] {
    const KivResult got = channel->GetStatus(&status);
    if (Failed(got)) return got;
    return status == 1 || status == 2 ? S_OK : KIV_E_PENDING;  // available, or known to be missing
  });
  if (Failed(r) || status != 1) outing.FailItem("cannot read the clips of media channel", name, Failed(r) ? r : E_FAIL);
  return channel;
}

void FrameGrab::OnVideoFrame(IKivClipPlayer* player, const KivVideoFrame& frame) {
  (void)player;
  const size_t size = static_cast<size_t>(frame.stride) * static_cast<size_t>(frame.height);
  pixels_.assign(frame.pixels, frame.pixels + size);
  frame_ = frame;
  frame_.pixels = pixels_.data();
  ++count_;
}

}  // namespace velmar::cli
