// The process-wide table of global-time groups: one group per task, keyed
// by the task, holding the clock anchor of each of its global time finders
// and the reference anchor among them (the least clock reading, a tie to
// the greater offset). Groups are made on first look-up and live to the end
// of the process.
//
// Client thread only: every user runs there, so the table takes no lock.
#pragma once

#include <limits>
#include <map>

#include "velmar/types.h"

namespace velmar {

struct GlobalTimeAnchor {
  KivTime offset = 0;  // from the outing's start
  double value = std::numeric_limits<double>::max();  // clock reading, seconds
  friend bool operator==(const GlobalTimeAnchor&, const GlobalTimeAnchor&) = default;
};

struct GlobalTimeGroup {
  std::map<const void*, GlobalTimeAnchor> entries;  // by finder
  GlobalTimeAnchor best;  // the reference
  bool dirty = false;     // the reference changed: the other members must repopulate

  // Enters or replaces a member's anchor; it becomes the reference when it
  // reads less, or the same at a greater offset.
  void Enter(const void* finder, GlobalTimeAnchor anchor);
  // Takes a member out; when it was the reference, the next one is found.
  void Remove(const void* finder);
};

// How far a member's region starts before (negative) its own start, so
// that it starts at the reference's first instant: 0 for the reference and
// for a member whose clock read less (a reference not yet settled).
KivTime GlobalTimeShift(const GlobalTimeAnchor& anchor, const GlobalTimeAnchor& reference);

// The group of `task`, made when first asked for.
GlobalTimeGroup& GlobalTimeGroupOf(const void* task);
// The group of `task`, or null when none was ever made.
GlobalTimeGroup* FindGlobalTimeGroup(const void* task);

}  // namespace velmar
