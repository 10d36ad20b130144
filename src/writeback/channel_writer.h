// Writing channels into an outing: the call that checks what it can, builds
// an export item per name and queues one step (the write itself runs at the
// commit). Every editable source's cache answers the questions below.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>

#include "velmar/channel.h"
#include "velmar/data_factory.h"
#include "velmar/property_set.h"
#include "velmar/units.h"
#include "writeback/export_write_step.h"

namespace velmar {

// Levels of a writer message.
inline constexpr uint32_t kWriterNote = 0;
inline constexpr uint32_t kWriterWarning = 1;
inline constexpr uint32_t kWriterError = 2;

// A channel key text of this many characters or more cannot be stored.
inline constexpr size_t kMaxChannelKeyText = 33;

// How a source's values become the destination's: value x factor + offset.
// The channel's properties come with it (all but "Filter").
struct ExportScaling {
  double factor = 1.0;
  double offset = 0.0;
  ComPtr<IKivUnits> converter;
  PropertyList properties;
};

// The scaling of `name` (a key text) from the channel property database:
// its "Quantity" and "Unit", from the quantity's base unit to that unit
// (factor 1, offset 0 for quantity 0). The database is `context` when it
// is one, else the root's reached through `channels`; with none, no scaling
// and no properties. A property set that cannot be read fails.
KivResult ExportScalingOf(const std::u16string& name, IKivUnknown* context, IKivDataFactory* channels,
                          ExportScaling* scaling);

class CChannelWriterCache {
 public:
  // 0: no limit.
  virtual uint32_t GetChannelLimit() { return 0; }
  virtual bool SupportsResampling() { return true; }
  virtual bool SupportsNativeRate() { return true; }

  // Whether the cache's channel list has `name` already.
  virtual bool HasStoredChannel(const std::u16string& name) = 0;
  // The channel of that name on the outing the write comes from.
  virtual KivResult GetExportChannel(const std::u16string& name, ComPtr<IKivChannel>* channel) = 0;
  // The scaling of `name` into the destination's unit; a failure ends the
  // write of that name. `context` as the caller gave it (may be null).
  virtual KivResult GetExportScaling(const std::u16string& name, IKivUnknown* context, ExportScaling* scaling);
  // Subtracted from every time written.
  virtual KivTime ExportBase() { return 0; }
  virtual void PostWriterMessage(uint32_t level, const std::u16string& text) = 0;
  // A new, empty channel step of this source.
  virtual ComPtr<CWriteBackChannelStateMachineBase> NewChannelStep() = 0;
  virtual KivResult AddWriteBackStep(ComPtr<CWriteBackStateMachineBase> step) = 0;

 protected:
  ~CChannelWriterCache() = default;
};

struct WriteChannelsRequest {
  KivTime start = 0;
  KivTime end = 0;
  const NameList* names = nullptr;  // null: unreadable
  KivTime period = 0;
  bool resampled = false;           // false: the native rate, `period` unused
  IKivUnknown* context = nullptr;   // handed on to the scaling
};

// The routine behind every form of WriteChannels. S_OK, or S_FALSE when
// some names had no data; 0x8004F014 for a name stored already,
// 0x8004F018 when no name had data; E_INVALIDARG, E_NOTIMPL, E_FAIL for a
// call the source cannot take.
KivResult WriteChannels(CChannelWriterCache& cache, const WriteChannelsRequest& request);

// The warning for the names beyond a channel limit.
std::u16string ChannelLimitWarning(const NameList& dropped, uint32_t limit);

}  // namespace velmar
