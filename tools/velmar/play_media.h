// What `velmar play --media NAME` adds: a windowless clip player of the
// selection's media channel joined to the task's playback controller, by
// time or adjusted by distance against the task's active selection, and the
// frame it shows for each printed line.
#pragma once

#include <atomic>
#include <string>

#include "loaded_outing.h"
#include "velmar/clip_player.h"
#include "velmar/playback.h"

namespace velmar::cli {

// Counts what a player shows: the number a generated clip's frame carries
// (-1 for another picture), or a blank. Called on the player's thread.
class ShownFrame final : public KivObject<IKivVideoFrameSink> {
 public:
  void OnVideoFrame(IKivClipPlayer* player, const KivVideoFrame& frame) override;
  // "blank", the frame's number, "picture", or "" before the first.
  std::string Text() const;

 private:
  std::atomic<int32_t> number_{-3};  // -3 none yet, -2 blank, -1 unnumbered
};

// Makes the player of media channel `name` of `outing`'s selection and adds
// it to `controller`; throws on failure. The player's diagnostics go to
// stderr when none of its clips plays. With `wav`, its sound goes to that file.
ComPtr<IKivClipPlayer> JoinMediaPlayer(const LoadedOuting& outing, const std::string& name, bool byDistance,
                                       IKivPlaybackController* controller, IKivVideoFrameSink* sink,
                                       const std::string& wav);

// Sets the selection's span to lap `number` (from 1) of its outing.
void SelectLap(LoadedOuting& outing, int number);

}  // namespace velmar::cli
