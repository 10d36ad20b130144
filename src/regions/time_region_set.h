// The regions of one finder: an ordered set keyed by start time alone. A
// region whose end lies before its start is never added; a second region
// with a start already present is dropped and the first stays. Regions may
// overlap or leave gaps.
//
// Client thread only.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "velmar/types.h"

namespace velmar {

struct TimeRegion {
  KivTime start = 0;
  KivTime end = 0;  // inclusive
  std::u16string name;
  bool auxiliary = false;  // warm-up, cool-down, or the only region of a run without laps
};

class CTimeRegionSet {
 public:
  // False when nothing was added (end before start, or the start is taken).
  bool Add(KivTime start, KivTime end, std::u16string name, bool auxiliary = false);
  // Gives the last region the end `end`; false with no regions.
  bool SetLastEnd(KivTime end);
  void Clear() { regions_.clear(); }

  size_t size() const { return regions_.size(); }
  bool empty() const { return regions_.empty(); }
  // In start order; REQUIRES: index < size().
  const TimeRegion& at(size_t index) const { return regions_[index]; }
  // REQUIRES: !empty().
  const TimeRegion& back() const { return regions_.back(); }

 private:
  std::vector<TimeRegion> regions_;  // rising start; finders add in that order
};

}  // namespace velmar
