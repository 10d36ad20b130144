// What the cache of a `.trn` outing tells each outing object beyond what
// every cache does: the lists it read, for the outing's factories to
// reconcile with their own.
//
// Client thread only.
#pragma once

#include <vector>

#include "outing/cache/outing_state_changes.h"
#include "sources/tarn/tarn_channel_list.h"
#include "sources/tarn/tarn_read_jobs.h"

namespace velmar {

struct ITarnOutingStateChanges : COutingStateChanges {
  static constexpr Guid iid = Guid::Literal("{D5C5DC35-826E-43F3-BFC2-BCFEF94682AB}");
  using Parent = COutingStateChanges;

  // The lists as read now: first reads and re-reads after a write alike.
  virtual void OnChannelListRead(const TarnChannelMap& channels) = 0;
  virtual void OnEventNamesRead(const std::vector<TarnNamedItem>& names) = 0;
  virtual void OnConstantsRead(const std::vector<TarnConstant>& constants) = 0;
  virtual void OnBlobListRead(const std::vector<TarnNamedItem>& blobs) = 0;
  virtual void OnMediaChannelListRead(const TarnMediaChannelMap& channels) = 0;
  // The status channel definitions are built (GetStatusChannelDefinitions).
  virtual void OnStatusChannelDefinitionsReady() = 0;
};

}  // namespace velmar
