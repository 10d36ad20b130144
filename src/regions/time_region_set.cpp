#include "regions/time_region_set.h"

#include <algorithm>
#include <utility>

namespace velmar {

bool CTimeRegionSet::Add(KivTime start, KivTime end, std::u16string name, bool auxiliary) {
  if (start > end) return false;
  auto at = regions_.end();
  if (!regions_.empty() && start <= regions_.back().start) {
    at = std::lower_bound(regions_.begin(), regions_.end(), start,
                          [](const TimeRegion& r, KivTime t) { return r.start < t; });
    if (at != regions_.end() && at->start == start) return false;
  }
  regions_.insert(at, TimeRegion{start, end, std::move(name), auxiliary});
  return true;
}

bool CTimeRegionSet::SetLastEnd(KivTime end) {
  if (regions_.empty()) return false;
  regions_.back().end = end;
  return true;
}

}  // namespace velmar
