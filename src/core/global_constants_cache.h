// The process-wide cache of global constants, shared by the constant
// factories of all roots: ids are counted from 1 in the order entries came.
// Every factory that serves the cache is one of its owners, so a change made
// through one root reaches the clients (and the settings files) of all.
// The last root out empties it.
//
// Client thread only.
#pragma once

#include <cstdint>
#include <string>

#include "core/constants_cache_base.h"
#include "velmar/result.h"

namespace velmar {

class CGlobalConstantsCache final : public CConstantsCacheBase {
 public:
  CGlobalConstantsCache() = default;

  // Kind 0 simple (empty text), 1 spreadsheet (text "|"). E_INVALIDARG for a
  // kind above 1, an empty name or a name already held. Owners hear of it.
  [[nodiscard]] KivResult Add(const std::u16string& name, uint32_t kind);
  // E_INVALIDARG for an unknown name. Each object on the constant hears of
  // the removal first, then the owners.
  [[nodiscard]] KivResult Remove(const std::u16string& name);

  // Empties the cache and starts ids at 1 again; nobody is told (the last
  // root is gone).
  void Clear() { ClearEntries(); }
};

}  // namespace velmar
