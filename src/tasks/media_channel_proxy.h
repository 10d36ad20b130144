// CMediaChannelProxy: a media channel through a data selection. It plays
// the selection's span; asked to adjust for distance, it plays the clips
// against the task's active selection, each frame where the active outing
// reaches the distance the frame was taken at. The distance channel of
// both is the root's common channel for corrected distance (else distance),
// as each selection lists it. With no distance channel on either side, or the same
// one on both (the active selection is this one), the clips play by time.
// What the route reads is kept up to date by a CMediaDistanceBinding, bound
// when the proxy is made; a change there reaches the proxy's clients as a
// change over all time.
//
// Client thread only.
#pragma once

#include "media/media_channel_player.h"
#include "tasks/data_proxy.h"
#include "tasks/media_distance_binding.h"
#include "velmar/media.h"

namespace velmar {

class CMediaChannelProxy final
    : public CDataProxy<CMediaChannelProxy, IKivMediaChannel, IKivMediaChannelDiagnostic>,
      private IDistanceBindingOwner {
 public:
  KivResult CreateClipPlayer(void* window, KivBool adjustForDistance, IKivClipPlayer** player) override;
  KivResult GetDiagnostics(KivBool adjustForDistance, std::u16string* text) override;
  // Called once the factory has attached the proxy: binds for the distance route.
  void ReadOffset();
  void OnRebound(IKivMediaChannel*) {}

 private:
  // The selection's span; false when it has none.
  bool Span(KivTime* start, KivTime* end) const;
  // IDistanceBindingOwner
  void DistanceChanged() override;

  CMediaDistanceBinding binding_{this};
};

}  // namespace velmar
