// CTarnMediaChannelBase: a media channel of a `.trn` outing, as its media
// channel factory gives it out: what both kinds of media channel (recorded,
// and added by a user) hold, and the read of their clips.
//
// The clips are read per channel, the first time a client asks for the
// status or the clips, and kept by the outing's cache for every outing
// object on the file. accessState says how that went: 0 not asked, 1 clips
// loaded, 2 load failed; each end of a read fires a change over the whole
// range (and a data failure when it failed). When the cache lets the clips
// go (after a write, or a close) accessState is 0 and the status unknown.
//
// Players. A channel read from the outing plays the outing's span (first to
// last lap marker); through a data selection's proxy, the selection's span
// (IKivSpanMediaChannel): by outing time (the plain route), or, when the
// proxy has two distance channels to go by, adjusted by distance against
// the task's active selection. A user-added channel (type 3) also answers
// IKivOffsetMediaChannel.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "outing/status/data_status_item.h"
#include "sources/tarn/tarn_item_reads.h"
#include "media/media_channel_player.h"
#include "sources/tarn/tarn_media_data.h"
#include "velmar/media.h"

namespace velmar {

class CTarnOutingCache;
class CLoadMediaChannelAccessDataJobItem;

class CTarnMediaChannelBase
    : public IKivDataImpl<CTarnMediaChannelBase, IKivMediaChannel2, IKivMediaChannelDiagnostic, IKivOffsetMediaChannel,
                          IKivSpanMediaChannel>,
      private ITarnItemDataClient {
 public:
  enum class AccessState : uint32_t { kNotAsked = 0, kLoaded = 1, kFailed = 2 };

  // `entry`: the channel's record in the store; `cache` reads its clips.
  CTarnMediaChannelBase(std::u16string name, const TarnMediaChannelEntry& entry, ComPtr<CTarnOutingCache> cache);

  // The clips that overlap [from, to], by start, as the store holds them
  // (the outing's time offset not applied). S_OK once loaded; KIV_E_PENDING
  // while they are read (the read started now if need be); E_FAIL when the
  // load failed or the channel left its outing. E_POINTER for a null out.
  KivResult GetClips(KivTime from, KivTime to, std::vector<const TarnMediaClip*>* clips);

  // The channel leaves its outing: its sinks hear of the removal and it
  // waits for no read any more.
  void Detach();

  // The outing's time offset, added to every clip time.
  void SetTimeOffset(KivTime offset) { timeOffset_ = offset; }

  KivResult QueryInterface(const Guid& iid, void** out) override;

  // IKivMediaChannel, IKivMediaChannel2
  KivResult CreateClipPlayer(void* window, KivBool adjustForDistance, IKivClipPlayer** player) override;
  KivResult CreateWindowlessClipPlayer(KivBool adjustForDistance, IKivClipPlayer** player) override;
  // IKivMediaChannelDiagnostic
  KivResult GetDiagnostics(KivBool adjustForDistance, std::u16string* text) override;
  // IKivOffsetMediaChannel
  KivResult CreatePreviewPlayer(void* window, IKivClipPlayer** player) override;
  KivResult GetFileDuration(KivTime* duration) override;
  KivResult GetClipStart(KivTime* start) override;
  // IKivSpanMediaChannel
  KivResult CreatePlayerOver(KivTime spanStart, KivTime spanEnd, KivBool adjustForDistance,
                             IKivClipPlayer** player) override;
  KivResult DiagnosticsOver(KivTime spanStart, KivTime spanEnd, KivBool adjustForDistance,
                            std::u16string* text) override;
  KivResult CreatePlayerByDistance(const DistanceRequest& request, IKivClipPlayer** player) override;
  KivResult DiagnosticsByDistance(const DistanceRequest& request, std::u16string* text) override;

  const TarnMediaChannelEntry& entry() const { return entry_; }
  // Added by a user from a video file (type 3), not recorded.
  bool added_by_user() const { return entry_.type == kMediaChannelAddedByUser; }
  AccessState access_state() const { return accessState_; }

 protected:
  ~CTarnMediaChannelBase() override;

 private:
  // The finished read: S_OK with it; S_FALSE while it runs (started now if
  // need be); E_FAIL once detached.
  KivResult Fetch(const CLoadMediaChannelAccessDataJobItem** read);
  // Every clip as a player takes it. S_OK; KIV_E_PENDING with no clips;
  // E_FAIL when the channel isn't loaded.
  KivResult Sources(std::vector<ClipSource>* clips);
  // The outing's span; false while the lap markers are not in.
  bool OutingSpan(KivTime* start, KivTime* end);
  // What the diagnostics start from, over a span.
  MediaChannelFacts Facts(KivTime spanStart, KivTime spanEnd) const;
  // Runs the distance route over the loaded clips into `facts`. The
  // result of reading the clips.
  KivResult PlanByDistance(const DistanceRequest& request, std::vector<ClipSource>* clips,
                           MediaChannelFacts* facts);

  // ITarnItemDataClient
  void OnItemDataReady(bool succeeded, KivTime from, KivTime to) override;
  void OnItemDataDropped() override;

  bool PrepareData() override { return true; }
  DataStatus InputsStatus() override;
  void OnInputReset() override {}

  const TarnMediaChannelEntry entry_;
  ComPtr<CTarnOutingCache> cache_;  // null once detached
  AccessState accessState_ = AccessState::kNotAsked;
  KivTime timeOffset_ = 0;
  std::u16string log_;  // what the last player build reported
};

}  // namespace velmar
