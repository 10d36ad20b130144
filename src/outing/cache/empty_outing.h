// The empty outing: the stand-in for a path with no data set, complete
// enough that a client can tell it from a real outing only by its type (0).
//
// Its caches live in a registry of their own, so repeated requests for one
// missing path share one cache. OpenEmptyOuting is what the outing factory
// calls when a path has no file and none could be made.
//
// Client thread only.
#pragma once

#include <string>

#include "outing/cache/empty_facets.h"
#include "outing/cache/outing_cache.h"
#include "outing/cache/outing_on_cache.h"
#include "outing/cache/outing_state_changes.h"
#include "velmar/outing.h"

namespace velmar {

class CEmptyOutingCache final : public COutingCacheBase<CEmptyOutingCache, COutingStateChanges> {
 public:
  CEmptyOutingCache(std::u16string path, const Guid& outingId);

  // Tests the folder as a file cache would, then answers false: the empty
  // outing never makes a data set.
  bool CreateDataSet() override;
};

class CEmptyOuting final
    : public COutingOnCache<CEmptyOutingCache, CEmptyChannelFactory, CEmptyEventsFactory, CEmptyConstantFactory,
                            CEmptyLapMarkers, CEmptyLapMarkerWriter> {
 public:
  CEmptyOuting(ComPtr<CEmptyOutingCache> cache, bool overrideProperties);

 protected:
  // Nothing to give, close or shift: S_FALSE, and nothing changes.
  KivResult OutingInformation(IKivPropertySet** information) override;
  KivResult CloseOutingData() override;
  KivResult ApplyTimeOffset(KivTime offset) override;
};

// The empty outing of `path`, on the path's empty cache (made with
// `outingId` when there is none yet). E_OUTOFMEMORY when it cannot be made.
[[nodiscard]] KivResult OpenEmptyOuting(const std::u16string& path, const Guid& outingId, bool overrideProperties,
                                        IKivOuting** outing);

}  // namespace velmar
