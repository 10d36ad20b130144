// LiveData: what a real-time server holds of the outing it is sending, in
// the shape of the store's reads: details, channel descriptions and their
// recent blocks, event names and events, lap markers, constants, blobs,
// information pairs and the ranges.
//
// The feed (a replay, a test) writes; sessions read. Thread-safe: one mutex,
// held only for a copy in or out.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/realtime/rt_messages.h"

namespace velmar::rt {

class LiveData {
 public:
  using Pairs = std::vector<std::pair<std::u16string, std::u16string>>;

  // --- The feed ---------------------------------------------------------------
  // Drops everything (a new outing begins).
  void Clear();
  void SetDetails(WireDetails details);
  void SetChannels(std::vector<WireChannel> channels);
  void SetEventNames(std::vector<WireNamed> names);
  void SetConstants(std::vector<WireConstant> constants);
  void SetBlobs(std::vector<WireBlob> blobs);
  void SetInformation(Pairs pairs);
  void SetMovementRange(KivTime first, KivTime last);
  void AddBlock(WireBlock block);
  void AddEvent(WireEvent event);
  void AddLapMarker(WireLapMarker marker);
  // Widens the time range; gives the range now held.
  std::pair<KivTime, KivTime> WidenRange(KivTime start, KivTime end);
  // Drops blocks that end before `time` and events before it; the samples
  // held afterwards.
  uint64_t Discard(KivTime time);
  uint64_t samples_held() const;

  // --- The reads --------------------------------------------------------------
  std::vector<WireDetails> Details() const;
  std::vector<WireChannel> Channels() const;
  // The blocks of a channel from `from` to `to`, both included, cut to that
  // window, as many whole blocks as fit in `maxBytes` on the wire (at least
  // one): S_FALSE when more follow, to be asked for after the last block.
  // E_INVALIDARG for an unknown channel.
  KivResult ChannelData(uint64_t id, KivTime from, KivTime to, std::vector<WireBlock>* blocks,
                        size_t maxBytes = kMaxReplyBytes) const;
  std::vector<WireNamed> EventNames() const;
  std::vector<WireEvent> Events(const std::vector<uint64_t>& nameIds, KivTime from, KivTime to) const;
  std::vector<WireLapMarker> LapMarkers() const;
  std::vector<WireConstant> Constants() const;
  // Without their bytes.
  std::vector<WireBlob> BlobList() const;
  KivResult BlobData(uint64_t id, std::vector<WireBlob>* blob) const;
  Pairs Information() const;
  // S_FALSE with both 0 when not known.
  KivResult MovementRange(KivTime* first, KivTime* last) const;
  // S_FALSE with both 0 before any data.
  KivResult Range(KivTime* start, KivTime* end) const;
  bool history_mode() const;
  void set_history_mode(bool keepAll);

 private:
  // A field set or copied under the lock.
  template <class T>
  void Store(T& field, T value) {
    std::lock_guard lock(mutex_);
    field = std::move(value);
  }
  template <class T>
  T Copy(const T& field) const {
    std::lock_guard lock(mutex_);
    return field;
  }

  mutable std::mutex mutex_;
  WireDetails details_;
  std::vector<WireChannel> channels_;
  std::map<uint64_t, std::vector<WireBlock>> blocks_;
  std::vector<WireNamed> eventNames_;
  std::vector<WireEvent> events_;
  std::vector<WireLapMarker> laps_;
  std::vector<WireConstant> constants_;
  std::vector<WireBlob> blobs_;
  Pairs information_;
  std::optional<std::pair<KivTime, KivTime>> movement_;
  std::optional<std::pair<KivTime, KivTime>> range_;
  uint64_t samples_ = 0;
  bool historyMode_ = false;
};

// `block` cut to the samples from `from` to `to`; nullopt when none is in it.
std::optional<WireBlock> CutBlock(const WireBlock& block, KivTime from, KivTime to);

}  // namespace velmar::rt
