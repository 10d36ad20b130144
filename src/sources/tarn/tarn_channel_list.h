// The channel list of a `.trn` outing: which store channels a client can
// ask for, under which name, and how a new list meets the one a channel
// factory holds.
//
// Pure functions; any thread.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "velmar/data_factory.h"
#include "velmar/tarn_store.h"
#include "velmar/units.h"

namespace velmar {

// What the outing needs to read a channel's samples.
struct TarnChannelEntry {
  uint64_t id = 0;
  uint32_t sampleType = 0;
  friend bool operator==(const TarnChannelEntry&, const TarnChannelEntry&) = default;
};

// Channel key text ("[quantity]name") to the store's channel.
using TarnChannelMap = std::map<std::u16string, TarnChannelEntry>;

// The channels of the description records that a client can read: a tag
// name, a quantity id of 0 or above (read as 0 when above `maxQuantity`), a
// sample type 0..7. Of two records with one key the first is kept.
TarnChannelMap BuildChannelMap(std::span<const TarnChannelDescription> records, QuantityId maxQuantity);

// The largest quantity id the unit table knows; 0 when it can't be had.
QuantityId KnownMaxQuantity();

// How a channel factory's list (name to channel id) becomes a new one.
struct TarnChannelListChange {
  NameList removed;   // gone: one notification for all
  NameList replaced;  // another channel under the same name: removed one by one, then added
  NameList kept;      // same channel: the outing's data changed
  NameList added;     // new, and the replaced ones: one notification for all
};
TarnChannelListChange ReconcileChannelList(const std::map<std::u16string, uint64_t>& held,
                                           const TarnChannelMap& read);

}  // namespace velmar
