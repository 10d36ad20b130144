// RtLiveChannel: one channel of a live outing: its description, what is
// known to be stale (dirty ranges, or all of it), whether a change was told
// that no read has followed yet, and the samples held.
//
// The rule that keeps a fast stream cheap: a channel no client opened only
// marks itself wholly dirty; an opened one tells one change and then waits
// for the client's read, however many data messages come meanwhile.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "platform/realtime/rt_messages.h"
#include "sources/realtime/rt_channel_blocks.h"

namespace velmar {

class RtLiveChannel {
 public:
  using Range = std::pair<KivTime, KivTime>;
  // Reads [from, to] from the server: the result and the blocks.
  using Reader = std::function<KivResult(uint64_t id, KivTime from, KivTime to, std::vector<rt::WireBlock>* blocks)>;

  explicit RtLiveChannel(rt::WireChannel description) : description_(std::move(description)) {}

  // A data message for (from, to): the range to tell as changed, if one
  // must be told now.
  std::optional<Range> OnData(KivTime from, KivTime to);
  // Reads what is stale and merges it in: S_OK with blocks held,
  // KIV_E_PENDING with none, or the server's failure (what is held stays
  // readable: S_OK with blocks).
  KivResult Read(const Reader& reader);
  // The same in three steps, for reads of many channels at once: the ranges
  // to read (the channel counts as opened and read from now); the outcome of
  // each; then the merge and the answer.
  std::vector<Range> TakeStale();
  void Apply(const Range& range, KivResult result, std::vector<rt::WireBlock>& blocks);
  KivResult EndRead(KivResult result);
  // Drops the blocks that end before `time`; true when any went.
  bool Discard(KivTime time);

  const rt::WireChannel& description() const { return description_; }
  void set_description(rt::WireChannel description) { description_ = std::move(description); }
  const RtBlockList& blocks() const { return blocks_; }
  bool opened() const { return opened_; }
  KivTime lower_bound() const { return lowerBound_; }

 private:
  rt::WireChannel description_;
  RtBlockList blocks_;
  std::vector<Range> dirty_;
  bool opened_ = false;
  bool wholeDirty_ = false;
  bool changeTold_ = false;
  KivTime lowerBound_ = kTimeMin;
};

// A wire block's samples as a held block (values as doubles); nullopt for
// one that can't be read (no samples, an unknown sample type, no times).
std::optional<RtHeldBlock> HeldBlock(const rt::WireBlock& block);

}  // namespace velmar
