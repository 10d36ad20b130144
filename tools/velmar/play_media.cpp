#include "play_media.h"

#include <iostream>

#include "host_error.h"
#include "item_wait.h"
#include "lap_list.h"
#include "media_wait.h"
#include "velmar/audio_sink.h"
#include "velmar/media.h"
#include "velmar/sample_clip.h"
#include "velmar/text.h"

namespace velmar::cli {

void ShownFrame::OnVideoFrame(IKivClipPlayer*, const KivVideoFrame& frame) {
  number_ = FromKivBool(frame.blank) ? -2 : KivSampleClipFrameNumber(frame);
}

std::string ShownFrame::Text() const {
  const int32_t n = number_;
  return n == -3 ? "" : n == -2 ? "blank" : n == -1 ? "picture" : std::to_string(n);
}

ComPtr<IKivClipPlayer> JoinMediaPlayer(const LoadedOuting& outing, const std::string& name, bool byDistance,
                                       IKivPlaybackController* controller, IKivVideoFrameSink* sink,
                                       const std::string& wav) {
  const std::u16string wide = Utf8ToWide(name);
  (void)LoadedMediaChannel(outing, wide);  // the clips read in
  auto factory = QueryAs<IKivMediaChannelFactory>(outing.selection());
  if (!factory) Fail(outing.file(), "this outing has no media channels");
  ComPtr<IKivMediaChannel> channel;
  if (KivResult r = factory->GetItem(wide, channel.Put()); Failed(r)) outing.FailItem("no media channel", wide, r);
  ComPtr<IKivClipPlayer> player;
  // The distance channels' samples may still be on their way.
  const KivResult r = ReadWhenReady(outing.session(), channel.Get(), outing.file(), [&] {
    return channel->CreateClipPlayer(nullptr, ToKivBool(byDistance), player.Put());
  });
  if (Failed(r)) {
    std::u16string why;
    if (auto diagnostic = QueryAs<IKivMediaChannelDiagnostic>(channel.Get())) {
      (void)diagnostic->GetDiagnostics(ToKivBool(byDistance), &why);
    }
    std::cerr << WideToUtf8(why);
    outing.FailItem("no clip of media channel plays", wide, r);
  }
  auto windowless = QueryAs<IKivWindowlessClipPlayer>(player.Get());
  if (!windowless || Failed(windowless->SetFrameSink(sink))) Fail(outing.file(), "the player gives no frames");
  if (!wav.empty()) {
    ComPtr<IKivAudioSink> file;
    auto audible = QueryAs<IKivAudioClipPlayer>(player.Get());
    if (KivResult made = KivCreateWavAudioSink(Utf8ToWide(wav), file.Put()); Failed(made) || !audible ||
                                                                               Failed(audible->SetAudioSink(file.Get()))) {
      Fail(wav, "the sound can't be written there", Failed(made) ? made : E_FAIL);
    }
  }
  if (KivResult added = controller->AddClipPlayer(player.Get()); Failed(added)) {
    Fail(outing.file(), "the player can't join the playback", added);
  }
  return player;
}

void SelectLap(LoadedOuting& outing, int number) {
  const LapRow lap = FindLap(outing, number);
  if (KivResult r = outing.selection()->Update(kSelectionSpan, nullptr, nullptr, 0, lap.start, lap.end, KIV_FALSE);
      Failed(r)) {
    Fail(outing.file(), "lap " + std::to_string(number) + " can't be selected", r);
  }
}

}  // namespace velmar::cli
