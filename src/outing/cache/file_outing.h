// The outing object of a file source (text, MAT-file, spreadsheet...):
// information and CloseData are its file cache's (file_outing_cache.h).
//
//   class CAsciiOuting : public CFileOuting<CAsciiOutingCache, CAsciiChannelFactory, ...> {...};
//
// The concrete outing adds SetTimeOffset and its facets' work.
//
// Client thread only.
#pragma once

#include "outing/cache/outing_on_cache.h"
#include "velmar/property_set.h"

namespace velmar {

template <class Cache, class... Facets>
class CFileOuting : public COutingOnCache<Cache, Facets...> {
 protected:
  using COutingOnCache<Cache, Facets...>::COutingOnCache;

  // S_OK with the information once loaded and not discarded; otherwise the
  // load is asked for, S_FALSE.
  KivResult OutingInformation(IKivPropertySet** information) override {
    return this->cache()->GetInformation(information);
  }
  // Every outing object on the file lets go of its data; the next read
  // loads the file again.
  KivResult CloseOutingData() override {
    this->cache()->Discard();
    return S_OK;
  }
};

}  // namespace velmar
