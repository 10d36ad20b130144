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
// Client thread only.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "outing/status/data_status_item.h"
#include "sources/tarn/tarn_item_reads.h"
#include "sources/tarn/tarn_media_data.h"
#include "velmar/media.h"

namespace velmar {

class CTarnOutingCache;
class CLoadMediaChannelAccessDataJobItem;

class CTarnMediaChannelBase : public IKivDataImpl<CTarnMediaChannelBase, IKivMediaChannel>,
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

  // ITarnItemDataClient
  void OnItemDataReady(bool succeeded, KivTime from, KivTime to) override;
  void OnItemDataDropped() override;

  bool PrepareData() override { return true; }
  DataStatus InputsStatus() override;
  void OnInputReset() override {}

  const TarnMediaChannelEntry entry_;
  ComPtr<CTarnOutingCache> cache_;  // null once detached
  AccessState accessState_ = AccessState::kNotAsked;
};

}  // namespace velmar
