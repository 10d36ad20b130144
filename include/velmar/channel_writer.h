// Writing channels into an outing: the channels a client sees on the outing
// (recorded, or worked out in memory) over [start, end], at their native
// rate or resampled every `period` ticks (10,000 to 100,000,000: 1 ms to
// 10 s), become stored channels of the outing's data set. Each call only
// queues a step of the open transaction (IKivTransaction::Begin first); the
// write runs at Commit, and its outcome comes as transaction messages.
//
// Results at the call: E_FAIL for a names list that cannot be read,
// E_INVALIDARG for an empty list, a period out of its limits or a channel
// key text of 33 characters or more, E_NOTIMPL for a rate the data set
// cannot store, KIV_E_CHANNEL_EXISTS (0x8004F014) for a name the data set
// has stored already, KIV_E_NO_CHANNEL_DATA (0x8004F018) when no name has
// data in the range; S_FALSE when some had none (each is named in a writer
// message). Names beyond a data set's channel limit are dropped with a
// warning.
#pragma once

#include "velmar/data_factory.h"
#include "velmar/types.h"
#include "velmar/unknown.h"

namespace velmar {

struct IKivChannelWriter : IKivUnknown {
  static constexpr Guid iid = Guid::Literal("{E28326F1-E131-4390-AC8F-407D5E1B5430}");
  virtual KivResult WriteChannels(KivTime start, KivTime end, const NameList* names) = 0;
  virtual KivResult WriteChannelsResampled(KivTime start, KivTime end, const NameList* names, KivTime period) = 0;
};

struct IKivChannelWriter2 : IKivChannelWriter {
  static constexpr Guid iid = Guid::Literal("{B6A1FCFD-A541-4B22-B992-532F792849B1}");
  using Parent = IKivChannelWriter;
  // `context` is what the units of each channel are looked up through: a
  // channel property factory; null for the root's.
  virtual KivResult WriteChannelsThrough(KivTime start, KivTime end, const NameList* names, IKivUnknown* context) = 0;
};

struct IKivChannelWriter3 : IKivChannelWriter2 {
  static constexpr Guid iid = Guid::Literal("{261FDB5A-8C6A-45DC-AF74-A5FCDC0A8097}");
  using Parent = IKivChannelWriter2;
  virtual KivResult WriteChannelsResampledThrough(KivTime start, KivTime end, const NameList* names, KivTime period,
                                                  IKivUnknown* context) = 0;
};

}  // namespace velmar
